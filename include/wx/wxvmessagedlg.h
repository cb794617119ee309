#pragma once

#include <wx/wxvorlandlg.h>

// What a message is, which its mark shows.
enum class MessageKind { Information, Error, Question };

// wxvMessageDlg tells something, or asks whether to go on. Long texts have several lines.
// Owner: its caller's stack. Thread: the GUI thread.
class wxvMessageDlg : public wxVorlanDlg {
public:
    // `details` stand below the message. A question has the button `accept` beside
    // Cancel, the other kinds have OK alone.
    wxvMessageDlg(wxWindow* parent, wxString const& title, wxString const& message, MessageKind kind,
                  wxString const& details = wxString(), wxString const& accept = wxString(),
                  DefaultButton preset = DefaultButton::Accept);

    wxString const& GetMessage() const { return m_message; }

    // Returns when it has been read.
    static void Tell(wxWindow* parent, wxString const& title, wxString const& message, MessageKind kind);
    // Asks whether to end what `details` name; Cancel is the default. `accept` is a verb.
    static bool MayEnd(wxWindow* parent, wxString const& title, wxString const& question, wxString const& details,
                       wxString const& accept);

private:
    wxString const m_message;
};
