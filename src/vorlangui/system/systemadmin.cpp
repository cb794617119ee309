// Administrator mode, and the submenu "System Commands" that only administrators have.
#include "commands/ids.h"
#include "model/worklist.h"
#include "output/logframe.h"
#include "outside/outside.h"
#include "systemcommands.h"
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

void OnViewMasterLogs(MainWindow& window, wxCommandEvent& event) {
    bool const dispatch = event.GetId() == k_IdDispatchLog;
    wxString const title = dispatch ? "VorlanMaster Dispatch.log" : "VorlanMaster History.log";
    boost::shared_ptr<MasterInfoMsg> const master = Outside::Get().MasterInfo();
    UID const log = !master ? UID::Null : dispatch ? master->dispatchLog : master->historyLog;
    if (log.IsNull()) {
        wxvMessageDlg::Tell(&window, _("Log Files"), _("The Master has not shared the ID for accessing ") + title,
                            MessageKind::Information);
        return;
    }
    // The Master writes its latest round to the Dispatch.log when somebody asks for it.
    (new LogFrame(&window, title, log))->Show();
}

void OnLogDispatch(MainWindow&, wxCommandEvent&) {
    LogStatus("Asking Master to create a dispatch log");
    auto message = SetMasterOptionsMsg::New();
    message->section = o_Distribution;
    message->options[o_LogDispatch] = k_Yes;
    SendToMaster(message);
}

void OnLogDump(MainWindow&, wxCommandEvent&) {
    LogStatus("Sending Log Dump Message to the network");
    SendToMaster(LogDumpMsg::New());
}

void OnSuperShutdown(MainWindow& window, wxCommandEvent&) {
    wxString text = _("Are you sure you want to shut down Vorlan on your entire network?");
    if (size_t const running = WorkList::Get().Count(); running != 0)
        text += "\n" + wxString::Format(wxPLURAL("It would end %zu work unit that runs now.",
                                                 "It would end %zu work units that run now.", running),
                                        running);
    wxConfirmDlg question(&window, text, "SuperExit", _("System-wide exit"), _("Shut Down Everything"), wxString(),
                          DefaultButton::Cancel);
    if (question.Confirm())
        SendToMaster(ShutdownMsg::New());
}

constexpr CommandRow AdministratorRow(int id, char const* label, char const* help,
                                      void (*run)(MainWindow&, wxCommandEvent&)) {
    return {
        .id = id, .label = label, .help = help, .run = run, .needs = CommandNeeds::Connection, .administrator = true};
}

constexpr CommandRow k_SystemCommands[] = {
    AdministratorRow(k_IdMasterHistoryLog, "View Master History.log", "Download and view the Master's History.log file",
                     &OnViewMasterLogs),
    AdministratorRow(k_IdDispatchLog, "View Current Dispatch.log",
                     "Generate, download and view the lateste available Dispatch.log file", &OnViewMasterLogs),
    AdministratorRow(k_IdLogDispatch, "Restart Dispatch logging",
                     "Tell the master to start logging the dispatch loop again", &OnLogDispatch),
    AdministratorRow(k_IdLogDump, "Write a Log Dump",
                     "Tell the Master to write all that it knows to a file beside its log", &OnLogDump),
    AdministratorRow(k_IdSuperExit, "System-wide exit", "Request a system wide shutdown of all Vorlan components",
                     &OnSuperShutdown),
};

} // namespace

void OnAdministratorMode(MainWindow& window, wxCommandEvent&) {
    // The menu closes first: it is made anew.
    window.CallAfter([&window] {
        CALL_ENTRY();
        if (window.IsAdministrator())
            window.SetAdministrator(false);
        else if (KnowsPassword(&window))
            window.SetAdministrator(true);
    });
}

std::span<CommandRow const> AdministratorCommands() { return k_SystemCommands; }

} // namespace vorlan
