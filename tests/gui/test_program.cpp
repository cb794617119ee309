// The real program: its start, its end, and what it leaves behind.
#include "corekit/homeprocesses.h"

#include <corekit/inifile.h>
#include <corekit/namedpipe.h>
#include <vorlan/version.h>

namespace vorlan::test_program {

using namespace corekit;

constexpr int k_StartMs = 40'000;
constexpr int k_EndMs = 15'000;

bool WaitUntil(std::function<bool()> const& condition, int timeoutMs) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

class ProgramTest : public testing::Test {
protected:
    ProgramTest() : m_variable("VORLAN_HOME", m_home.Folder().c_str()) {}
    ~ProgramTest() override {
        if (HasFailure())
            std::cerr << "The log of the client:\n" << Log() << "\nIts output:\n" << Output() << std::endl;
        m_client.reset();
        EXPECT_TRUE(m_guard.End()) << "programs of the test are still there";
    }

    // Starts the client with the options of a former run.
    void StartAgain(char const* options = "") {
        File::WriteWhole(File::GetUserDir() / "VorlanGui.ini",
                         "[Configuration]\nVersion=" + String::From(k_VorlanVersion) + "\n" + options);
        Start();
    }
    // `prefix`: another program that starts the client, with its arguments.
    void Start(std::vector<String> const& prefix = {}) {
        UniqueFd const output(
            ::open((m_home / "output").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR));
        ProcessOptions options;
        options.stdoutFd = output.Get();
        options.stderrFd = output.Get();
        Path program = Path(vorlan::k_BinDir) / "VorlanGui";
        if (!prefix.empty()) {
            options.args = {prefix.begin() + 1, prefix.end()};
            options.args.push_back(program);
            program = prefix.front();
        }
        String error;
        m_client = Process::Start(program, options, &error);
        ASSERT_TRUE(m_client) << error;
    }
    void End() {
        ::kill(m_client->Pid(), SIGTERM);
        EXPECT_EQ(m_client->Wait(k_EndMs), 0);
    }
    bool WaitForLog(char const* text) {
        return WaitUntil([&] { return Log().Contains(text) || !m_client->Running(); }, k_StartMs) &&
               Log().Contains(text);
    }
    // What it has written of its own.
    String Written(char const* key) const {
        IniFile options;
        options.Load(File::GetUserDir() / "VorlanGui.ini", true);
        return options.GetValue("Configuration", key, "");
    }
    String Log() const { return ReadIfThere(File::GetUserDir() / "History.log"); }
    String Output() const { return ReadIfThere(m_home / "output"); }

    // The programs of this test that run, by their numbers.
    std::map<pid_t, std::string> Programs() const { return HomeProcesses(m_home.Folder()); }
    bool Runs(char const* name) const {
        auto const programs = Programs();
        return std::any_of(programs.begin(), programs.end(), [&](auto const& one) { return one.second == name; });
    }
    void ExpectNobodyLeft() const {
        for (auto const& [pid, name] : Programs())
            ADD_FAILURE() << name << " (" << pid << ") is still there";
    }
    // Runs the command line to its end. Its exit code; what it printed goes to `output`.
    int CommandLine(std::vector<String> const& words, String* output = nullptr) {
        UniqueFd const file(
            ::open((m_home / "answer").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR));
        ProcessOptions options;
        options.args = words;
        options.stdoutFd = file.Get();
        auto const process = Process::Start(Path(vorlan::k_BinDir) / "vorlan", options);
        int const code = process ? process->Wait(2 * k_StartMs).value_or(-1) : -1;
        if (output)
            *output = ReadIfThere(m_home / "answer").Trim();
        return code;
    }
    // What the toolkit complains about is a fault of the client.
    void ExpectQuietToolkit() const { EXPECT_EQ(Output(), ""); }

    TempFolder m_home;
    HomeGuard m_guard{m_home.Folder()};
    EnvironmentValue m_variable;
    std::unique_ptr<Process> m_client;

private:
    static String ReadIfThere(Path const& path) { return path.Exists() ? File::Read(path) : String(); }
};

TEST_F(ProgramTest, ConnectsToItsOwnMasterAndLeavesNothingBehind) {
    ASSERT_NO_FATAL_FAILURE(StartAgain());
    ASSERT_TRUE(WaitForLog("Requesting all data from Master"));
    EXPECT_TRUE(WaitUntil([&] { return Runs("VorlanEngine"); }, k_StartMs));
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
    String job;
    ASSERT_EQ(CommandLine({"submit", "--product", "Command", "--name", "long", "--set", "CommandLine=sleep 0.02",
                           "--frames", "1-200"},
                          &job),
              0);
    ASSERT_TRUE(WaitForLog("Work '20' started"));
    ::kill(m_client->Pid(), SIGKILL);
    m_client->Wait(k_EndMs);
    EXPECT_TRUE(Runs("VorlanMaster") && Runs("VorlanEngine"));
    File::Delete(File::GetUserDir() / "History.log");
    ASSERT_NO_FATAL_FAILURE(Start());
    EXPECT_TRUE(WaitForLog("Requesting all data from Master"));
    EXPECT_EQ(CommandLine({"wait", job}), 0);
    String report;
    EXPECT_EQ(CommandLine({"job", job}, &report), 0);
    EXPECT_TRUE(report.Contains("200, 200 finished, 0 failed")) << report;
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
    EXPECT_TRUE(WaitUntil([&] { return Runs("VorlanEngine"); }, k_StartMs));
    ASSERT_TRUE(NamedPipeServerThread::Signal("VorlanGui-EngineMode"));
    EXPECT_EQ(m_client->Wait(k_EndMs), 0);
    EXPECT_TRUE(Log().Contains("Received shutdown request from Engine Mode shutdown pipe"));
    EXPECT_FALSE(NamedPipeServerThread::Signal("VorlanGui-EngineMode"));
    EXPECT_EQ(Written("InEngineMode"), "Yes") << "the next start is one in it again";
    ExpectNobodyLeft();
    ExpectQuietToolkit();
}

TEST_F(ProgramTest, FirstRunOnARenderNodeIsEngineMode) {
    // A machine of another name, for this process alone.
    std::vector<String> const renamed{"unshare", "--uts", "sh", "-c",
                                      "echo RENDER07 >/proc/sys/kernel/hostname && exec \"$0\" \"$@\""};
    ProcessOptions probe;
    probe.args = {renamed.begin() + 1, renamed.end()};
    probe.args.push_back("true");
    probe.stderrFd = ProcessOptions::k_Null;
    auto const allowed = Process::Start(renamed.front(), probe);
    if (!allowed || allowed->Wait(10'000) != 0)
        GTEST_SKIP() << "this user may not give a process another machine name";

    ASSERT_NO_FATAL_FAILURE(Start(renamed));
    ASSERT_TRUE(WaitForLog("Listening for shutdown requests on: VorlanGui-EngineMode"));
    EXPECT_TRUE(Log().Contains("Entering Engine Mode..."));
    ASSERT_TRUE(WaitForLog("The connection to the Master is switched off"));
    EXPECT_TRUE(WaitUntil([&] { return Runs("VorlanEngine"); }, k_StartMs));
    EXPECT_FALSE(Runs("VorlanMaster"));
    EXPECT_EQ(Written("InEngineMode"), "Yes");
    EXPECT_EQ(Written("Version"), String::From(k_VorlanVersion));

    End();
    EXPECT_FALSE(Log().Contains("Looking for the Master"));
    ExpectNobodyLeft();
    ExpectQuietToolkit();
}

} // namespace vorlan::test_program
