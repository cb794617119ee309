#include "enginefakes.h"

#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/productfile.h>
#include <vorlan/status.h>

#include <gtest/gtest.h>

#include <optional>

using namespace vorlan;

namespace {

UID const k_Type = UID::FromName("test product");

// A desk whose processes, disk work, clock and Master the test plays itself.
class Desk {
public:
    Desk() {
        auto const product = boost::make_shared<Product>("Sample", k_Type);
        LaunchTemplate launch;
        launch.arguments = {{ArgumentTemplate::Kind::CommandLine, "CommandLine", {}}};
        launch.folder = "$(Folder)";
        launch.createFolder = true;
        launch.expectedFiles = {"$(OutputFile)"};
        product->SetLaunch(launch);
        OutputRules rules;
        rules.rules = {{OutputRule::Kind::Percent, R"((\d+)%)"},
                       {OutputRule::Kind::Warning, "^Warning: .*"},
                       {OutputRule::Kind::Error, "^Error: .*"}};
        product->SetOutputRules(rules);
        JobFactory::s_JobFactory->SetProduct(product);
        Start();
    }
    ~Desk() { JobFactory::s_JobFactory->RemoveProduct(UID::Null); }

    // The Engine starts, again if it ran: without an end of the one before, as after a kill.
    void Start() {
        if (desk)
            desk->EndTurn();
        output.emplace(temp / "output");
        DeskSetup setup;
        setup.engine = engine;
        setup.host = "render07";
        setup.folder = temp.Folder();
        setup.environment = {{"PATH", "/bin"}};
        setup.clock = &clock;
        setup.runner = &runner;
        setup.output = &*output;
        setup.aside = [this](std::function<void()> task) { aside.push_back(std::move(task)); };
        setup.post = [this](std::function<void()> task) { posted.push_back(std::move(task)); };
        setup.describe = [this] { return Engine(engine); };
        desk = std::make_unique<WorkDesk>(std::move(setup));
    }

    boost::shared_ptr<FakeSink> Connect() {
        auto sink = boost::make_shared<FakeSink>();
        desk->SetMaster(sink);
        desk->EndTurn();
        return sink;
    }

    boost::shared_ptr<Job> Give(OptionMap const& values = {}, OptionMap const& options = {}) {
        auto work = boost::make_shared<Job>(UID(true));
        work->parentID = job;
        work->SetValues({{p_Type, k_Type.ToString()}, {p_SubRange, "1-4"}, {"CommandLine", "render $(SubRange)"}});
        work->SetValues(values);
        Order(work, options);
        return work;
    }
    void Order(boost::shared_ptr<Job> const& work, OptionMap const& options = {}) {
        RunWorkMsg message;
        message.work = boost::make_shared<Job>(*work);
        message.engineOptions = options;
        desk->OnRunWork(message);
        desk->EndTurn();
    }
    void Stop(UID const& work, int status, String const& reason) {
        EndWorkMsg message;
        message.work = work;
        message.status = status;
        message.reason = reason;
        desk->OnEndWork(message);
        desk->EndTurn();
    }
    void Acknowledge(UID const& work) {
        WorkEndedAckMsg message;
        message.work = work;
        desk->OnAcknowledged(message);
        desk->EndTurn();
    }
    void Begin(UID const& work) {
        desk->OnRunStarted(work, 1);
        desk->EndTurn();
    }
    void Print(UID const& work, std::string_view bytes) {
        desk->OnRunOutput(work, bytes);
        desk->EndTurn();
    }
    void End(UID const& work, int code) {
        desk->OnRunEnded(work, {RunEnd::Kind::Exited, code, {}});
        desk->EndTurn();
    }
    // The other thread does its work.
    void RunAside() {
        for (auto* const queue : {&aside, &posted}) {
            auto const tasks = std::move(*queue);
            queue->clear();
            for (auto const& task : tasks)
                task();
        }
        desk->EndTurn();
    }
    void Settings(char const* event, String const& command) {
        EngineSettingsMsg message;
        message.engine.SetEventCommand(event, command);
        desk->OnSettings(message);
    }
    // What the n-th process is: its command line, or the script for a shell.
    String Process(size_t index) const {
        if (index >= runner.started.size())
            return "none";
        auto const& arguments = runner.started[index].arguments;
        return arguments[0] == "/bin/sh" ? arguments[2] : arguments[0] + " " + arguments.back();
    }

