#include "runtimetools.h"

#include <corekit/application.h>
#include <corekit/exception.h>
#include <corekit/platform.h>
#include <corekit/uniquefd.h>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/wait.h>

namespace corekit::test {
namespace {

class TestApplication : public Application {
public:
    std::function<bool()> startup = [] { return true; };
    std::function<int()> execute = [] { return 0; };
    std::string steps;
    String message;

    bool Startup(CommandLine&) override {
        steps += "s";
        return startup();
    }
    int Execute() override {
        steps += "e";
        return execute();
    }
    void Cleanup() override { steps += "c"; }
    bool OnException(Exception* exception) override {
        steps += "x";
        message = exception ? exception->Message() : String("unknown");
        return true;
    }
};

TEST(Application, CleansUpWhateverHappens) {
    struct Case {
        const char* what;
        std::function<void(TestApplication&)> prepare;
        int code;
        const char* steps;
        const char* message;
    } const cases[] = {
        {"plain run", [](auto& app) { app.execute = [] { return 5; }; }, 5, "sec", ""},
        {"start refused", [](auto& app) { app.startup = [] { return false; }; }, 1, "sc", ""},
        {"own exception", [](auto& app) { app.startup = []() -> bool { throw FileException("no file"); }; }, 1, "sxc",
         "no file"},
        {"standard exception", [](auto& app) { app.execute = []() -> int { throw std::runtime_error("standard"); }; },
         1, "sexc", "standard"},
        {"anything", [](auto& app) { app.execute = []() -> int { throw 1; }; }, 1, "sexc", "unknown"},
    };
    for (auto const& test : cases) {
        SCOPED_TRACE(test.what);
        CommandLine line("program", {});
        TestApplication app;
        EXPECT_EQ(Application::the_Application, &app);
        test.prepare(app);
        EXPECT_EQ(app.Run(line), test.code);
        EXPECT_EQ(app.steps, test.steps);
        EXPECT_EQ(app.message, test.message);
    }
    EXPECT_EQ(Application::the_Application, nullptr);
}

TEST(Application, StopSignalsCallTheFunctionOnAThread) {
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) {
        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        UniqueFd ready(ends[0]), tell(ends[1]);
        pid_t child = ::fork();
        if (child == 0) {
            Application::InstallStopSignals([] { ::_exit(7); });
            ::raise(SIGPIPE);
            [[maybe_unused]] ssize_t told = ::write(tell.Get(), "r", 1);
            for (;;)
                ::pause();
        }
        char c = 0;
        ASSERT_EQ(::read(ready.Get(), &c, 1), 1) << "SIGPIPE is ignored";
        ::kill(child, signal);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << signal;
    }
}

TEST(Platform, EachHomeIsAMachineOfItsOwnAndStaysTheSame) {
    TempFolder first, second;
    UID a, b;
    {
        ScopedEnv home("VORLAN_HOME", first.Get().c_str());
        a = Platform::GetUniqueSystemID();
    }
    {
        ScopedEnv home("VORLAN_HOME", second.Get().c_str());
        b = Platform::GetUniqueSystemID();
    }
    ScopedEnv home("VORLAN_HOME", first.Get().c_str());
    EXPECT_NE(a, b);
    EXPECT_EQ(Platform::GetUniqueSystemID(), a);
    EXPECT_FALSE(a.IsNull());
}

TEST(Platform, ProcessesThatStartTogetherAgreeOnTheMachine) {
    TempFolder folder;
    ScopedEnv home("VORLAN_HOME", folder.Get().c_str());
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    UniqueFd read(ends[0]), write(ends[1]);
    constexpr int k_Children = 8;
    std::vector<pid_t> children;
    for (int i = 0; i < k_Children; ++i) {
        children.push_back(::fork());
        if (children.back() == 0) {
            UID id = Platform::GetUniqueSystemID();
            ::_exit(::write(write.Get(), id.Bytes(), UID::k_Size) == UID::k_Size ? 0 : 1);
        }
    }
    std::set<UID> ids;
    for (int i = 0; i < k_Children; ++i) {
        uint8_t bytes[UID::k_Size];
        ASSERT_EQ(::read(read.Get(), bytes, sizeof(bytes)), static_cast<ssize_t>(sizeof(bytes)));
        ids.insert(UID::FromBytes(bytes));
    }
    for (pid_t child : children)
        ::waitpid(child, nullptr, 0);
    EXPECT_EQ(ids.size(), 1u);
}

TEST(Platform, KnowsTheMachineAndTheUser) {
    EXPECT_FALSE(Platform::GetComputerNameA().empty());
    EXPECT_FALSE(Platform::GetComputerNameA().Contains("."));
    EXPECT_EQ(Platform::GetUserAtMachine(), Platform::GetCurrentUserName() + "@" + Platform::GetComputerNameA());
    EXPECT_TRUE(Platform::HardwareText().Contains(Platform::CoreCount() == 1 ? "core" : "cores"));
    EXPECT_TRUE(Platform::OperatingSystemText().Contains("Linux"));
    EXPECT_GT(Platform::PhysicalMemoryMB(), 64u);
    for (String const& address : Platform::MacAddresses())
        EXPECT_EQ(address.size(), 17u) << address;
}

} // namespace
} // namespace corekit::test
