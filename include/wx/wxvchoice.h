#pragma once

#include <wx/choice.h>

// wxvChoice is a choice of one of several texts, in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
// Always: the mouse wheel scrolls the page that it stands on, never the choice: a page
// is not changed by moving over it.
class wxvChoice : public wxChoice {
public:
    explicit wxvChoice(wxWindow* parent, wxWindowID id = wxID_ANY, wxArrayString const& choices = wxArrayString(),
                       long style = 0);

    // Drops the list down, once the control is on the screen.
    void Popup();
    // The list is down: it has the focus then, not the control.
    bool IsPopupShown() const;
};
