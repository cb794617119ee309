#pragma once

#include <wx/button.h>

// How wide a button is at least.
enum class ButtonWidth { Dialog, Exact };

// wxvButton is the toolkit's button in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
class wxvButton : public wxButton {
public:
    wxvButton(wxWindow* parent, wxWindowID id, wxString const& label, ButtonWidth width = ButtonWidth::Dialog);
};
