#include "engine/runner/leftovers.h"
#include "engine/runner/localrunner.h"
#include "engine/runner/runnerprotocol.h"
#include "engine/runner/spawn.h"

#include <corekit/exception.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <random>
#include <signal.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace vorlan;
using namespace std::chrono_literals;

namespace {

String EngineProgram() { return String(VORLAN_BIN_DIR) + "/VorlanEngine"; }

bool Eventually(std::function<bool()> const& holds, std::chrono::milliseconds limit = 10s) {
    auto const until = std::chrono::steady_clock::now() + limit;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > until) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

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
    bool Ended(UID const& work) { return !Get(work).ends.empty(); }
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

bool NobodyCarries(String const& prefix) { return runner::MarkedProcesses(prefix).empty(); }

} // namespace

TEST(Runner, TellsOutputAndHowItEnded) {
    Recorder recorder;
    UID const machine(true);
    LocalRunner runner{Path(EngineProgram()), machine, recorder};

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
    for (Case const& one : cases) {
        runner.Start(one.spec);
    }
    for (Case const& one : cases) {
        ASSERT_TRUE(Eventually([&] { return recorder.Ended(one.spec.work); }));
        Recorder::Run const run = recorder.Get(one.spec.work);
        ASSERT_EQ(run.ends.size(), 1U);
        EXPECT_EQ(run.ends[0].kind, one.kind) << run.ends[0].error.c_str();
        EXPECT_EQ(run.ends[0].code, one.code);
        if (one.output) {
            EXPECT_EQ(run.output, one.output);
        } else {
            EXPECT_EQ(run.output.size(), 3000000U);
        }
        EXPECT_EQ(run.ends[0].error.Empty(), one.kind == RunEnd::Kind::Exited || one.kind == RunEnd::Kind::Signaled);
    }
}

TEST(Runner, AStopEndsTheWholeFamily) {
    Recorder recorder;
    UID const machine(true);
    LocalRunner runner{Path(EngineProgram()), machine, recorder};
    struct Case {
        char const* name;
        char const* script;
    };
    Case const cases[] = {
        {"gives way to the first signal", "echo ready; exec sleep 600"},
        {"ignores the first signal", "trap '' TERM; echo ready; while :; do sleep 600 & wait; done"},
        {"has a child that left the session", "setsid sh -c \"trap '' TERM; sleep 600\" & echo ready; wait"},
        {"has a grandchild whose parent is gone", "(setsid sleep 600 &) ; echo ready; sleep 600"},
    };
    for (Case const& one : cases) {
        SCOPED_TRACE(one.name);
        RunSpec const spec = Script(one.script);
        runner.Start(spec);
        ASSERT_TRUE(Eventually([&] { return recorder.Printed(spec.work, "ready"); }));
        runner.Stop(spec.work, 200);
        ASSERT_TRUE(Eventually([&] { return recorder.Ended(spec.work); }));
        EXPECT_TRUE(Eventually([&] { return NobodyCarries(runner::MarkOf(machine, spec.work)); }, 1s));
    }
}

TEST(Runner, AStoppedGroupHasItsGraceEachProcessOfIt) {
    Recorder recorder;
    UID const machine(true);
    LocalRunner runner{Path(EngineProgram()), machine, recorder};
    // The first process gives way at once, its child saves its work before it does.
    RunSpec const spec = Script("trap 'exit 7' TERM; sh -c 'trap \"sleep 0.3; echo saved; exit\" TERM; echo ready; "
                                "while :; do sleep 0.05; done' & while :; do wait; done");
    runner.Start(spec);
    ASSERT_TRUE(Eventually([&] { return recorder.Printed(spec.work, "ready"); }));
    runner.Stop(spec.work, 20000);
    ASSERT_TRUE(Eventually([&] { return recorder.Ended(spec.work); }));
    EXPECT_TRUE(recorder.Printed(spec.work, "saved"));
    EXPECT_EQ(recorder.Get(spec.work).ends[0].code, 7);
}

TEST(Runner, ProcessesWithoutAMarkEndWithTheLastUnit) {
    Recorder recorder;
    UID const machine(true);
    std::string const name = "/tmp/vorlan-unmarked-" + std::to_string(getpid());
    std::filesystem::copy_file("/bin/sleep", name, std::filesystem::copy_options::overwrite_existing);
    auto const alive = [&] {
        for (auto const& entry : std::filesystem::directory_iterator("/proc")) {
            std::error_code error;
            if (std::filesystem::read_symlink(entry.path() / "exe", error) == name)
                return true;
        }
        return false;
    };
    {
        LocalRunner runner{Path(EngineProgram()), machine, recorder};
        std::string const leave = "env -i setsid " + name + " 600 & ";
        RunSpec const first = Script(leave + "echo ready; sleep 600");
        runner.Start(first);
        ASSERT_TRUE(Eventually([&] { return recorder.Printed(first.work, "ready") && alive(); }));
        runner.Stop(first.work, 100);
        ASSERT_TRUE(Eventually([&] { return recorder.Ended(first.work); }));
        EXPECT_TRUE(Eventually([&] { return !alive(); }, 1s)) << "behind its unit";
        RunSpec const second = Script(leave + "echo ready; sleep 600");
        runner.Start(second);
        ASSERT_TRUE(Eventually([&] { return recorder.Printed(second.work, "ready") && alive(); }));
    }
    EXPECT_TRUE(Eventually([&] { return !alive(); }, 1s)) << "behind the helper";
    std::filesystem::remove(name);
}

