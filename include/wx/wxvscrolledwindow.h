#pragma once

#include <wx/scrolwin.h>
#include <wx/wxvcolors.h>

// wxvScrolledWindow is a page that scrolls, in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
class wxvScrolledWindow : public wxScrolledWindow {
public:
    // It scrolls by whole pixels downwards, and sideways not at all.
    explicit wxvScrolledWindow(wxWindow* parent, ColorName background = ColorName::WindowBG, wxWindowID id = wxID_ANY);
};
