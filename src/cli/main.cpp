#include "cli/app.h"
#include "cli/masterlink.h"

#include <corekit/file.h>
#include <corekit/log.h>

#include <csignal>
#include <unistd.h>

namespace {

// At once: nothing here needs to be put away, and a connection may hang.
extern "C" void OnInterrupt(int signal) { _exit(128 + signal); }

} // namespace

int main(int count, char** arguments) {
    using namespace vorlan;
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
    // What the network has to say goes to a file; the terminal is for answers.
    corekit::Log::Open(File::GetUserDir() / "vorlan", "vorlan");
    int code = 0;
    {
        cli::Terminal terminal = cli::Terminal::Standard();
        code = cli::RunCommandLine({arguments + 1, arguments + count}, terminal, cli::ConnectToMaster);
    }
    corekit::Log::Close();
    return code;
}
