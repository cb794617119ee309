#include "runtimetools.h"

#include <corekit/callentry.h>
#include <corekit/crashreport.h>
#include <corekit/thread.h>

#include <sys/resource.h>

namespace corekit::test::test_crashreport {

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
    char volatile room[4096];
    room[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : Overflow(depth + 1) + room[0];
}

class FailingThread : public Thread {
public:
    FailingThread() : Thread("Overflowing") {}

protected:
    bool Execute() override { return Overflow(1) == 1; }
};

// Runs the failure in a child with reports on, and tells how that ended.
int RunAndFail(Path const& folder, std::function<void()> const& fail) {
    return EndOf(Fork([&] {
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
        return 0;
    }));
}

TEST(CrashReport, NamesTheFaultAndWhatEveryThreadDid) {
    auto const overflow = [] {
        FailingThread thread;
        thread.Start();
        thread.Join();
    };
    auto const lose = [] { std::thread([]() -> void { throw std::runtime_error("lost in the woods"); }).join(); };
    struct Case {
        std::function<void()> fail;
        int signal;
        std::vector<char const*> texts;
    } const cases[] = {
        {[] { ::raise(SIGSEGV); }, SIGSEGV, {"SIGSEGV", "Thread: Idle thread", "IdleThread::Execute"}},
        {[] { std::abort(); }, SIGABRT, {"SIGABRT", "Thread that failed: ", "Outer function ("}},
        {lose, SIGABRT, {"Reason: lost in the woods"}},
        {overflow, SIGSEGV, {"Thread that failed: Overflowing", "Address: 0x"}},
    };
    for (auto const& test : cases) {
        TempFolder folder;
        EXPECT_EQ(RunAndFail(folder.Folder(), test.fail), -test.signal);
        ASSERT_EQ(folder.Names().size(), 1u);
        EXPECT_TRUE(folder.Names()[0].StartsWith("Crash-"));
        String text = File::Read(folder / folder.Names()[0]);
        for (char const* part : test.texts)
            EXPECT_TRUE(text.Contains(part)) << part << " is missing in\n" << text;
    }
}

} // namespace corekit::test::test_crashreport
