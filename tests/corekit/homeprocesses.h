#pragma once

#include "test.h"

namespace corekit {

// What the kernel shows of a process; empty when it is gone.
inline std::string ProcFile(pid_t pid, char const* name) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The variables of a process, a zero byte before and behind each. One that has ended and
// waits to be collected has none.
inline std::string EnvironmentOf(pid_t pid) { return '\0' + ProcFile(pid, "environ") + '\0'; }

// The processes whose VORLAN_HOME is this folder, but not the calling one: their numbers
// and the names of their programs.
inline std::map<pid_t, std::string> HomeProcesses(Path const& home) {
    std::map<pid_t, std::string> found;
    std::string const wanted = '\0' + ("VORLAN_HOME=" + home.Str()) + '\0';
    for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
        auto const pid = static_cast<pid_t>(std::atoi(entry.path().filename().c_str()));
        if (pid <= 0 || pid == ::getpid() || EnvironmentOf(pid).find(wanted) == std::string::npos)
            continue;
        std::string const name = ProcFile(pid, "comm");
        found[pid] = name.substr(0, name.find('\n'));
    }
    return found;
}

// HomeGuard ends every program that runs with a home, and deletes the home, when the test
// is over: also when the test program crashes or is killed. It starts a small program that
// waits for the end of a pipe.
// Owner: a fixture, behind its TempFolder. Thread: the test's.
class HomeGuard {
public:
    explicit HomeGuard(Path const& home) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        UniqueFd const theirs(ends[0]);
        m_pipe.Reset(ends[1]);
        ProcessOptions options;
        options.args = {home};
        options.unsetEnv = {"VORLAN_HOME"}; // or it would end itself
        options.stdinFd = theirs.Get();
        options.stdoutFd = options.stderrFd = ProcessOptions::k_Null;
        options.group = ProcessGroup::Session;
        String error;
        m_process = Process::Start(Path(vorlan::k_BinDir) / "homeguard", options, &error);
        if (!m_process)
            throw std::runtime_error(error.Str());
    }
    ~HomeGuard() { End(); }
    HomeGuard(HomeGuard const&) = delete;
    HomeGuard& operator=(HomeGuard const&) = delete;

    // Ends the programs now. False when one of them does not end.
    bool End() {
        m_pipe.Reset();
        return m_process->Wait(k_EndMs) == 0;
    }

private:
    static constexpr int k_EndMs = 20'000;

    UniqueFd m_pipe;
    std::unique_ptr<Process> m_process;
};

} // namespace corekit
