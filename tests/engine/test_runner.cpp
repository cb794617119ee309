#include "corekit/runtimetools.h"
#include "engine/runner/leftovers.h"
#include "engine/runner/localrunner.h"
#include "engine/runner/runnerprotocol.h"

#include <sys/mount.h>
#include <sys/resource.h>

namespace vorlan::test_runner {

String EngineProgram() { return String(vorlan::k_BinDir) + "/VorlanEngine"; }

class Recorder : public Runner::Listener {
public:
    struct Run {
        int pid = 0;
        std::string output;
        std::vector<RunEnd> ends;
    };

    void OnRunStarted(UID const& work, int pid) override {
        std::lock_guard const lock(m_guard);
        m_runs[work].pid = pid;
    }
    void OnRunOutput(UID const& work, std::string_view bytes) override {
        std::lock_guard const lock(m_guard);
        EXPECT_TRUE(m_runs[work].ends.empty()) << "output after the end";
        m_runs[work].output.append(bytes);
    }
    void OnRunEnded(UID const& work, RunEnd const& end) override {
        std::lock_guard const lock(m_guard);
        m_runs[work].ends.push_back(end);
    }

    Run Get(UID const& work) {
        std::lock_guard const lock(m_guard);
        return m_runs[work];
    }
    bool Printed(UID const& work, char const* text) { return Get(work).output.find(text) != std::string::npos; }

private:
    std::mutex m_guard;
    std::map<UID, Run> m_runs;
};

RunSpec Script(std::string const& script) {
    RunSpec spec;
    spec.work = UID(true);
    spec.arguments = {"sh", "-c", String(script)};
    spec.environment = {{"PATH", "/usr/bin:/bin"}, {"MESSAGE", "hello"}};
    return spec;
}

// A folder in which everything hangs, as on a share whose server is gone.
class HungFolder {
public:
    HungFolder() : m_fuse(open("/dev/fuse", O_RDWR | O_CLOEXEC)) {
        String const options = SFormat("fd=%d,rootmode=40000,user_id=0,group_id=0", m_fuse.Get());
        isThere = m_fuse && mount("hung", folder.Folder().c_str(), "fuse", 0, options.c_str()) == 0;
    }
    ~HungFolder() { umount2(folder.Folder().c_str(), MNT_DETACH); }

    TempFolder folder;
    bool isThere = false;

private:
    UniqueFd m_fuse;
};

// Copied by the unit: a helper that started while this program writes the file would keep
// it open, and nobody could start it.
std::string UnmarkedSleep(Path const& name) {
    return "cp /bin/sleep " + name.Str() + "; env -i setsid " + name.Str() + " 600 & echo ready; sleep 600";
}

bool Runs(Path const& program) {
    for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path() / "exe", error) == program.Native())
            return true;
    }
    return false;
}

rlimit Descriptors() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    return limit;
}

bool NobodyCarries(String const& prefix) { return runner::MarkedProcesses(prefix).empty(); }

class RunnerTest : public testing::Test {
protected:
    RunSpec Run(std::string const& script) {
        RunSpec const spec = Script(script);
        runner->Start(spec);
        return spec;
    }
    // One that says when it is so far.
    RunSpec RunToReady(std::string const& script) {
        RunSpec const spec = Run(script);
        EXPECT_TRUE(WaitFor([&] { return recorder.Printed(spec.work, "ready"); })) << script;
        return spec;
    }
    Recorder::Run End(UID const& work) {
        EXPECT_TRUE(WaitFor([&] { return !recorder.Get(work).ends.empty(); }));
        Recorder::Run const run = recorder.Get(work);
        EXPECT_EQ(run.ends.size(), 1U);
        return run.ends.empty() ? Recorder::Run{0, "", {RunEnd()}} : run;
    }

    Recorder recorder;
    UID const machine{true};
    std::unique_ptr<LocalRunner> runner = std::make_unique<LocalRunner>(Path(EngineProgram()), machine, recorder);
};

