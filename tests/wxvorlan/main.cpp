// Runs the tests of the controls inside the event loop of a plain application object.
#include "wxtools.h"

#include <corekit/threadpool.h>

namespace {

struct TestApp : wxApp {
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

} // namespace

int main(int argc, char** argv) {
    return RunTestApp(argc, argv, []() -> wxAppConsole* { return new TestApp; });
}
