#pragma once

#include <wx/radiobut.h>

// The place of a radio button in the row of those that exclude each other.
enum class RadioPlace { First, Next };

// wxvRadioButton is the toolkit's radio button in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
class wxvRadioButton : public wxRadioButton {
public:
    wxvRadioButton(wxWindow* parent, wxWindowID id, wxString const& label, RadioPlace place = RadioPlace::Next);

    // It has the theme's own, which know what is switched off.
    bool ShouldInheritColours() const override { return false; }
};
