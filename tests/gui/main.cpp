// Runs the tests of the client inside the event loop of its own application object.
#include "guitest.h"

#include <corekit/threadpool.h>
#include <cstdio>
#include <wx/init.h>
#include <wx/log.h>

namespace {

// TestApp is the client's application object without its start-up: each test does the
// steps of it that it needs.
class TestApp : public vorlan::VorlanGui {
public:
    TestApp() : VorlanGui(Signals::LeaveAlone) {}

    bool Startup(corekit::CommandLine&) override {
        vorlan::GuiTester::Connect(*this);
        corekit::ThreadPool::Initialize();
        return true;
    }
    int Execute() override {
        SetExitOnFrameDelete(false);
        int result = 1;
        CallAfter([this, &result] {
            result = RUN_ALL_TESTS();
            ExitMainLoop();
        });
        MainLoop();
        return result;
    }
    // No component is stopped at the end of a test program.
    void Cleanup() override { VorlanClientApp::Cleanup(); }
};

wxAppConsole* CreateTestApp() { return new TestApp; }

void OnAssert(wxString const& file, int line, wxString const&, wxString const& condition, wxString const& text) {
    ADD_FAILURE_AT(static_cast<char const*>(file.utf8_str()), line)
        << static_cast<char const*>(condition.utf8_str()) << ": " << static_cast<char const*>(text.utf8_str());
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The build asks for the names of the tests where there may be no display.
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    corekit::TempFolder const home;
    corekit::EnvironmentValue const variable("VORLAN_HOME", home.Folder().c_str());
    wxSetAssertHandler(OnAssert);
    wxLog::SetLogLevel(wxLOG_Warning);
    wxApp::SetInitializerFunction(CreateTestApp);
    int const result = wxEntry(argc, argv);
    if (result == -1)
        std::fputs("The tests of the client need a display: start them with ./test gui\n", stderr);
    return result;
}
