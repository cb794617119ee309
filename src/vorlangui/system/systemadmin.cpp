// Administrator mode, and the commands that only administrators have.
#include "output/logframe.h"
#include "outside/outside.h"
#include "systemids.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <vorlan/administrator.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>
#include <wx/intl.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvmessagedlg.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextentry.h>

namespace vorlan {

namespace {

// The Master's lock; 0 for none.
unsigned MasterPassword() {
    boost::shared_ptr<MasterInfoMsg> const master = Outside::Get().MasterInfo();
    return master ? master->administrate : 0;
}

// Asked unless the Master has no lock.
bool KnowsPassword(wxWindow* parent) {
    unsigned const wanted = MasterPassword();
    if (wanted == 0)
        return true;
    wxString const typed = wxvGetPasswordFromUser(_("Enter administrator password"), _("Administrator"), parent);
    if (PasswordValue(wxvString(typed)) == wanted)
        return true;
    wxvMessageDlg::Tell(parent, _("Administrator"), _("Incorrect password"), MessageKind::Error);
    return false;
}

} // namespace

void MainWindow::OnAdministratorMode(wxCommandEvent&) {
    // The menu closes first: it is made anew.
    CallAfter([this] {
        CALL_ENTRY();
        if (m_administrator)
            SetAdministrator(false);
        else if (KnowsPassword(this))
            SetAdministrator(true);
    });
}

void MainWindow::OnViewMasterLogs(wxCommandEvent& event) {
    bool const dispatch = event.GetId() == k_IdDispatchLog;
    wxString const title = dispatch ? "VorlanMaster Dispatch.log" : "VorlanMaster History.log";
    boost::shared_ptr<MasterInfoMsg> const master = Outside::Get().MasterInfo();
    UID const log = !master ? UID::Null : dispatch ? master->dispatchLog : master->historyLog;
    if (log.IsNull()) {
        wxvMessageDlg::Tell(this, _("Log Files"), _("The Master has not shared the ID for accessing ") + title,
                            MessageKind::Information);
        return;
    }
    (new LogFrame(this, title, log))->Show();
}

void MainWindow::OnLogDispatch(wxCommandEvent&) {
    LogStatus("Asking Master to create a dispatch log");
    auto message = SetMasterOptionsMsg::New();
    message->section = o_Distribution;
    message->options[o_LogDispatch] = k_Yes;
    SendToMaster(message);
}

void MainWindow::OnSuperShutdown(wxCommandEvent&) {
    wxConfirmDlg question(this, _("Are you sure you want to shut down Vorlan on your entire network?"), "SuperExit",
                          _("System-wide exit"));
    if (question.Confirm())
        SendToMaster(ShutdownMsg::New());
}

} // namespace vorlan
