#pragma once

// A question that is answered by one line of text.

#include <wx/wxvorlandlg.h>

class wxTextCtrl;

// What somebody who looks on sees of the text.
enum class TextEcho { Plain, Hidden };

// wxvTextEntryDlg is the dialog with the question and the field.
// Owner: its caller's stack. Thread: the GUI thread.
class wxvTextEntryDlg : public wxVorlanDlg {
public:
    wxvTextEntryDlg(wxWindow* parent, wxString const& message, wxString const& title, wxString const& start,
                    TextEcho echo = TextEcho::Plain);

    wxString const& GetMessage() const { return m_message; }
    wxString GetValue() const;
    void SetValue(wxString const& text);

private:
    wxString const m_message;
    wxTextCtrl* const m_text;
};

// Asks for a text; blanks at its ends are cut off. Empty: nothing was entered, or the
// dialog was cancelled. GUI thread; returns when the dialog has ended.
wxString wxvGetTextFromUser(wxString const& message, wxString const& title, wxString const& start = wxString(),
                            wxWindow* parent = nullptr);

// The same for a password, which is taken as it was typed and not shown.
wxString wxvGetPasswordFromUser(wxString const& message, wxString const& title, wxWindow* parent = nullptr);
