#include "runtimetools.h"

#include <corekit/callentry.h>
#include <corekit/crashreport.h>
#include <corekit/thread.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>

namespace corekit::test {
namespace {

class IdleThread : public Thread {
public:
    using Thread::Thread;
    std::atomic<bool> inside{false};

protected:
    bool Execute() override {
        CALL_ENTRY_NAMED("IdleThread::Execute");
        inside = true;
        return Sleep(1000 * 1000);
    }
};

int Overflow(int depth) {
    volatile char room[4096];
    room[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : Overflow(depth + 1) + room[0];
}

class FailingThread : public Thread {
public:
    FailingThread() : Thread("Overflowing") {}

protected:
    bool Execute() override { return Overflow(1) == 1; }
};

// Runs the failure in a child with reports on. The signal that ended it.
int RunAndFail(Path const& folder, std::function<void()> const& fail) {
    pid_t child = ::fork();
    if (child == 0) {
        rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        // The child's words would only confuse the test's output.
        ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
        CrashReport::Install(folder);
        IdleThread idle("Idle thread");
        idle.Start();
        WaitFor([&] { return idle.inside.load(); });
        CALL_ENTRY_NAMED("Outer function");
        fail();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? WTERMSIG(status) : -WEXITSTATUS(status);
}

TEST(CrashReport, NamesTheFaultAndWhatEveryThreadDid) {
    struct Case {
        const char* what;
        std::function<void()> fail;
        int signal;
        std::vector<const char*> texts;
    } const cases[] = {
        {"invalid memory",
         [] { ::raise(SIGSEGV); },
         SIGSEGV,
         {"SIGSEGV", "Thread that failed: ", "Outer function (", "Thread: Idle thread", "IdleThread::Execute"}},
        {"abort", [] { std::abort(); }, SIGABRT, {"SIGABRT", "Outer function ("}},
        {"uncaught exception",
         [] { std::thread([]() -> void { throw std::runtime_error("lost in the woods"); }).join(); },
         SIGABRT,
         {"Reason: lost in the woods"}},
        {"stack overflow of a thread",
         [] {
             FailingThread thread;
             thread.Start();
             thread.Join();
         },
         SIGSEGV,
         {"Thread that failed: Overflowing", "Address: 0x"}},
    };
    for (auto const& test : cases) {
        SCOPED_TRACE(test.what);
        TempFolder folder;
        EXPECT_EQ(RunAndFail(folder.Get() / Path("crashes"), test.fail), test.signal);
        std::vector<Path> reports;
        for (auto const& entry : std::filesystem::directory_iterator((folder.Get() / Path("crashes")).Native()))
            reports.emplace_back(entry.path());
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_TRUE(reports[0].Leaf().StartsWith("Crash-"));
        String text = File::Read(reports[0]);
        for (const char* part : test.texts)
            EXPECT_TRUE(text.Contains(part)) << part << " is missing in\n" << text;
    }
}

} // namespace
} // namespace corekit::test
