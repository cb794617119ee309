// The real program: its start, its end, and what it leaves behind.
#include "domain.h"
#include "program.h"

#include <corekit/inifile.h>
#include <corekit/namedpipe.h>
#include <corekit/runcommand.h>
#include <vorlan/version.h>

namespace vorlan::test_program {

using namespace corekit;

constexpr int k_StartMs = 40'000;

struct ProgramTest : testing::Test {
    ProgramTest() : m_variable("VORLAN_HOME", m_home.Folder().c_str()) {}
    ~ProgramTest() override {
        if (HasFailure())
            std::cerr << "The log of the client:\n" << Log() << "\nIts output:\n" << m_client.Output() << std::endl;
        EXPECT_TRUE(m_guard.End()) << "programs of the test are still there";
    }

    // Starts the client with the options of a former run.
    void StartAgain(char const* options = "") {
        File::WriteWhole(File::GetUserDir() / "VorlanGui.ini",
                         "[Configuration]\nVersion=" + String::From(k_VorlanVersion) + "\n" + options);
        m_client.Start();
    }
    void End() { EXPECT_EQ(m_client.Stop(), 0); }
    bool WaitForLog(char const* text) {
        return WaitFor([&] { return Log().Contains(text) || !m_client.Running(); }, k_StartMs) && Log().Contains(text);
    }
    // What it has written of its own.
    String Written(char const* key) const {
        IniFile options;
        options.Load(File::GetUserDir() / "VorlanGui.ini", true);
        return options.GetValue("Configuration", key, "");
    }
    String Log() const { return TextOf(File::GetUserDir() / "History.log"); }

    // The programs of this test that run, by their numbers.
    std::map<pid_t, std::string> Programs() const { return HomeProcesses(m_home.Folder()); }
    bool Runs(char const* name) const {
        auto const programs = Programs();
        return std::any_of(programs.begin(), programs.end(), [&](auto const& one) { return one.second == name; });
    }
    void ExpectNobodyLeft() const { EXPECT_THAT(Programs(), testing::IsEmpty()); }
    // Runs the command line to its end, and gives what it printed.
    String CommandLine(std::vector<String> const& words) {
        CommandOutcome const outcome = RunCommand(Path(vorlan::k_BinDir) / "vorlan", words, 2 * k_StartMs);
        EXPECT_TRUE(outcome.Ok()) << outcome.output;
        return outcome.output.Trim();
    }
    // What the toolkit complains about is a fault of the client.
    void ExpectQuietToolkit() const { EXPECT_EQ(m_client.Output(), ""); }
    TempFolder m_home;
    HomeGuard m_guard{m_home.Folder()};
    EnvironmentValue m_variable;
    Program m_client{"VorlanGui", m_home.Folder()};
};

TEST_F(ProgramTest, ConnectsToItsOwnMasterAndLeavesNothingBehind) {
    ASSERT_NO_FATAL_FAILURE(StartAgain());
    ASSERT_TRUE(WaitForLog("Requesting all data from Master"));
    EXPECT_TRUE(WaitFor([&] { return Runs("VorlanEngine"); }, k_StartMs));
    EXPECT_TRUE(Runs("VorlanMaster"));
    End();
    size_t last = 0;
    for (char const* name : {"VorlanEngine", "VorlanMaster", "Brakka", "Merrow", "Panvale"}) {
        size_t const at = Log().Str().find(std::string("Hard coded default set to stop component: ") + name);
        ASSERT_NE(at, std::string::npos) << name;
        EXPECT_GT(at, last) << name << " is stopped out of turn";
        last = at;
    }
    ExpectNobodyLeft();
    ExpectQuietToolkit();
}

TEST_F(ProgramTest, AJobOutlivesAClientThatIsKilled) {
    ASSERT_NO_FATAL_FAILURE(StartAgain());
    ASSERT_TRUE(WaitForLog("Notified of new Engine"));
    String const job = CommandLine(
        {"submit", "--product", "Command", "--name", "long", "--set", "CommandLine=sleep 0.02", "--frames", "1-200"});
    ASSERT_TRUE(WaitForLog("Work '20' started"));
    m_client.KillAlone();
    EXPECT_TRUE(Runs("VorlanMaster") && Runs("VorlanEngine"));
    File::Delete(File::GetUserDir() / "History.log");
    ASSERT_NO_FATAL_FAILURE(m_client.Start());
    EXPECT_TRUE(WaitForLog("Requesting all data from Master"));
    CommandLine({"wait", job});
    EXPECT_THAT(CommandLine({"job", job}).Str(), testing::HasSubstr("200, 200 finished, 0 failed"));
    End();
    ExpectNobodyLeft();
}

TEST_F(ProgramTest, EndsAtOnceWhileItSearches) {
    ASSERT_NO_FATAL_FAILURE(StartAgain("StartMaster=0\nStartEngine=0\n"));
    ASSERT_TRUE(WaitForLog("Creating main window"));
    End();
    ExpectNobodyLeft();
    ExpectQuietToolkit();
}

TEST_F(ProgramTest, APipeEndsAClientInEngineMode) {
    ASSERT_NO_FATAL_FAILURE(StartAgain("InEngineMode=1\n"));
    ASSERT_TRUE(WaitForLog("Listening for shutdown requests on: VorlanGui-EngineMode"));
    ASSERT_TRUE(WaitForLog("The connection to the Master is switched off"));
    EXPECT_TRUE(WaitFor([&] { return Runs("VorlanEngine"); }, k_StartMs));
    ASSERT_TRUE(NamedPipeServerThread::Signal("VorlanGui-EngineMode"));
    EXPECT_EQ(m_client.Wait(), 0);
    EXPECT_TRUE(Log().Contains("Received shutdown request from Engine Mode shutdown pipe"));
    EXPECT_FALSE(NamedPipeServerThread::Signal("VorlanGui-EngineMode"));
    EXPECT_EQ(Written("InEngineMode"), "Yes") << "the next start is one in it again";
    ExpectNobodyLeft();
    ExpectQuietToolkit();
}

} // namespace vorlan::test_program
