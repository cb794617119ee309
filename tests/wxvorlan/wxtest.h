// What the tests of the controls share: a window on the screen, and what the window
// system has done with it.
#pragma once

#include "wxtools.h"

#include <wx/colour.h>
#include <wx/frame.h>

class wxBitmap;

// WindowTest has a frame on the screen.
class WindowTest : public ::testing::Test {
protected:
    explicit WindowTest(wxSize const& size = wxSize(600, 400));
    ~WindowTest() override;

    wxFrame& Frame() { return *m_frame; }
    // Gives the frame its one control and shows it.
    void Show(wxWindow* control);

private:
    wxFrame* const m_frame;
};
