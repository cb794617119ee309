// What the tests of the controls share: a window on the screen, and what the window
// system has done with it.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <wx/colour.h>
#include <wx/frame.h>

class wxBitmap;

// Lets the window system work until the condition holds; false after the deadline.
bool PumpUntil(std::function<bool()> const& condition, int deadlineMs = 10'000);
// Everything that is waiting now.
void Pump();

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
