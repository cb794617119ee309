#include <corekit/runcommand.h>

#include <corekit/process.h>
#include <corekit/stringtokenizer.h>
#include <corekit/uniquefd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <unistd.h>

namespace corekit {

namespace {

// What a pipe takes at once on every system, so that nobody has to feed it later.
constexpr size_t k_MaxInput = 4096;

// Between two looks at a program that prints nothing.
constexpr int k_LookMs = 100;

struct Pipe {
    UniqueFd read;
    UniqueFd write;
};

bool Open(Pipe& pipe) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return false;
    pipe.read.Reset(ends[0]);
    pipe.write.Reset(ends[1]);
    return true;
}

// Until the end of the output, of the program or of the time. What the program leaves
// behind may hold the pipe open.
void ReadOutput(int fd, Process& process, std::function<bool()> const& isOver, String& output) {
    char piece[4096];
    while (!isOver()) {
        pollfd wait{fd, POLLIN, 0};
        int const ready = ::poll(&wait, 1, k_LookMs);
        if (ready == 0 && !process.Running())
            return;
        ssize_t const got = ready > 0 ? ::read(fd, piece, sizeof piece) : -1;
        if (got == 0 || (ready > 0 && got < 0 && errno != EINTR))
            return;
        if (got > 0)
            output.append(piece, std::min(static_cast<size_t>(got), k_MaxCommandOutput - output.size()));
    }
}

} // namespace

CommandOutcome RunCommand(Path const& program, std::vector<String> const& args, int timeoutMs, String const& input,
                          bool (*goOn)()) {
    CommandOutcome outcome;
    Pipe in;
    Pipe out;
    if (input.size() > k_MaxInput) {
        outcome.error = "Cannot run " + program + ": its input is too long.";
        return outcome;
    }
    if (!Open(out) || (!input.Empty() && !Open(in))) {
        outcome.error =
            "Cannot run " + program + ": " + std::strerror(errno) + ". Close some programs, then try again.";
        return outcome;
    }
    if (in.write && ::write(in.write.Get(), input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
        outcome.error = "Cannot run " + program + ": " + std::strerror(errno);
        return outcome;
    }
    in.write.Reset();
    ProcessOptions options;
    options.args = args;
    options.env["LC_ALL"] = "C.UTF-8";
    options.stdinFd = in.read ? in.read.Get() : ProcessOptions::k_Null;
    options.stdoutFd = options.stderrFd = out.write.Get();
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::unique_ptr<Process> const process = Process::Start(program, options, &outcome.error);
    if (!process)
        return outcome;
    out.write.Reset();
    in.read.Reset();
    auto const isOver = [until, goOn] { return std::chrono::steady_clock::now() >= until || (goOn && !goOn()); };
    ReadOutput(out.read.Get(), *process, isOver, outcome.output);
    // It has closed its outputs, or has ended, or has to.
    while (!outcome.exitCode && !isOver())
        outcome.exitCode = process->Wait(k_LookMs);
    if (!outcome.exitCode)
        process->Terminate();
    return outcome;
}

Path FindProgram(String const& name) {
    char const* const path = std::getenv("PATH");
    StringTokenizer folders(path ? path : "/usr/local/bin:/usr/bin:/bin", ":");
    String folder;
    while (folders.NextPlain(folder)) {
        Path const candidate = Path(folder) / name;
        if (!folder.Empty() && ::access(candidate.c_str(), X_OK) == 0 && !candidate.IsFolder())
            return candidate;
    }
    return {};
}

} // namespace corekit