TEST(Runner, WhatAUnitLeavesBehindEndsWithIt) {
    Recorder recorder;
    UID const machine(true);
    LocalRunner runner{Path(EngineProgram()), machine, recorder};
    RunSpec const other = Script("echo ready; sleep 600");
    runner.Start(other);
    RunSpec const spec = Script("sleep 600 & setsid sleep 600 & exit 0");
    runner.Start(spec);
    ASSERT_TRUE(Eventually([&] { return recorder.Ended(spec.work); }));
    EXPECT_TRUE(Eventually([&] { return NobodyCarries(runner::MarkOf(machine, spec.work)); }, 2s));
    EXPECT_FALSE(NobodyCarries(runner::MarkOf(machine, other.work)));
}

TEST(Runner, AHelperThatIsKilledIsReplacedAndItsUnitsAreReported) {
    Recorder recorder;
    UID const machine(true);
    LocalRunner runner{Path(EngineProgram()), machine, recorder};
    RunSpec const first = Script("echo ready; sleep 600");
    runner.Start(first);
    ASSERT_TRUE(Eventually([&] { return recorder.Printed(first.work, "ready"); }));
    int const helper = runner.HelperPid();
    ASSERT_GT(helper, 0);
    kill(helper, SIGKILL);
    ASSERT_TRUE(Eventually([&] { return recorder.Ended(first.work); }));
    EXPECT_EQ(recorder.Get(first.work).ends[0].kind, RunEnd::Kind::Lost);
    EXPECT_TRUE(NobodyCarries(runner::MarkPrefix(machine)));

    RunSpec const second = Script("echo again");
    runner.Start(second);
    ASSERT_TRUE(Eventually([&] { return recorder.Ended(second.work); }));
    EXPECT_EQ(recorder.Get(second.work).output, "again\n");
}

TEST(Runner, NothingOutlivesAnEngineThatIsKilled) {
    UID const machine(true);
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t const engine = fork();
    if (engine == 0) {
        Recorder recorder;
        LocalRunner runner{Path(EngineProgram()), machine, recorder};
        for (char const* script : {"echo ready; sleep 600", "trap '' TERM; echo ready; sleep 600",
                                   "setsid sh -c \"trap '' TERM; sleep 600\" & echo ready; sleep 600"}) {
            RunSpec const spec = Script(script);
            runner.Start(spec);
            Eventually([&] { return recorder.Printed(spec.work, "ready"); });
        }
        char const byte = 'r';
        [[maybe_unused]] auto const written = write(ready[1], &byte, 1);
        pause();
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_GE(runner::MarkedProcesses(runner::MarkPrefix(machine)).size(), 3U);
    kill(engine, SIGKILL);
    waitpid(engine, nullptr, 0);
    EXPECT_TRUE(Eventually([&] { return NobodyCarries(runner::MarkPrefix(machine)); }, 1s));
    close(ready[0]);
    close(ready[1]);
}

TEST(Runner, ManyShortUnitsEachEndOnce) {
    Recorder recorder;
    UID const machine(true);
    LocalRunner runner{Path(EngineProgram()), machine, recorder};
    std::vector<UID> works;
    for (int i = 0; i < 300; ++i) {
        RunSpec spec = Script("");
        spec.arguments = {"/bin/echo", String::From(static_cast<int64_t>(i))};
        works.push_back(spec.work);
        runner.Start(spec);
    }
    for (int i = 0; i < 300; ++i) {
        ASSERT_TRUE(Eventually([&] { return recorder.Ended(works[static_cast<size_t>(i)]); }));
        Recorder::Run const run = recorder.Get(works[static_cast<size_t>(i)]);
        EXPECT_EQ(run.ends.size(), 1U);
        EXPECT_EQ(run.output, std::to_string(i) + "\n");
    }
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
        for (int changes = 0; changes < 4; ++changes) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        size_t at = 0;
        try {
            runner::TakeFrame(damaged, at);
        } catch (corekit::ParseException const&) {
        }
        EXPECT_LE(at, damaged.size());
    }
}
