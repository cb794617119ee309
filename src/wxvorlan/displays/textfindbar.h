#pragma once

#include <wx/wxtextlinectrl.h>
#include <wx/wxvpanel.h>
#include <wx/wxvtextctrl.h>

class wxCheckBox;
class wxStaticText;

// TextFindBar is the small field at the top of a text display in which people type what
// they look for: Enter goes on, Shift+Enter back, Escape ends it.
// Owner: the display. Thread: the GUI thread.
class TextFindBar : public wxvPanel {
public:
    explicit TextFindBar(wxTextLineCtrl& display);

    void Start();
    // Says how far the search is and what it has found.
    void ShowState();

private:
    void OnPaint(wxPaintEvent& event);
    void OnKey(wxKeyEvent& event);
    void AddStep(wxSizer& sizer, wxString const& label, wxString const& tip, bool backward);
    void Look();

    wxTextLineCtrl& m_display;
    wxvTextCtrl* m_term;
    wxCheckBox* m_matchCase;
    wxStaticText* m_note;
};
