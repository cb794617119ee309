#pragma once

#include <corekit/commonmutex.h>
#include <corekit/path.h>
#include <corekit/string.h>
#include <corekit/uniquefd.h>

#include <map>
#include <memory>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace corekit {

enum class ProcessGroup {
    Own,     // a process group of its own: Terminate reaches its children too
    Session, // a session of its own as well: survives the starter's terminal
    Shared,  // stays in the starter's group: only the process itself is ended
};

struct ProcessOptions {
    // Values of stdinFd, stdoutFd and stderrFd beside a descriptor.
    static constexpr int k_Inherit = -1;
    static constexpr int k_Null = -2;

    std::vector<String> args;     // without the program's name
    std::map<String, String> env; // added to, or instead of, the starter's
    std::vector<String> unsetEnv; // names not handed on
    bool inheritEnv = true;
    Path folder; // working folder; empty: the starter's
    int stdinFd = k_Null;
    int stdoutFd = k_Inherit;
    int stderrFd = k_Inherit;
    ProcessGroup group = ProcessGroup::Own;
};

// Process is a child process. It starts without a copy of this process's memory,
// with no descriptor but the three standard ones, all signals at their default.
// Owner: whoever started it. Destroying the object kills a child that still
// runs; Detach lets it live on.
// Thread: any.
// Always: only its own child is waited for; the child's number (and its group's)
// is not given to another process while the object lives.
class Process {
public:
    // `program` without a slash is looked for in PATH; a relative path counts
    // from this process's folder. Null on failure, and `error` (if given) then
    // says what is wrong and what to do.
    static std::unique_ptr<Process> Start(Path const& program, ProcessOptions const& options, String* error = nullptr);
    ~Process();
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    pid_t Pid() const { return m_pid; }
    bool Running();
    // Waits for the end of the child, -1 meaning for ever. The exit code, or
    // minus the number of the signal that ended it; nothing on time-out.
    std::optional<int> Wait(int timeoutMs = -1);
    // Asks the whole group to end, and kills what is left of it after the grace.
    // Returns when no process of the group is alive.
    void Terminate(int graceMs = 5000);
    // Kills the whole group at once.
    void Kill();
    // Lets the child live on by itself; the object ends its part.
    void Detach();

private:
    Process(pid_t pid, ProcessGroup group);
    void SendSignal(int signal);
    bool GroupAlive();
    void Reap();

    // Constant after construction.
    pid_t const m_pid;
    ProcessGroup const m_group;
    UniqueFd m_handle; // readable once the child has ended

    CommonMutex m_guard;
    std::optional<int> m_exitCode CK_GUARDED_BY(m_guard);
    bool m_detached CK_GUARDED_BY(m_guard) = false;
};

} // namespace corekit
