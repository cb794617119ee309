#include "runtimetools.h"

#include <corekit/callentry.h>
#include <corekit/crashreport.h>

#include <sys/resource.h>

namespace corekit::test::test_crashreport {

int Overflow(int depth) {
    char volatile room[4096];
    room[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : Overflow(depth + 1) + room[0];
}

// Runs the failure in a child with reports on, and tells how that ended.
int RunAndFail(Path const& folder, std::function<void()> const& fail) {
    return EndOf(Fork([&] {
        rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        // The child's words would only confuse the test's output.
        ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
        CrashReport::Install(folder);
        std::atomic<bool> inside{false};
        TestThread idle("Idle thread", [&inside](TestThread& self) {
            CALL_ENTRY_NAMED("IdleThread::Execute");
            inside = true;
            return self.Sleep(1000 * 1000);
        });
        idle.Start();
        WaitFor([&] { return inside.load(); });
        CALL_ENTRY_NAMED("Outer function");
        fail();
        ::_exit(0);
        return 0;
    }));
}

TEST(CrashReport, NamesTheFaultAndWhatEveryThreadDid) {
    auto const overflow = [] {
        TestThread thread("Overflowing", [](TestThread&) { return Overflow(1) == 1; });
        thread.Start();
        thread.Join();
    };
    auto const lose = [] { std::thread([]() -> void { throw std::runtime_error("lost in the woods"); }).join(); };
    for (auto const& [fail, signal, texts] : Rows<std::function<void()>, int, std::vector<char const*>>{
             {[] { ::raise(SIGSEGV); }, SIGSEGV, {"SIGSEGV", "Thread: Idle thread", "IdleThread::Execute"}},
             {[] { std::abort(); }, SIGABRT, {"SIGABRT", "Thread that failed: ", "Outer function ("}},
             {lose, SIGABRT, {"Reason: lost in the woods"}},
             {overflow, SIGSEGV, {"Thread that failed: Overflowing", "Address: 0x"}},
         }) {
        TempFolder folder;
        EXPECT_EQ(RunAndFail(folder.Folder(), fail), -signal);
        ASSERT_EQ(folder.Names().size(), 1u);
        EXPECT_TRUE(folder.Names()[0].StartsWith("Crash-"));
        String text = File::Read(folder / folder.Names()[0]);
        for (char const* part : texts)
            EXPECT_TRUE(text.Contains(part)) << part << " is missing in\n" << text;
    }
}

} // namespace corekit::test::test_crashreport
