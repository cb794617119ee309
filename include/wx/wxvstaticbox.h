#pragma once

#include <wx/statbox.h>

// wxvStaticBox is a frame with a title around a group, in the scheme's colours.
// Owner: its parent window; it may be the parent of what it frames.
// Thread: the GUI thread.
class wxvStaticBox : public wxStaticBox {
public:
    explicit wxvStaticBox(wxWindow* parent, wxString const& label = wxString(), wxWindowID id = wxID_ANY);

    // It has the theme's own, which know what is switched off.
    bool ShouldInheritColours() const override { return false; }
};
