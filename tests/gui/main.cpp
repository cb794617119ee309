// Runs the tests of the client inside the event loop of its own application object.
#include "guitest.h"
#include "wxtools.h"

#include <corekit/threadpool.h>
#include <wx/init.h>

namespace {

// TestApp is the client's application object without its start-up: each test does the
// steps of it that it needs.
class TestApp : public vorlan::VorlanGui {
public:
    TestApp() : VorlanGui(Signals::LeaveAlone) {}

    bool Startup(corekit::CommandLine&) override {
        ConnectMessages();
        corekit::ThreadPool::Initialize();
        return true;
    }
    int Execute() override { return RunTestsInMainLoop(*this); }
    // No component is stopped at the end of a test program.
    void Cleanup() override { VorlanClientApp::Cleanup(); }
};

wxAppConsole* CreateTestApp() { return new TestApp; }

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The build asks for the names of the tests where there may be no display.
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    corekit::TempFolder const home;
    corekit::EnvironmentValue const variable("VORLAN_HOME", home.Folder().c_str());
    return RunTestApp(argc, argv, CreateTestApp);
}
