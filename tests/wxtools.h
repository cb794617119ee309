#pragma once

// What the test programs with windows share: tests run inside the event loop, and wait
// for what the window system does by looking again and again.

#include "test.h"

#include <corekit/optionsfile.h>
#include <wx/app.h>
#include <wx/bitmap.h>
#include <wx/dcmemory.h>
#include <wx/frame.h>
#include <wx/image.h>
#include <wx/log.h>
#include <wx/menu.h>
#include <wx/sizer.h>
#include <wx/statusbr.h>
#include <wx/textctrl.h>
#include <wx/uiaction.h>
#include <wx/utils.h>
#include <wx/wxtimed.h>
#include <wx/wxvcolors.h>
#include <wx/wxvoptions.h>
#include <wx/wxvtext.h>

// Everything that is waiting now.
inline void Pump() { wxYield(); }

// Lets the window system work until the condition holds; false after the deadline.
inline bool PumpUntil(std::function<bool()> const& condition, int deadlineMs = 20'000) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(deadlineMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        wxYield();
        wxMilliSleep(2);
    }
    return true;
}

// WindowTest has a frame for the screen, and a hand on mouse and keyboard.
class WindowTest : public ::testing::Test {
protected:
    explicit WindowTest(wxSize const& size = wxSize(600, 400))
        : m_frame(new wxFrame(nullptr, wxID_ANY, "Test", wxPoint(20, 20), size)) {}
    ~WindowTest() override {
        m_frame->Destroy();
        Pump();
    }

    wxFrame& Frame() { return *m_frame; }
    // Until it has the keyboard.
    void Show() {
        m_frame->Show();
        m_frame->Raise();
        EXPECT_TRUE(PumpUntil([this] { return m_frame->IsActive(); }));
    }
    // Gives the frame its one control and shows it.
    void Show(wxWindow* control) {
        m_frame->SetSizer(new wxBoxSizer(wxVERTICAL));
        m_frame->GetSizer()->Add(control, wxSizerFlags(1).Expand());
        auto const painted = std::make_shared<bool>(false);
        control->Bind(wxEVT_PAINT, [painted](wxPaintEvent& event) {
            *painted = true;
            event.Skip();
        });
        Show();
        EXPECT_TRUE(PumpUntil([&] { return *painted; }));
        m_frame->Layout();
        Focus(control);
    }
    void Focus(wxWindow* window) {
        window->SetFocus();
        EXPECT_TRUE(PumpUntil([window] { return window->HasFocus(); }));
    }
    void Press(int key, int modifiers = 0) {
        hand.Char(key, modifiers);
        Pump();
    }
    void Type(char const* text) {
        hand.Text(text);
        Pump();
    }

    wxUIActionSimulator hand;

private:
    wxFrame* const m_frame;
};

// The options of the controls, empty and for one test.
struct ControlOptions : corekit::OptionsFile {
    ControlOptions() { wxvSetOptions(this); }
    ~ControlOptions() { wxvSetOptions(nullptr); }
};

// Runs all tests inside the application's main loop. From within its OnRun.
inline int RunTestsInMainLoop(wxApp& app) {
    app.SetExitOnFrameDelete(false);
    int result = 1;
    app.CallAfter([&app, &result] {
        result = RUN_ALL_TESTS();
        app.ExitMainLoop();
    });
    app.MainLoop();
    return result;
}

// Most of main. A failed assertion of the toolkit fails the test.
inline int RunTestApp(int argc, char** argv, wxAppInitializerFunction makeApp) {
    testing::InitGoogleTest(&argc, argv);
    // The build asks for the names of the tests where there may be no display.
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    wxSetAssertHandler(
        [](wxString const& file, int line, wxString const&, wxString const& condition, wxString const& text) {
            ADD_FAILURE_AT(static_cast<char const*>(file.utf8_str()), line)
                << static_cast<char const*>(condition.utf8_str()) << ": " << static_cast<char const*>(text.utf8_str());
        });
    wxLog::SetLogLevel(wxLOG_Warning);
    wxApp::SetInitializerFunction(makeApp);
    int const result = wxEntry(argc, argv);
    if (result == -1)
        std::fputs("Tests with windows need a display: start them with ./test gui\n", stderr);
    return result;
}
