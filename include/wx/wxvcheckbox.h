#pragma once

#include <wx/checkbox.h>

// wxvCheckBox is the toolkit's check box in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
class wxvCheckBox : public wxCheckBox {
public:
    explicit wxvCheckBox(wxWindow* parent, wxWindowID id = wxID_ANY, wxString const& label = wxString(),
                         long style = 0);

    // It has the theme's own, which know what is switched off.
    bool ShouldInheritColours() const override { return false; }
};
