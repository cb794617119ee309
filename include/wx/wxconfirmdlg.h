#pragma once

#include <wx/wxvorlandlg.h>

class wxCheckBox;

// wxConfirmDlg asks whether to go on, and can be told not to ask again. The choice is
// kept in section "Confirm" of the options, under the question's key.
// Owner: its caller's stack. Thread: the GUI thread.
class wxConfirmDlg : public wxVorlanDlg {
public:
    // `text` may have several lines; the first is the question. `accept` and `cancel` stand
    // on the buttons; empty: "OK" and "Cancel".
    wxConfirmDlg(wxWindow* parent, wxString const& text, corekit::String key, wxString const& title = wxString(),
                 wxString const& accept = wxString(), wxString const& cancel = wxString(),
                 DefaultButton preset = DefaultButton::Accept);

    // True: go on. Answers at once when the question is not to be asked any more.
    bool Confirm();

    // Not to be asked any more; and so it is from now on.
    static bool IsAnswered(corekit::String const& key);
    static void SetAnswered(corekit::String const& key, bool answered);
    // All questions are asked again.
    static void ResetAll();

private:
    corekit::String const m_key;
    wxCheckBox* m_dontAsk;
};
