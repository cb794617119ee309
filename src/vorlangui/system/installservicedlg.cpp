#include "installservicedlg.h"

#include "window/background.h"

#include <corekit/file.h>
#include <corekit/platform.h>
#include <cstdlib>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxvradiobutton.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextctrl.h>

namespace vorlan {

namespace {

constexpr int k_NoteIndent = 24;
constexpr int k_AccountWidth = 220;

Path HomeFolder() {
    char const* const home = std::getenv("VORLAN_HOME");
    return home ? Path(home) : Path();
}

} // namespace

InstallServiceDlg::InstallServiceDlg(wxWindow* parent, Service service)
    : wxVorlanDlg(parent, _("Install Service"), "InstallServiceDlg") {
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(NewLabel(wxString::Format(_("Who is to run the %s?"), ServiceName(service)), 1.2));
    content->AddSpacer(FromDIP(k_LabelGap));
    m_forUser =
        NewChoice(*content, _("My account"), _("It runs from the start of this machine on. No password is needed."));
    m_forMachine = NewChoice(*content, _("Another account, as a service of the whole machine"),
                             _("Only an administrator of this machine can install it."));
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(NewLabel(_("Account:")), wxSizerFlags().Centre());
    m_account = new wxvTextCtrl(this, wxID_ANY, wxvText(Platform::GetCurrentUserName()));
    m_account->SetMinSize(FromDIP(wxSize(k_AccountWidth, -1)));
    row->Add(m_account, wxSizerFlags(1).Centre().Border(wxLEFT, FromDIP(k_LabelGap)));
    auto* indented = new wxBoxSizer(wxVERTICAL);
    indented->Add(row, wxSizerFlags().Expand().Border(wxTOP, FromDIP(k_LabelGap)));
    content->Add(indented, wxSizerFlags().Expand().Border(wxLEFT, FromDIP(k_NoteIndent)));
    m_forUser->SetValue(true);
    m_account->Enable(false);
    Finish(content, _("Install"), _("Cancel"));
    Bind(wxEVT_RADIOBUTTON, [this](wxCommandEvent&) { m_account->Enable(m_forMachine->GetValue()); });
    Bind(
        wxEVT_BUTTON,
        [this](wxCommandEvent& event) {
            if (IsUsable())
                event.Skip();
        },
        wxID_OK);
}

wxRadioButton* InstallServiceDlg::NewChoice(wxSizer& column, wxString const& label, wxString const& note) {
    auto* choice = new wxvRadioButton(this, wxID_ANY, label, m_forUser ? RadioPlace::Next : RadioPlace::First);
    column.Add(choice, wxSizerFlags().Border(wxTOP, FromDIP(k_LabelGap)));
    column.Add(NewLabel(note, 1.0, ColorName::TextGrey), wxSizerFlags().Border(wxLEFT, FromDIP(k_NoteIndent)));
    return choice;
}

ServiceSetup InstallServiceDlg::Setup() const {
    ServiceSetup setup;
    setup.programs = File::s_AppDir;
    setup.home = HomeFolder();
    if (m_forMachine->GetValue()) {
        setup.scope = ServiceScope::System;
        setup.account = wxvString(m_account->GetValue()).Trim();
    }
    return setup;
}

bool InstallServiceDlg::IsUsable() {
    try {
        if (m_forMachine->GetValue())
            CheckAccount(Setup().account);
        return true;
    } catch (Exception const& exception) {
        ShowError(GetTitle(), exception.what());
        m_account->SetFocus();
        return false;
    }
}

std::optional<ServiceSetup> InstallServiceDlg::Ask(wxWindow* parent, Service service) {
    InstallServiceDlg dialog(parent, service);
    if (dialog.ShowModal() != wxID_OK)
        return std::nullopt;
    return dialog.Setup();
}

} // namespace vorlan