TEST_F(RunnerTest, TellsOutputAndHowItEnded) {

    struct Case {
        RunSpec spec;
        RunEnd::Kind kind;
        int code;
        char const* output;
    };
    RunSpec missing = Script("");
    missing.arguments = {"no-such-renderer", "x"};
    RunSpec badFolder = Script("pwd");
    badFolder.folder = Path("/no/such/folder");
    RunSpec inFolder = Script("pwd");
    inFolder.folder = Path("/usr/lib");
    Case const cases[] = {
        {Script("echo out; echo err >&2; echo $MESSAGE"), RunEnd::Kind::Exited, 0, "out\nerr\nhello\n"},
        {Script("exit 3"), RunEnd::Kind::Exited, 3, ""},
        {Script("kill -9 $$"), RunEnd::Kind::Signaled, SIGKILL, ""},
        {inFolder, RunEnd::Kind::Exited, 0, "/usr/lib\n"},
        {missing, RunEnd::Kind::NotFound, 0, ""},
        {badFolder, RunEnd::Kind::NotStarted, 0, ""},
        {Script("head -c 3000000 /dev/zero | tr '\\0' 'x'"), RunEnd::Kind::Exited, 0, nullptr},
    };
    for (Case const& one : cases)
        runner->Start(one.spec);
    for (Case const& one : cases) {
        Recorder::Run const run = End(one.spec.work);
        EXPECT_EQ(run.ends[0].kind, one.kind) << run.ends[0].error;
        EXPECT_EQ(run.ends[0].code, one.code);
        EXPECT_EQ(run.output, one.output ? one.output : std::string(3'000'000, 'x'));
        EXPECT_EQ(run.ends[0].error.Empty(), one.kind == RunEnd::Kind::Exited || one.kind == RunEnd::Kind::Signaled);
    }
}

TEST_F(RunnerTest, AStopEndsTheWholeFamily) {
    for (char const* const script : {
             "echo ready; exec sleep 600",
             "trap '' TERM; echo ready; while :; do sleep 600 & wait; done",
             "setsid sh -c \"trap '' TERM; sleep 600\" & echo ready; wait",
             "(setsid sleep 600 &) ; echo ready; sleep 600",
         }) {
        SCOPED_TRACE(script);
        RunSpec const spec = RunToReady(script);
        runner->Stop(spec.work, 200);
        End(spec.work);
        EXPECT_TRUE(WaitFor([&] { return NobodyCarries(runner::MarkOf(machine, spec.work)); }, 1000));
    }
}

TEST_F(RunnerTest, AStoppedGroupHasItsGraceEachProcessOfIt) {
    // The first process gives way at once, its child saves its work before it does.
    RunSpec const spec = RunToReady("trap 'exit 7' TERM; "
                                    "sh -c 'trap \"sleep 0.3; echo saved; exit\" TERM; echo ready; "
                                    "while :; do sleep 0.05; done' & while :; do wait; done");
    runner->Stop(spec.work, 20000);
    EXPECT_EQ(End(spec.work).ends[0].code, 7);
    EXPECT_TRUE(recorder.Printed(spec.work, "saved"));
}

TEST_F(RunnerTest, ProcessesWithoutAMarkEndWithTheLastUnit) {
    TempFolder const folder;
    Path const name = folder / "unmarked";
    auto const alive = [&] { return Runs(name); };
    std::string const script = UnmarkedSleep(name);
    RunSpec const first = RunToReady(script);
    EXPECT_TRUE(WaitFor(alive));
    runner->Stop(first.work, 100);
    End(first.work);
    EXPECT_TRUE(WaitFor([&] { return !alive(); }, 1000)) << "behind its unit";
    RunToReady(script);
    EXPECT_TRUE(WaitFor(alive));
    runner.reset();
    EXPECT_TRUE(WaitFor([&] { return !alive(); }, 1000)) << "behind the helper";
}

TEST_F(RunnerTest, WhatAUnitLeavesBehindEndsWithIt) {
    RunSpec const other = RunToReady("echo ready; sleep 600");
    RunSpec const spec = Run("sleep 600 & setsid sleep 600 & exit 0");
    End(spec.work);
    EXPECT_TRUE(WaitFor([&] { return NobodyCarries(runner::MarkOf(machine, spec.work)); }, 2000));
    EXPECT_FALSE(NobodyCarries(runner::MarkOf(machine, other.work)));
}

TEST_F(RunnerTest, AHelperThatIsKilledIsReplacedAndItsUnitsAreReported) {
    TempFolder const folder;
    Path const name = folder / "unmarked";
    RunSpec const first = RunToReady(UnmarkedSleep(name));
    EXPECT_TRUE(WaitFor([&] { return Runs(name); }));
    ASSERT_GT(runner->HelperPid(), 0);
    kill(runner->HelperPid(), SIGKILL);
    EXPECT_EQ(End(first.work).ends[0].kind, RunEnd::Kind::Lost);
    EXPECT_TRUE(NobodyCarries(runner::MarkPrefix(machine)) && !Runs(name)) << "before it is told";
    EXPECT_EQ(End(Run("echo again").work).output, "again\n");
}

