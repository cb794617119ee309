#include "confirmclose.h"

#include "client/componentcontrol.h"
#include "client/options.h"
#include "client/serviceoptions.h"
#include "model/worklist.h"
#include "outside/outside.h"

#include <vorlan/vorlanapp.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvcheckbox.h>
#include <wx/wxvstaticline.h>

namespace vorlan {

namespace {

constexpr int k_ComponentNoteIndent = 24;

void StoreChoice(wxCheckBox const& box, LocalOption<int> const& option) {
    if (!box.IsEnabled())
        return;
    if (std::optional<int> const value = LeaveRunningOption(box.GetValue(), option.Get()))
        option.Set(*value);
}

// Work that runs here, or on a farm whose Master is here: Return alone does not end it.
bool WouldHurtWork() {
    WorkList const& work = WorkList::Get();
    return !work.GetAllWorkForEngine(Outside::Get().MachineID()).empty() ||
           (Outside::Get().IsThisTheMaster() && work.Count() != 0);
}

} // namespace

std::optional<int> LeaveRunningOption(bool leaveRunning, int option) {
    if (leaveRunning)
        return k_StartAndLeave;
    if (option == k_StartAndLeave)
        return k_StartAndStop;
    return std::nullopt;
}

bool ConfirmClose::Confirm(wxWindow* parent) {
    if (wxConfirmDlg::IsAnswered(k_Key))
        return true;
    ConfirmClose dialog(parent);
    if (dialog.ShowModal() != wxID_OK)
        return false;
    dialog.Store();
    return true;
}

ConfirmClose::ConfirmClose(wxWindow* parent) : wxVorlanDlg(parent, _("Confirm Close"), k_Key) {
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(NewLabel(_("Are you sure you want to quit Vorlan?"), 1.3, ColorName::TextOrange));
    content->Add(NewLabel(_("Quitting may affect your rendering network")),
                 wxSizerFlags().Border(wxTOP, FromDIP(k_LabelGap)));
    content->AddSpacer(FromDIP(k_GroupGap));

    auto* title = new wxBoxSizer(wxHORIZONTAL);
    title->Add(NewLabel(_("Components"), 1.0, ColorName::TextGrey));
    title->Add(new wxvStaticLine(this), wxSizerFlags(1).Centre().Border(wxLEFT, FromDIP(k_LabelGap)));
    content->Add(title, wxSizerFlags().Expand());
    m_leaveEngine = NewChoice(*content, _("Leave the Engine running"),
                              _("If checked, this machine will still be able to render jobs"),
                              k_OptionStartEngineAtClose, k_ComponentEngine);
    m_leaveMaster = NewChoice(*content, _("Leave the Master running"),
                              _("If checked, this machine will still be able to manage the system"),
                              k_OptionStartMasterAtClose, k_ComponentMaster);
    content->Add(new wxvStaticLine(this), wxSizerFlags().Expand().Border(wxTOP | wxBOTTOM, FromDIP(k_GroupGap)));
    m_dontAsk = new wxvCheckBox(this, wxID_ANY, _("Don't ask this again"));
    content->Add(m_dontAsk);
    Finish(content, _("Quit"), _("Cancel"), WouldHurtWork() ? DefaultButton::Cancel : DefaultButton::Accept);
}

wxCheckBox* ConfirmClose::NewChoice(wxSizer& column, wxString const& label, wxString const& note,
                                    LocalOption<int> const& option, int component) {
    auto* box = new wxvCheckBox(this, wxID_ANY, label);
    // A service runs on by itself.
    bool const isService = IsRunByService(component);
    box->SetValue(isService || option.Get() == k_StartAndLeave);
    box->Enable(!isService);
    column.Add(box, wxSizerFlags().Border(wxTOP, FromDIP(k_LabelGap)));
    column.Add(NewLabel(note, 1.0, ColorName::TextGrey), wxSizerFlags().Border(wxLEFT, FromDIP(k_ComponentNoteIndent)));
    return box;
}

void ConfirmClose::Store() const {
    OptionsFile::PauseAutoWrite const pause(VorlanApp::GetOptions());
    StoreChoice(*m_leaveEngine, k_OptionStartEngineAtClose);
    StoreChoice(*m_leaveMaster, k_OptionStartMasterAtClose);
    wxConfirmDlg::SetAnswered(k_Key, m_dontAsk->GetValue());
}

} // namespace vorlan
