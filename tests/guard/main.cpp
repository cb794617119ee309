// homeguard HOME: waits until its standard input ends, kills every program that runs with
// this VORLAN_HOME, and deletes the folder. A test holds the other end of that input, so
// that nothing outlives the test, however it ends.
#include "corekit/homeprocesses.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

namespace {

constexpr std::chrono::seconds k_GiveUp{10};

bool KillAll(corekit::Path const& home) {
    auto const until = std::chrono::steady_clock::now() + k_GiveUp;
    for (;;) {
        auto const processes = corekit::HomeProcesses(home);
        if (processes.empty())
            return true;
        if (std::chrono::steady_clock::now() > until)
            return false;
        for (auto const& [pid, name] : processes)
            ::kill(pid, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    char byte = 0;
    ssize_t count = 0;
    do
        count = ::read(STDIN_FILENO, &byte, sizeof byte);
    while (count > 0 || (count < 0 && errno == EINTR));
    corekit::Path const home(argv[1]);
    bool const isEmpty = KillAll(home);
    std::error_code ignored;
    std::filesystem::remove_all(home.Native(), ignored);
    return isEmpty ? 0 : 1;
}
