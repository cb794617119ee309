#include "runtimetools.h"

#include <corekit/application.h>

namespace corekit::test::test_application {

// Notes its steps; each does the same.
class TestApplication : public Application {
public:
    explicit TestApplication(std::function<int(char)> body) : m_body(std::move(body)) {}
    std::string steps;
    String message;
    bool Startup(CommandLine&) override { return Do('s') != 0; }
    int Execute() override { return Do('e'); }
    void Cleanup() override { steps += "c"; }
    bool OnException(Exception* exception) override {
        steps += "x";
        message = exception ? exception->Message() : String("unknown");
        return true;
    }

private:
    int Do(char step) {
        steps += step;
        return m_body(step);
    }
    std::function<int(char)> m_body;
};

TEST(Application, CleansUpWhateverHappens) {
    for (auto const& [body, code, steps, message] : Rows<std::function<int(char)>, int, char const*, char const*>{
             {[](char) { return 5; }, 5, "sec", ""},
             {[](char) { return 0; }, 1, "sc", ""},
             {[](char) -> int { throw FileException("no file"); }, 1, "sxc", "no file"},
             {[](char step) { return step == 's' ? 1 : throw std::runtime_error("standard"); }, 1, "sexc", "standard"},
             {[](char step) { return step == 's' ? 1 : throw 1; }, 1, "sexc", "unknown"},
         }) {
        CommandLine line("program", {});
        TestApplication app(body);
        EXPECT_EQ(Application::the_Application, &app);
        EXPECT_EQ(app.Run(line), code);
        EXPECT_EQ(app.steps, steps);
        EXPECT_EQ(app.message, message);
    }
    EXPECT_EQ(Application::the_Application, nullptr);
}

TEST(Application, StopSignalsCallTheFunctionOnAThread) {
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) {
        Pipe pipe;
        pid_t child = Fork([&] {
            Application::InstallStopSignals([] { ::_exit(7); });
            ::raise(SIGPIPE);
            [[maybe_unused]] ssize_t told = ::write(pipe.write.Get(), "r", 1);
            for (;;)
                ::pause();
            return 0;
        });
        pipe.write.Reset();
        char c = 0;
        ASSERT_EQ(::read(pipe.read.Get(), &c, 1), 1) << "SIGPIPE is ignored";
        ::kill(child, signal);
        EXPECT_EQ(EndOf(child), 7) << signal;
    }
}

TEST(Platform, EachHomeIsAMachineOfItsOwnAndStaysTheSame) {
    TempFolder first, second;
    auto idIn = [](TempFolder const& folder) {
        EnvironmentValue home("VORLAN_HOME", folder.Folder().c_str());
        return Platform::GetUniqueSystemID();
    };
    UID id = idIn(first);
    EXPECT_FALSE(id.IsNull());
    EXPECT_NE(idIn(second), id);
    EXPECT_EQ(idIn(first), id);
}

TEST(Platform, ProcessesThatStartTogetherAgreeOnTheMachine) {
    TempFolder folder;
    EnvironmentValue home("VORLAN_HOME", folder.Folder().c_str());
    Pipe pipe;
    std::vector<pid_t> children;
    for (int i = 0; i < 8; ++i) {
        children.push_back(Fork([&] {
            UID id = Platform::GetUniqueSystemID();
            return ::write(pipe.write.Get(), id.Bytes(), UID::k_Size) == UID::k_Size ? 0 : 1;
        }));
    }
    std::set<UID> ids;
    for (pid_t child : children) {
        EXPECT_EQ(EndOf(child), 0);
        uint8_t bytes[UID::k_Size];
        ASSERT_EQ(::read(pipe.read.Get(), bytes, sizeof(bytes)), static_cast<ssize_t>(sizeof(bytes)));
        ids.insert(UID::FromBytes(bytes));
    }
    EXPECT_EQ(ids.size(), 1u);
}

TEST(Platform, KnowsTheMachineAndTheUser) {
    EXPECT_FALSE(Platform::GetComputerNameA().Empty() || Platform::GetComputerNameA().Contains("."));
    EXPECT_EQ(Platform::GetUserAtMachine(), Platform::GetCurrentUserName() + "@" + Platform::GetComputerNameA());
    EXPECT_TRUE(Platform::HardwareText().Contains(Platform::CoreCount() == 1 ? "core" : "cores"));
    EXPECT_TRUE(Platform::OperatingSystemText().Contains("Linux"));
    EXPECT_GT(Platform::PhysicalMemoryMB(), 64u);
    for (String const& address : Platform::MacAddresses())
        EXPECT_EQ(address.size(), 17u) << address;
}

} // namespace corekit::test::test_application
