// Runs the tests of the controls inside the event loop of a plain application object.
#include <cstdio>
#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/log.h>
#include <wx/wxvcolors.h>

namespace {

class TestApp : public wxApp {
public:
    bool OnInit() override {
        wxvApplyNativeStyle();
        return true;
    }
    int OnRun() override {
        SetExitOnFrameDelete(false);
        int result = 1;
        CallAfter([this, &result] {
            result = RUN_ALL_TESTS();
            ExitMainLoop();
        });
        MainLoop();
        return result;
    }
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
    wxSetAssertHandler(OnAssert);
    wxLog::SetLogLevel(wxLOG_Warning);
    wxApp::SetInitializerFunction(CreateTestApp);
    int const result = wxEntry(argc, argv);
    if (result == -1)
        std::fputs("The tests of the controls need a display: start them with ./test gui\n", stderr);
    return result;
}
