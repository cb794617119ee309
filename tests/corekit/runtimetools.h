#pragma once

// What the tests of threads, processes and the log share.

#include "test.h"

#include <corekit/thread.h>
#include <corekit/uniquefd.h>

#include <sys/syscall.h>

namespace corekit::test {

// A child that does this and ends with its result.
inline pid_t Fork(std::function<int()> const& body) {
    pid_t child = ::fork();
    if (child == 0)
        ::_exit(body());
    return child;
}

// How a child ended: its exit code, or the signal as a negative number.
inline int EndOf(pid_t child) {
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

struct Pipe {
    Pipe() {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        read.Reset(ends[0]);
        write.Reset(ends[1]);
    }
    UniqueFd read, write;
};

// The system's letter for a thread of this process ('S' asleep), or for the main
// thread of another one; 0 when there is none.
inline char TaskState(long thread, long process = ::getpid()) {
    std::ifstream file("/proc/" + std::to_string(process) + "/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    size_t bracket = text.rfind(')');
    return bracket + 2 < text.size() ? text[bracket + 2] : '\0';
}

inline bool IsAlive(long process) {
    char state = TaskState(process, process);
    return state != 0 && state != 'Z' && state != 'X';
}

inline long CurrentThread() { return ::syscall(SYS_gettid); }

// Does what it was made with, again and again.
class TestThread : public Thread {
public:
    TestThread(String name, std::function<bool(TestThread&)> body) : Thread(std::move(name)), m_body(std::move(body)) {}
    ~TestThread() override { Stop(); }
    using Thread::Sleep;
    std::atomic<int> endings{0};

protected:
    bool Execute() override { return m_body(*this); }
    void OnThreadStopping() override { ++endings; }

private:
    std::function<bool(TestThread&)> m_body;
};

} // namespace corekit::test
