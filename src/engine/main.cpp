#include "engine/engineapp.h"
#include "engine/runner/runnerhelper.h"

#include <corekit/commandline.h>

#include <cstring>

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--runner") == 0) {
        corekit::UID machine;
        return corekit::UID::FromString(argv[2], machine) ? vorlan::runner::HelperMain(machine) : 2;
    }
    corekit::CommandLine commandLine(argc, argv);
    vorlan::EngineApp app{corekit::Path("/proc/self/exe")};
    return app.Run(commandLine);
}