    TempFolder temp;
    UID const engine = UID(true);
    UID job = UID(true);
    FakeClock clock;
    FakeRunner runner;
    std::optional<OutputFolder> output;
    std::vector<std::function<void()>> aside;
    std::vector<std::function<void()>> posted;
    std::unique_ptr<WorkDesk> desk;
};

WorkEnded OnlyResult(FakeSink const& master) {
    auto const results = master.Of<WorkEndedMsg>();
    EXPECT_EQ(results.size(), 1U);
    return results.empty() ? WorkEnded() : results.front().ended;
}

} // namespace

TEST(WorkDesk, RunsAUnitFromTheOrderToTheReport) {
    Desk desk;
    auto const master = desk.Connect();
    auto const work = desk.Give();
    ASSERT_EQ(desk.runner.started.size(), 1U);
    RunSpec const& spec = desk.runner.started[0];
    EXPECT_EQ(spec.work, work->id);
    EXPECT_EQ(spec.arguments, (corekit::vector<String>{"render", "1-4"}));
    EXPECT_TRUE(spec.folder.IsFolder()) << "a folder of the Engine";
    EXPECT_TRUE(master->Of<WorkBegunMsg>().empty());

    desk.Begin(work->id);
    ASSERT_EQ(master->Of<WorkBegunMsg>().size(), 1U);
    desk.Print(work->id, "rendering\n");
    desk.clock.ms += 90'000;
    desk.End(work->id, 0);
    WorkEnded const ended = OnlyResult(*master);
    EXPECT_EQ(ended.work, work->id);
    EXPECT_EQ(ended.job, desk.job);
    EXPECT_EQ(ended.status, Finished);
    EXPECT_EQ(ended.note, "");
    EXPECT_EQ(ended.time, desk.clock.Now());
    EXPECT_EQ(desk.desk->UnitCount(), 0U);

    auto const lines = master->Of<EngineHistoryElementMsg>();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].element.message.StartsWith("Started work 1-4 of Job Sample"));
    EXPECT_TRUE(lines[1].element.message.Contains("1 minute 30 seconds"));
    String const log = File::Read(desk.output->PathOf(work->id));
    EXPECT_TRUE(log.Contains("[render 1-4]\n") && log.Contains("\nrendering\n") && log.EndsWith("[Finished]\n")) << log;
}

TEST(WorkDesk, AUnitThatCannotRunEndsAtOnceWithAReason) {
    struct Case {
        char const* name;
        OptionMap values;
        OptionMap options;
        char const* note;
    };
    Case const cases[] = {
        {"unknown Product", {{p_Type, UID(true).ToString()}}, {}, "render07 does not know the Product"},
        {"no command", {{"CommandLine", " "}}, {}, "names no program to run"},
        {"missing share of the Job", {{p_Resources, "/no/such/share = //server/x"}}, {}, "/no/such/share"},
        {"missing share of the Engine", {{p_Resources, "/tmp = x"}}, {{p_Resources, "/no/such/y"}}, "/no/such/y"},
        {"a folder that cannot be made", {{"Folder", "/proc/no/such"}}, {}, "/proc/no"},
    };
    for (Case const& one : cases) {
        SCOPED_TRACE(one.name);
        Desk desk;
        auto const master = desk.Connect();
        auto const work = desk.Give(one.values, one.options);
        desk.RunAside();
        WorkEnded const ended = OnlyResult(*master);
        EXPECT_EQ(ended.status, Unsuccessful);
        EXPECT_TRUE(ended.note.Contains(one.note)) << ended.note;
        EXPECT_TRUE(desk.runner.started.empty());
        EXPECT_TRUE(master->Of<WorkBegunMsg>().empty());
        EXPECT_EQ(desk.desk->UnitCount(), 0U);
    }
}

TEST(WorkDesk, ExpectedFilesAreLookedForOnAnotherThread) {
    Desk desk;
    auto const master = desk.Connect();
    String const file = (desk.temp / "image.png").Text();
    auto const first = desk.Give({{"OutputFile", file}});
    desk.End(first->id, 0);
    EXPECT_TRUE(master->Of<WorkEndedMsg>().empty());
    desk.RunAside();
    EXPECT_EQ(OnlyResult(*master).note, "expected file " + file + " is missing or empty");

    File::WriteWhole(desk.temp / "image.png", "pixels");
    auto const second = desk.Give({{"OutputFile", file}});
    desk.End(second->id, 0);
    desk.RunAside();
    EXPECT_EQ(master->Of<WorkEndedMsg>().back().ended.status, Finished);
}

