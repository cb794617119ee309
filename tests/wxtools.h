// What the test programs with windows share: tests run inside the event loop, and wait
// for what the window system does by looking again and again.
#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/log.h>
#include <wx/utils.h>

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

// The rest of main, after InitGoogleTest. A failed assertion of the toolkit fails the test.
inline int RunTestApp(int argc, char** argv, wxAppInitializerFunction makeApp) {
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
