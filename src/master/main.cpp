#include "master/net/masterapp.h"

#include <corekit/commandline.h>

int main(int argc, char** argv) {
    corekit::CommandLine commandLine(argc, argv);
    farm::MasterApp app;
    return app.Run(commandLine);
}
