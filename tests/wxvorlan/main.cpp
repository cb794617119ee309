// Runs the tests of the controls inside the event loop of a plain application object.
#include "wxtools.h"

#include <corekit/threadpool.h>
#include <wx/wxvcolors.h>

namespace {

class TestApp : public wxApp {
public:
    bool OnInit() override {
        wxvApplyNativeStyle();
        return true;
    }
    int OnRun() override {
        corekit::ThreadPool::Initialize();
        int const result = RunTestsInMainLoop(*this);
        corekit::ThreadPool::Shutdown();
        return result;
    }
};

wxAppConsole* CreateTestApp() { return new TestApp; }

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The build asks for the names of the tests where there may be no display.
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    return RunTestApp(argc, argv, CreateTestApp);
}
