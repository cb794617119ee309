#include <corekit/process.h>

#include "processspawn.h"
#include <corekit/log.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <vector>

namespace corekit {

namespace {

using Clock = std::chrono::steady_clock;
constexpr int k_PollMs = 5;
// Looking for a group's members reads through all processes.
constexpr int k_GroupPollMs = 20;
// A killed process that is still there after this waits for the kernel.
constexpr int k_KillWaitMs = 2000;

int MillisecondsUntil(Clock::time_point deadline) {
    auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<int64_t>(left, 0, INT32_MAX));
}

struct ProcessState {
    char state = 0; // 'Z' for one that has ended and was not waited for
    int group = 0;
    int session = 0;
};

// False when the process has gone.
bool ReadProcessState(int pid, ProcessState& result) {
    char path[64];
    std::snprintf(path, sizeof(path), "/proc/%d/stat", pid);
    UniqueFd file(::open(path, O_RDONLY | O_CLOEXEC));
    char text[512];
    ssize_t bytes = file ? ::read(file.Get(), text, sizeof(text) - 1) : -1;
    if (bytes <= 0)
        return false;
    text[bytes] = 0;
    // The program's name in brackets may contain anything, so count from its end.
    char const* rest = std::string_view(text).rfind(')') == std::string_view::npos
                           ? nullptr
                           : text + std::string_view(text).rfind(')') + 1;
    int parent = 0;
    return rest && std::sscanf(rest, " %c %d %d %d", &result.state, &parent, &result.group, &result.session) == 4;
}

// The living processes of the group, and of the session where one was made.
std::vector<pid_t> FindMembers(pid_t leader, ProcessGroup kind) {
    std::vector<pid_t> members;
    std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), &::closedir);
    while (dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
        int pid = std::atoi(entry->d_name);
        ProcessState state;
        if (pid <= 0 || !ReadProcessState(pid, state) || state.state == 'Z' || state.state == 'X')
            continue;
        if (state.group == leader || (kind == ProcessGroup::Session && state.session == leader))
            members.push_back(pid);
    }
    return members;
}

} // namespace

std::unique_ptr<Process> Process::Start(Path const& program, ProcessOptions const& options, String* error) {
    String reason;
    pid_t pid = SpawnProcess(program, options, reason);
    if (pid < 0) {
        if (error)
            *error = reason;
        return nullptr;
    }
    return std::unique_ptr<Process>(new Process(pid, options.group));
}

Process::Process(pid_t pid, ProcessGroup group)
    : m_pid(pid), m_group(group), m_handle(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))) {}

Process::~Process() {
    {
        CommonMutex::Lock const lock(m_guard);
        if (m_detached)
            return;
    }
    if (Running())
        Kill();
    Reap();
}

bool Process::Running() { return !Wait(0).has_value(); }

std::optional<int> Process::Wait(int timeoutMs) {
    auto deadline = Clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0));
    for (;;) {
        {
            CommonMutex::Lock const lock(m_guard);
            if (m_exitCode)
                return m_exitCode;
            if (m_detached)
                return std::nullopt;
            // The child stays a zombie until this object dies: that keeps its number.
            siginfo_t info{};
            if (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                info.si_pid == m_pid) {
                m_exitCode = info.si_code == CLD_EXITED ? info.si_status : -info.si_status;
                return m_exitCode;
            }
        }
        int left = timeoutMs < 0 ? -1 : MillisecondsUntil(deadline);
        if (left == 0)
            return std::nullopt;
        if (m_handle) {
            pollfd wait{m_handle.Get(), POLLIN, 0};
            ::poll(&wait, 1, left);
        } else {
            ::poll(nullptr, 0, left < 0 ? k_PollMs : std::min(left, k_PollMs));
        }
    }
}

void Process::SendSignal(int signal) {
    CommonMutex::Lock const lock(m_guard);
    if (m_detached)
        return;
    if (m_group == ProcessGroup::Shared) {
        ::kill(m_pid, signal);
        return;
    }
    ::kill(-m_pid, signal);
    if (m_group == ProcessGroup::Session) {
        // Shells put their jobs into groups of their own.
        for (pid_t member : FindMembers(m_pid, m_group)) {
            if (::getpgid(member) != m_pid)
                ::kill(member, signal);
        }
    }
}

bool Process::GroupAlive() {
    if (m_group == ProcessGroup::Shared)
        return Running();
    return !FindMembers(m_pid, m_group).empty();
}

void Process::Terminate(int graceMs) {
    SendSignal(SIGTERM);
    auto deadline = Clock::now() + std::chrono::milliseconds(graceMs);
    Wait(graceMs);
    while (GroupAlive()) {
        int left = MillisecondsUntil(deadline);
        if (left == 0) {
            Kill();
            return;
        }
        ::poll(nullptr, 0, std::min(left, k_GroupPollMs));
    }
}

void Process::Kill() {
    auto deadline = Clock::now() + std::chrono::milliseconds(k_KillWaitMs);
    SendSignal(SIGKILL);
    Wait(k_KillWaitMs);
    while (GroupAlive()) {
        if (MillisecondsUntil(deadline) == 0) {
            LogWarning("Process " + String::From(m_pid) + " was killed, but the system has not ended all of it yet");
            return;
        }
        // One that was being started by a member in this moment.
        SendSignal(SIGKILL);
        ::poll(nullptr, 0, k_PollMs);
    }
}

void Process::Reap() {
    // One that even a kill did not end yet is left to the detached wait.
    if (::waitpid(m_pid, nullptr, WNOHANG) == 0)
        Detach();
}

void Process::Detach() {
    {
        CommonMutex::Lock const lock(m_guard);
        if (m_detached)
            return;
        m_detached = true;
    }
    try {
        // Somebody has to wait for it, or it stays a zombie as long as we live.
        std::thread([pid = m_pid] {
            while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }).detach();
    } catch (std::system_error const&) {
        // Then it is a zombie until this process ends, which harms nobody.
    }
}

} // namespace corekit