TEST(WorkDesk, TellsProgressAFewTimesASecond) {
    Desk desk;
    auto const master = desk.Connect();
    auto const work = desk.Give();
    desk.Begin(work->id);
    for (int percent = 1; percent <= 50; ++percent) {
        desk.Print(work->id, std::to_string(percent) + "%\n");
        desk.clock.ms += 10;
    }
    auto told = master->Of<WorkProgressMsg>();
    EXPECT_EQ(told.size(), 2U);
    EXPECT_EQ(told.front().values.at(p_PercentDone), "1.0");
    EXPECT_EQ(desk.desk->NextTickMs(), 1'000'500);
    desk.desk->Tick();
    desk.Print(work->id, "Warning: texture missing\n");
    told = master->Of<WorkProgressMsg>();
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told.back().values.at(p_PercentDone), "50.0");
    desk.clock.ms += 250;
    desk.desk->Tick();
    desk.desk->EndTurn();
    EXPECT_EQ(master->Of<WorkProgressMsg>().back().values.at(p_Note), "Warning: texture missing");
}

TEST(WorkDesk, SynchronousCommandsHoldTheWorkUp) {
    Desk desk;
    auto const master = desk.Connect();
    desk.Settings("WorkAssignedEvt", "assigned");
    desk.Settings("WorkAssignedEvt", "assigned $(SubRange)");
    auto const work = desk.Give({{p_FirstWorkEvt, "first"},
                                 {p_WorkStartedEvt, "started"},
                                 {p_WorkPostExecuteEvt, "post"},
                                 {p_WorkPostExecuteSuccessfulEvt, "well"},
                                 {p_WorkPostExecuteUnsuccessfulEvt, "badly"},
                                 {p_WorkFinishedEvt, "finished"},
                                 {p_WorkFinishedSuccessfulEvt, "finished well"},
                                 {p_WorkFinishedUnsuccessfulEvt, "finished badly"}});
    char const* const expected[] = {"assigned 1-4", "first", "started", "render 1-4", "post", "well"};
    for (size_t i = 0; i < std::size(expected); ++i) {
        ASSERT_EQ(desk.runner.started.size(), i + 1);
        EXPECT_EQ(desk.Process(i), expected[i]);
        EXPECT_TRUE(master->Of<WorkEndedMsg>().empty());
        desk.Begin(work->id);
        desk.End(work->id, 0);
    }
    EXPECT_EQ(master->Of<WorkBegunMsg>().size(), 1U) << "the unit's own process alone";
    EXPECT_EQ(OnlyResult(*master).status, Finished);
    ASSERT_EQ(desk.runner.started.size(), std::size(expected) + 2) << "behind the report";
    EXPECT_EQ(desk.Process(6), "finished");
    EXPECT_EQ(desk.Process(7), "finished well");

    desk.Give({{p_FirstWorkEvt, "first"}});
    EXPECT_EQ(desk.Process(8), "assigned 1-4");
    desk.End(desk.runner.started[8].work, 0);
    EXPECT_EQ(desk.Process(9), "render 1-4") << "no longer the first of its Job";
}

TEST(WorkDesk, ACommandThatFailsIsTheResult) {
    struct Case {
        char const* event;
        size_t before; // processes that end well before it
        char const* note;
    };
    Case const cases[] = {
        {p_WorkAssignedEvt, 0, "The Work Assigned command failed: exit code 2: no room"},
        {p_WorkStartedEvt, 0, "The Work Started command failed: exit code 2: no room"},
        {p_WorkPostExecuteEvt, 1, "The Work Post Execute command failed: exit code 2: no room"},
    };
    for (Case const& one : cases) {
        SCOPED_TRACE(one.event);
        Desk desk;
        auto const master = desk.Connect();
        auto const work = desk.Give({{one.event, "check"}});
        for (size_t i = 0; i < one.before; ++i)
            desk.End(work->id, 0);
        desk.Print(work->id, "no room\n");
        desk.End(work->id, 2);
        EXPECT_EQ(OnlyResult(*master).status, Unsuccessful);
        EXPECT_EQ(OnlyResult(*master).note, one.note);
        EXPECT_EQ(desk.runner.started.size(), one.before + 1);
    }
}

