// Runs the tests of the client inside the event loop of its own application object.
#include "guitest.h"

#include <corekit/threadpool.h>
#include <wx/init.h>

namespace {

// TestApp is the client's application object without its start-up: each test does the
// steps of it that it needs.
struct TestApp : vorlan::VorlanGui {
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

} // namespace

int main(int argc, char** argv) {
    corekit::TempFolder const home;
    corekit::EnvironmentValue const variable("VORLAN_HOME", home.Folder().c_str());
    return RunTestApp(argc, argv, []() -> wxAppConsole* { return new TestApp; });
}
