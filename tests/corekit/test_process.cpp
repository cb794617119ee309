#include "runtimetools.h"

namespace corekit::test::test_process {

ProcessOptions Shell(char const* script) {
    ProcessOptions options;
    options.args = {"-c", script};
    return options;
}

// A shell whose output the test reads.
class TalkingShell {
public:
    explicit TalkingShell(ProcessOptions options) {
        options.stdoutFd = m_pipe.write.Get();
        process = Process::Start("/bin/sh", options);
        EXPECT_NE(process, nullptr);
        m_pipe.write.Reset();
    }
    std::string Line() {
        std::string line;
        char c = 0;
        while (::read(m_pipe.read.Get(), &c, 1) == 1 && c != '\n')
            line += c;
        return line;
    }
    std::unique_ptr<Process> process;

private:
    Pipe m_pipe;
};

TEST(Process, ReportsHowItEnded) {
    std::pair<char const*, int> const ends[] = {{"exit 0", 0}, {"exit 7", 7}, {"kill -KILL $$", -SIGKILL}};
    for (auto const& [script, code] : ends) {
        auto process = Process::Start("sh", Shell(script));
        ASSERT_NE(process, nullptr);
        EXPECT_EQ(process->Wait(), code) << script;
        EXPECT_FALSE(process->Running());
        EXPECT_EQ(process->Wait(0), code) << "asked again";
    }
}

TEST(Process, SaysWhatIsWrongWhenItCannotStart) {
    TempFolder folder;
    File::WriteWhole(folder / "notes.txt", "hello", 0644);
    File::WriteWhole(folder / "noprogram", std::string_view("\x7f\x45LF\0\0\0\0", 8), 0755);
    for (auto const& [program, place, message] : Rows<Path, Path, char const*>{
             {"no-such-renderer-here", {}, "not in the search path"},
             {"/no/such/renderer", {}, "there is no such file"},
             {"", {}, "without a name"},
             {folder / "notes.txt", {}, "right to be executed"},
             {folder / "noprogram", {}, "not a program for this machine"},
             {"/bin/sh", folder / "missing", "there is no folder"},
         }) {
        ProcessOptions options;
        options.folder = place;
        String error;
        EXPECT_EQ(Process::Start(program, options, &error), nullptr) << message;
        EXPECT_TRUE(error.Contains(message)) << error;
    }
}

TEST(Process, GetsItsEnvironmentFolderAndStandardFilesAndNothingElse) {
    TempFolder folder;
    EnvironmentValue inherited("COREKIT_INHERITED", "in");
    EnvironmentValue dropped("COREKIT_DROPPED", "out");
    UniqueFd leak(::open("/dev/null", O_RDONLY)); // on purpose without O_CLOEXEC
    ProcessOptions options = Shell(
        "echo $COREKIT_INHERITED,$COREKIT_DROPPED,$COREKIT_OWN; pwd; ls /proc/self/fd | wc -l; wc -c; echo end >&2");
    options.env["COREKIT_OWN"] = "own value";
    options.unsetEnv = {"COREKIT_DROPPED"};
    options.folder = folder.Folder();
    options.stderrFd = ProcessOptions::k_Null;
    TalkingShell shell(options);
    EXPECT_EQ(shell.Line(), "in,,own value");
    EXPECT_EQ(shell.Line(), std::filesystem::canonical(folder.Folder().Native()).string());
    EXPECT_EQ(std::stoi(shell.Line()), 4) << "three, and ls's own";
    EXPECT_EQ(std::stoi(shell.Line()), 0) << "nothing to read";
    EXPECT_EQ(shell.process->Wait(), 0);
    options.inheritEnv = false;
    TalkingShell bare(options);
    EXPECT_EQ(bare.Line(), ",,own value");
}

TEST(Process, ExchangedStandardFilesDoNotOverwriteEachOther) {
    // The child's output goes to what is descriptor 0 here while its own
    // descriptor 0 comes from elsewhere.
    TempFolder folder;
    File::WriteWhole(folder / "input", "from the input\n");
    UniqueFd in(::open((folder / "input").c_str(), O_RDONLY | O_CLOEXEC));
    UniqueFd out(::open((folder / "output").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    UniqueFd saved(::fcntl(0, F_DUPFD_CLOEXEC, 10));
    ::dup2(out.Get(), 0);
    ProcessOptions options = Shell("cat");
    options.stdinFd = in.Get();
    options.stdoutFd = 0;
    auto process = Process::Start("sh", options);
    if (saved)
        ::dup2(saved.Get(), 0);
    else
        ::close(0);
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(process->Wait(), 0);
    EXPECT_EQ(File::Read(folder / "output"), "from the input\n");
}

TEST(Process, StartsWithAllSignalsAtTheirDefault) {
    sigset_t blocked, old;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &old);
    auto before = ::signal(SIGPIPE, SIG_IGN);
    auto term = Process::Start("sh", Shell("kill -TERM $$; exit 3"));
    auto pipe = Process::Start("sh", Shell("kill -PIPE $$; exit 3"));
    ::signal(SIGPIPE, before);
    ::pthread_sigmask(SIG_SETMASK, &old, nullptr);
    EXPECT_EQ(term->Wait(), -SIGTERM);
    EXPECT_EQ(pipe->Wait(), -SIGPIPE);
}

TEST(Process, TerminateEndsTheWholeGroup) {
    // script: prints the grandchild's number
    Rows<char const*, char const*, ProcessGroup, int> const cases = {
        {"obedient", "sleep 1000 & echo $!; wait", ProcessGroup::Own, 10000},
        {"leader gone first", "sleep 1000 & echo $!; exit 0", ProcessGroup::Own, 10000},
        {"ignores the request", "trap '' TERM; sleep 1000 & echo $!; wait; wait", ProcessGroup::Own, 50},
        {"group of its own within the session", "set -m; sleep 1000 & echo $!; wait", ProcessGroup::Session, 10000},
    };
    for (auto const& [what, script, group, graceMs] : cases) {
        SCOPED_TRACE(what);
        ProcessOptions options = Shell(script);
        options.group = group;
        options.stderrFd = ProcessOptions::k_Null;
        TalkingShell shell(options);
        long grandchild = std::stol(shell.Line());
        ASSERT_TRUE(IsAlive(grandchild));
        shell.process->Terminate(graceMs);
        EXPECT_FALSE(IsAlive(grandchild));
        EXPECT_TRUE(shell.process->Wait(0).has_value());
    }
    // Who tidies up within the grace has the time to.
    TalkingShell shell(Shell("trap 'echo tidy; exit 4' TERM; echo ready; while :; do sleep 0.01; done"));
    EXPECT_EQ(shell.Line(), "ready");
    shell.process->Terminate(20000);
    EXPECT_EQ(shell.Line(), "tidy");
    EXPECT_EQ(shell.process->Wait(0), 4);
}

TEST(Process, WaitsNoLongerThanAskedAndLeavesOtherChildrenAlone) {
    pid_t own = Fork([] { return 9; });
    auto sleeper = Process::Start("sh", Shell("exec sleep 1000"));
    ASSERT_NE(sleeper, nullptr);
    EXPECT_EQ(sleeper->Wait(20), std::nullopt);
    EXPECT_TRUE(sleeper->Running());
    long pid = sleeper->Pid();
    sleeper.reset();
    EXPECT_EQ(TaskState(pid, pid), 0) << "killed and waited for";
    EXPECT_EQ(EndOf(own), 9) << "nobody else has waited for it";
}

TEST(Process, ADetachedChildLivesOnAndLeavesNoZombie) {
    ProcessOptions options = Shell("exec sleep 1000");
    options.group = ProcessGroup::Session;
    auto process = Process::Start("sh", options);
    ASSERT_NE(process, nullptr);
    pid_t pid = process->Pid();
    process->Detach();
    process.reset();
    EXPECT_TRUE(IsAlive(pid));
    ::kill(pid, SIGKILL);
    EXPECT_TRUE(WaitFor([&] { return TaskState(pid, pid) == 0; }));
}

} // namespace corekit::test::test_process