TEST(WorkDesk, AStopIsAnsweredInEveryStage) {
    struct Case {
        char const* name;
        OptionMap values;
        int ends; // processes that end before the stop
        bool inRunner;
    };
    Case const cases[] = {
        {"in a command before", {{p_WorkAssignedEvt, "wait"}}, 0, true},
        {"while shares are looked for", {{p_Resources, "/tmp"}}, 0, false},
        {"in its process", {}, 0, true},
        {"while files are looked for", {{"OutputFile", "/no/such"}}, 1, false},
        {"in a command after", {{p_WorkPostExecuteEvt, "wait"}}, 1, true},
    };
    for (Case const& one : cases) {
        SCOPED_TRACE(one.name);
        Desk desk;
        auto const master = desk.Connect();
        auto const work = desk.Give(one.values);
        for (int i = 0; i < one.ends; ++i)
            desk.End(work->id, 0);
        size_t const started = desk.runner.started.size();
        desk.Stop(work->id, UserAborted, "Stopped by eve");
        desk.Stop(work->id, UserCanceled, "Once more");
        EXPECT_EQ(desk.runner.stopped.size(), one.inRunner ? 1U : 0U);
        if (one.inRunner) {
            EXPECT_TRUE(master->Of<WorkEndedMsg>().empty()) << "only when nothing of it is left";
            desk.desk->OnRunEnded(work->id, {RunEnd::Kind::Signaled, 15, {}});
            desk.desk->EndTurn();
        }
        desk.RunAside();
        EXPECT_EQ(desk.runner.started.size(), started) << "nothing starts behind a stop";
        WorkEnded const ended = master->Of<WorkEndedMsg>().front().ended;
        EXPECT_EQ(ended.status, UserAborted);
        EXPECT_EQ(ended.note, "Stopped by eve");
        EXPECT_EQ(desk.desk->UnitCount(), 0U);
    }
}

TEST(WorkDesk, AnswersAStopOfWorkThatItDoesNotHave) {
    Desk desk;
    auto const master = desk.Connect();
    UID const unknown(true);
    desk.Stop(unknown, UserAborted, "why");
    EXPECT_EQ(OnlyResult(*master).work, unknown);
    EXPECT_EQ(OnlyResult(*master).status, UserAborted);

    auto const work = desk.Give();
    desk.End(work->id, 0);
    desk.Stop(work->id, UserAborted, "too late");
    auto const results = master->Of<WorkEndedMsg>();
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(results[2].ended, results[1].ended) << "the result stands";
}

TEST(WorkDesk, NothingRunsTwice) {
    Desk desk;
    auto const master = desk.Connect();
    auto const work = desk.Give();
    desk.Order(work);
    EXPECT_EQ(desk.runner.started.size(), 1U) << "runs already";
    desk.End(work->id, 0);
    desk.Order(work);
    EXPECT_EQ(desk.runner.started.size(), 1U) << "ended";
    EXPECT_EQ(master->Of<WorkEndedMsg>().size(), 2U) << "told again";
    desk.Acknowledge(work->id);
    desk.Order(work);
    EXPECT_EQ(desk.runner.started.size(), 1U) << "stored";
}

TEST(WorkDesk, GoesOnWithoutAMasterAndSettlesWithTheNextOne) {
    Desk desk;
    auto const first = desk.Connect();
    auto const runs = desk.Give({{p_SubRange, "1"}});
    auto const waits = desk.Give({{p_SubRange, "2"}, {p_WorkAssignedEvt, "wait"}});
    auto const ends = desk.Give({{p_SubRange, "3"}});
    auto const stored = desk.Give({{p_SubRange, "4"}});
    desk.End(stored->id, 0);
    desk.Acknowledge(stored->id);
    desk.desk->SetMaster({});
    desk.Begin(runs->id);
    desk.Begin(ends->id);
    desk.End(ends->id, 3);
    size_t const sentBefore = first->sent.size();

    auto const second = desk.Connect();
    EXPECT_EQ(first->sent.size(), sentBefore) << "nothing to the old one";
    ASSERT_FALSE(second->sent.empty());
    EXPECT_EQ(second->sent.front()->Type(), RegisterEngineMsg::s_Type) << "before anything else";
    auto const registered = second->Of<RegisterEngineMsg>().front();
    EXPECT_EQ(registered.engine.id, desk.engine);
    ASSERT_EQ(registered.running.size(), 2U);
    for (RunState const& state : registered.running) {
        bool const isStarted = state.work == runs->id;
        EXPECT_TRUE(isStarted || state.work == waits->id);
        EXPECT_EQ(state.status, isStarted ? Started : Assigned);
        EXPECT_EQ(state.subRange, isStarted ? "1" : "2");
    }
    ASSERT_EQ(registered.ended.size(), 1U);
    EXPECT_EQ(registered.ended[0].work, ends->id);
    EXPECT_EQ(registered.ended[0].note, "exit code 3");
    EXPECT_TRUE(second->Of<WorkEndedMsg>().empty()) << "told once";
}