TEST_F(RunnerTest, AUnitThatIsTooLongLeavesTheOthersAlone) {
    RunSpec const other = RunToReady("echo ready; sleep 600");
    RunSpec big = Script("");
    big.arguments.resize(60, String(100'000, 'x'));
    runner->Start(big);
    EXPECT_TRUE(End(big.work).ends[0].error.Contains("at most 4194304 can be passed"));
    runner->Stop(other.work, 100);
    EXPECT_EQ(End(other.work).ends[0].kind, RunEnd::Kind::Signaled);
}

TEST_F(RunnerTest, AUnitGetsNoDescriptorOfOurs) {
    runner.reset();
    UniqueFd const ours(open("/dev/null", O_WRONLY)); // as a library opens it
    runner = std::make_unique<LocalRunner>(Path(EngineProgram()), machine, recorder);
    EXPECT_EQ(End(Run("ls /proc/self/fd").work).output, "0\n1\n2\n3\n") << "the last one is that of ls";
}

TEST_F(RunnerTest, AProgramWithoutADescriptorLeftRunsUnitsAllTheSame) {
    End(Run("true").work);
    rlimit const before = Descriptors();
    rlimit const few{256, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    std::vector<UniqueFd> strangers;
    for (int one = 0; (one = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
        strangers.emplace_back(one);
    RunSpec const spec = Run("echo ran");
    EXPECT_EQ(End(spec.work).output, "ran\n");
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(RunnerTest, WorkIsRootOnlyWhereThatIsSaid) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to be root";
    Rows<char const*, bool, char const*> const cases = {
        {"root", true, "root\n"}, {"root", false, "has all rights"}, {"nobody", false, "nobody\n"}};
    for (auto const& [user, mayBeRoot, expected] : cases) {
        RunSpec spec = Script("id -un");
        spec.user = user;
        spec.mayBeRoot = mayBeRoot;
        runner->Start(spec);
        Recorder::Run const run = End(spec.work);
        EXPECT_TRUE(String(run.output + run.ends[0].error.Str()).Contains(expected)) << run.ends[0].error;
    }
}

TEST_F(RunnerTest, AShareThatHangsHoldsNothingElseUp) {
    HungFolder const hung;
    if (!hung.isThere)
        GTEST_SKIP() << "a file system cannot be mounted here";
    std::vector<RunSpec> stuck;
    for (int i = 0; i < 8; ++i) {
        RunSpec spec = Script("true");
        if (i % 2 == 0)
            spec.folder = hung.folder.Folder();
        else
            spec.arguments[0] = (hung.folder / "renderer").Text();
        runner->Start(spec);
        stuck.push_back(spec);
    }
    EXPECT_EQ(End(Run("echo fine").work).output, "fine\n");
    for (size_t i = 0; i < 4; ++i)
        runner->Stop(stuck[i].work, 10);
    for (size_t i = 0; i < 4; ++i)
        EXPECT_NE(End(stuck[i].work).ends[0].kind, RunEnd::Kind::Exited);
    RunSpec const last = RunToReady("trap '' TERM; echo ready; sleep 600");
    auto const start = std::chrono::steady_clock::now();
    runner.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_TRUE(NobodyCarries(runner::MarkOf(machine, last.work)));
}

TEST_F(RunnerTest, ManyShortUnitsEachEndOnce) {
    std::vector<UID> works;
    for (int i = 0; i < 300; ++i)
        works.push_back(Run("echo " + std::to_string(i)).work);
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(End(works[static_cast<size_t>(i)]).output, std::to_string(i) + "\n");
}

TEST(RunnerProtocol, FramesSurviveAnyCutAndRubbishIsRefused) {
    runner::Frame frame;
    frame.kind = runner::FrameKind::Start;
    frame.work = UID(true);
    frame.spec = Script("echo \"a\nb\"");
    frame.spec.work = frame.work;
    std::string bytes;
    runner::AppendFrame(frame, bytes);
    for (size_t length = 0; length < bytes.size(); ++length) {
        size_t from = 0;
        EXPECT_FALSE(runner::TakeFrame(std::string_view(bytes).substr(0, length), from));
        EXPECT_EQ(from, 0U);
    }
    size_t from = 0;
    auto const read = runner::TakeFrame(bytes, from);
    ASSERT_TRUE(read);
    EXPECT_EQ(from, bytes.size());
    EXPECT_EQ(read->spec.arguments, frame.spec.arguments);
    EXPECT_EQ(read->spec.environment, frame.spec.environment);

    std::mt19937 random(11);
    for (int round = 0; round < 2000; ++round) {
        std::string damaged = bytes;
        for (int changes = 0; changes < 4; ++changes)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        size_t at = 0;
        try {
            runner::TakeFrame(damaged, at);
        } catch (ParseException const&) {
        }
        EXPECT_LE(at, damaged.size());
    }
}

} // namespace vorlan::test_runner
