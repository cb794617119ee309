#pragma once

#include <wx/wxvorlanframe.h>

class wxBoxSizer;
class wxTextLineCtrl;
class wxvStaticText;

namespace vorlan {

// TextFrame is a window with a text, a line about it, and whatever its kind puts beside
// that line. Ctrl+F finds, Ctrl+S saves, Escape closes what is smallest: the find bar,
// then the window.
// Owner: the toolkit, until it is closed. Works with: wxTextLineCtrl.
// Thread: the GUI thread.
class TextFrame : public wxVorlanFrame {
public:
    // `section` keeps the window's place among its kind; `size` is the first one's, in
    // pixels of a normal screen.
    TextFrame(wxWindow* parent, wxString const& title, corekit::String const& section, wxSize const& size,
              long style = wxDEFAULT_FRAME_STYLE);

    wxTextLineCtrl& Text() { return *m_text; }

protected:
    // Left of the line about the text.
    wxBoxSizer& Bar() { return *m_bar; }
    // In place of what the text tells of itself; empty: nothing.
    void SetNote(wxString const& note);
    // F5.
    virtual void OnRefresh() {}

private:
    void ShowStatus();
    void OnKey(wxKeyEvent& event);

    wxTextLineCtrl* m_text = nullptr;
    wxvStaticText* m_status = nullptr;
    wxBoxSizer* m_bar = nullptr;
    wxString m_note;
};

} // namespace vorlan