TEST(WorkDesk, AfterACrashReportsWhatWasCutOff) {
    Desk desk;
    desk.Connect();
    auto const runs = desk.Give();
    auto const ends = desk.Give();
    desk.Begin(runs->id);
    desk.End(ends->id, 0);
    desk.Start();
    auto const master = desk.Connect();
    auto const registered = master->Of<RegisterEngineMsg>().front();
    EXPECT_TRUE(registered.running.empty());
    ASSERT_EQ(registered.ended.size(), 2U);
    for (WorkEnded const& ended : registered.ended) {
        EXPECT_EQ(ended.status, ended.work == runs->id ? Lost : Finished);
        EXPECT_EQ(ended.job, desk.job);
    }
    desk.Order(runs);
    EXPECT_TRUE(desk.runner.started.size() == 2U) << "not run again here";
}

TEST(WorkDesk, AFullDiskDoesNotHoldWorkUp) {
    Desk desk;
    auto const master = desk.Connect();
    LogLines errors(LogLevel::Error);
    auto const work = desk.Give();
    {
        FaultyLayer disk;
        disk.fault = FaultyLayer::Fault::FullDisk;
        desk.Begin(work->id);
        for (int i = 0; i < 10; ++i)
            desk.Print(work->id, "some output\n");
        desk.End(work->id, 0);
    }
    EXPECT_EQ(OnlyResult(*master).status, Finished);
    EXPECT_LE(errors.Get().size(), 2U) << "one for the output, one for the journal";
}

TEST(WorkDesk, RunsCommandsOfPeopleAndTellsWhatTheySaid) {
    Desk desk;
    auto const master = desk.Connect();
    ExecuteCommandMsg message;
    message.command = "df -h | head -2";
    desk.desk->OnExecute(message);
    ASSERT_EQ(desk.runner.started.size(), 1U);
    EXPECT_EQ(desk.Process(0), "df -h | head -2");
    UID const process = desk.runner.started[0].work;
    desk.Print(process, "Filesystem\n/dev/sda1\n");
    desk.End(process, 0);
    auto const lines = master->Of<EngineHistoryElementMsg>();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[1].element.message.Contains("exit code 0\nFilesystem\n/dev/sda1"));
}

TEST(WorkDesk, CleansUpBehindAJobWithTheEnginesCommandOnly) {
    Desk desk;
    desk.Connect();
    desk.Settings("FinishedJobEvt", "cleanup $(ID) $(CommandLine)");
    auto const work = desk.Give();
    desk.End(work->id, 0);
    JobGoneMsg message;
    message.job = desk.job;
    desk.desk->OnJobGone(message);
    ASSERT_EQ(desk.runner.started.size(), 2U);
    EXPECT_EQ(desk.Process(1), "cleanup " + desk.job.ToString() + " 'render $(SubRange)'");
    EXPECT_TRUE(desk.output->PathOf(work->id).Exists()) << "the output stays";
}

TEST(WorkDesk, ABurstOfUnitsDoesNotFloodTheHistory) {
    Desk desk;
    auto const master = desk.Connect();
    for (int i = 0; i < 500; ++i) {
        auto const work = desk.Give();
        desk.Begin(work->id);
        desk.End(work->id, 0);
        desk.clock.ms += 1;
    }
    size_t const lines = master->Of<EngineHistoryElementMsg>().size();
    EXPECT_GE(lines, 30U);
    EXPECT_LE(lines, 40U);
    EXPECT_EQ(master->Of<WorkEndedMsg>().size(), 500U);
    desk.clock.ms += 1000;
    desk.Begin(desk.Give()->id);
    EXPECT_TRUE(master->Of<EngineHistoryElementMsg>().back().element.message.Contains("lines that only"));
}
