// VorlanGui: the desktop client.
#include <corekit/commandline.h>
#include <corekit/uid.h>
#include <vorlan/usage.h>
#include <vorlangui/core/vorlangui.h>
#include <wx/app.h>
#include <wx/debug.h>
#include <wx/init.h>
#include <wx/log.h>

namespace {

constexpr char k_Usage[] = "VorlanGui shows and controls a farm. It starts the farm's programs on this machine\n"
                           "as its options say, or as these switches do (0 not, 1 until it ends, 2 for good):\n"
                           "\n"
                           "  --StartEngine [N]   --StartMaster [N]\n"
                           "  --StartBrakka [N]   --StartMerrow [N]   --StartPanvale [N]\n"
                           "  --DisableMessenger  do not look for a Master\n"
                           "  --version           tell the version\n";

wxAppConsole* CreateClient() {
    wxAppConsoleBase::CheckBuildOptions(WX_BUILD_OPTIONS_SIGNATURE, "VorlanGui");
    return new vorlan::VorlanGui;
}

} // namespace

int main(int argc, char** argv) {
    if (vorlan::AnswerUsage(corekit::CommandLine(argc, argv), k_Usage))
        return 0;
    // Assertions stay, but nobody is asked about them.
    wxTheAssertHandler = nullptr;
    wxLog::SetLogLevel(wxLOG_Info);
    wxApp::SetInitializerFunction(CreateClient);
    return wxEntry(argc, argv);
}
