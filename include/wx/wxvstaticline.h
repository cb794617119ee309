#pragma once

#include <wx/window.h>

// wxvStaticLine is a line of one pixel between groups.
// Owner: its parent window. Thread: the GUI thread.
class wxvStaticLine : public wxWindow {
public:
    explicit wxvStaticLine(wxWindow* parent, wxOrientation orientation = wxHORIZONTAL);

    bool AcceptsFocus() const override { return false; }

protected:
    wxSize DoGetBestClientSize() const override;
};
