// VorlanGui: the desktop client.
#include <corekit/uid.h>
#include <vorlangui/core/vorlangui.h>
#include <wx/app.h>
#include <wx/debug.h>
#include <wx/init.h>
#include <wx/log.h>

namespace {

wxAppConsole* CreateClient() {
    wxAppConsoleBase::CheckBuildOptions(WX_BUILD_OPTIONS_SIGNATURE, "VorlanGui");
    return new vorlan::VorlanGui;
}

} // namespace

int main(int argc, char** argv) {
    // Assertions stay, but nobody is asked about them.
    wxTheAssertHandler = nullptr;
    wxLog::SetLogLevel(wxLOG_Info);
    wxApp::SetInitializerFunction(CreateClient);
    return wxEntry(argc, argv);
}
