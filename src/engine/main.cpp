#include "engine/engineapp.h"
#include "engine/runner/runnerhelper.h"

#include <corekit/commandline.h>

#include <cstring>
#include <vorlan/usage.h>

namespace {

constexpr char k_Usage[] = "VorlanEngine runs work on this machine for the Master.\n"
                           "\n"
                           "  --Console    write the log to the terminal, too\n"
                           "  --Name TEXT  the name that others see; the machine's own by default\n"
                           "  --Cores N    offer so many cores instead of all\n"
                           "  --version    tell the version\n"
                           "\n"
                           "It goes on until it is told to stop (Ctrl+C, or the client).\n";

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--runner") == 0) {
        corekit::UID machine;
        if (!corekit::UID::FromString(argv[2], machine))
            return 2;
        vorlan::runner::HelperMain(machine);
    }
    corekit::CommandLine commandLine(argc, argv);
    if (vorlan::AnswerUsage(commandLine, k_Usage))
        return 0;
    vorlan::EngineApp app{corekit::Path("/proc/self/exe")};
    return app.Run(commandLine);
}
