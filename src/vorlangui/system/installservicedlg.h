#pragma once

#include <vorlan/services.h>
#include <wx/wxvorlandlg.h>

class wxRadioButton;
class wxTextCtrl;

namespace vorlan {

// InstallServiceDlg asks for whom a service is installed, and under which account.
// Owner: its caller's stack. Thread: the GUI thread.
class InstallServiceDlg : public wxVorlanDlg {
public:
    InstallServiceDlg(wxWindow* parent, Service service);

    // Null when the user has given up.
    static std::optional<ServiceSetup> Ask(wxWindow* parent, Service service);

private:
    wxRadioButton* NewChoice(wxSizer& column, wxString const& label, wxString const& note);
    ServiceSetup Setup() const;
    bool IsUsable();

    wxRadioButton* m_forUser = nullptr;
    wxRadioButton* m_forMachine = nullptr;
    wxTextCtrl* m_account = nullptr;
};

} // namespace vorlan
