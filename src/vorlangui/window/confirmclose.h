#pragma once

#include <optional>
#include <wx/wxvorlandlg.h>

class wxCheckBox;

namespace vorlan {

template <class T>
class LocalOption;

// What becomes of a component's option when the user says whether it is left running.
// Nothing: it stays as it is.
std::optional<int> LeaveRunningOption(bool leaveRunning, int option);

// ConfirmClose asks before the client ends, and what to leave running.
// Owner: its caller's stack. Thread: the GUI thread.
class ConfirmClose : public wxVorlanDlg {
public:
    static constexpr char k_Key[] = "ConfirmClose";

    // True: end. Asks only while it has not been told to be quiet.
    static bool Confirm(wxWindow* parent);

private:
    explicit ConfirmClose(wxWindow* parent);
    wxCheckBox* NewChoice(wxSizer& column, wxString const& label, wxString const& note, LocalOption<int> const& option,
                          int component);
    void Store() const;

    wxCheckBox* m_leaveEngine;
    wxCheckBox* m_leaveMaster;
    wxCheckBox* m_dontAsk;
};

} // namespace vorlan
