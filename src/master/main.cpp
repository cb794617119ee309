#include "master/net/masterapp.h"

#include <corekit/commandline.h>
#include <vorlan/usage.h>

namespace {

constexpr char k_Usage[] = "VorlanMaster queues Jobs and hands out their work.\n"
                           "\n"
                           "  --Console      write the log to the terminal, too\n"
                           "  --Port N       listen on this port (1 to 65535)\n"
                           "  --Store TEXT   keep the Jobs there instead of in its own file:\n"
                           "                 \"sqlite3://FILE\" or \"postgresql://host=... dbname=...\"\n"
                           "  --help         print this text\n"
                           "  --version      tell the version\n"
                           "\n"
                           "It goes on until it is told to stop (Ctrl+C, or `vorlan` and the client).\n";

} // namespace

int main(int argc, char** argv) {
    corekit::CommandLine commandLine(argc, argv);
    if (vorlan::AnswerUsage(commandLine, k_Usage))
        return 0;
    if (!vorlan::KnowsSwitches(argc, argv, k_Usage))
        return 2;
    farm::MasterApp app;
    return app.Run(commandLine);
}
