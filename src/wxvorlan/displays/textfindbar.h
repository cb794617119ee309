#pragma once

#include <wx/wxtextlinectrl.h>
#include <wx/wxvpanel.h>
#include <wx/wxvtextctrl.h>

class wxStaticText;

// TextFindBar is the small field at the top of a text display in which people type what
// they look for: Enter goes on, Shift+Enter back, Escape ends it.
// Owner: the display. Thread: the GUI thread.
class TextFindBar : public wxvPanel {
public:
    explicit TextFindBar(wxTextLineCtrl& display);

    void Start();
    // Says whether the last search has found something.
    void ShowState();

private:
    void OnPaint(wxPaintEvent& event);
    void OnKey(wxKeyEvent& event);
    void Look(bool backward);

    wxTextLineCtrl& m_display;
    wxvTextCtrl* m_term;
    wxStaticText* m_note;
};
