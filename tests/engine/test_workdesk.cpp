#include "domain.h"

#include "enginefakes.h"

#include "engine/masterdispatch.h"

namespace vorlan::test_workdesk {

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
        Restart();
    }
    // The Engine begins anew, with what its journal says.
    void Restart() {
        desk.reset();
        DeskSetup setup;
        setup.engine = engine;
        setup.host = "render07";
        setup.folder = temp.Folder();
        setup.clock = &clock;
        setup.runner = &runner;
        setup.output = &output;
        setup.users = users;
        setup.aside = [this](AsideThreads::Work task) { aside.push_back(std::move(task)); };
        setup.describe = [this] { return Engine(engine); };
        desk = std::make_unique<WorkDesk>(std::move(setup));
        Connect();
    }
    ~Desk() { JobFactory::s_JobFactory->RemoveProduct(UID::Null); }

    // A Master is there, another one than before.
    void Connect() {
        master = boost::make_shared<FakeSink>();
        desk->SetMaster(master);
        desk->EndTurn();
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
        for (auto const& task : std::exchange(aside, {})) {
            if (auto const then = task())
                then();
        }
        desk->EndTurn();
    }
    void Settings(char const* event, String const& command) {
        EngineSettingsMsg message;
        message.engine.SetEventCommand(event, command);
        desk->OnSettings(message);
    }
    // What the Master was told, of one kind.
    template <class T>
    std::vector<T> Told() const {
        return master->Of<T>();
    }
    WorkEnded OnlyResult() const {
        auto const results = Told<WorkEndedMsg>();
        EXPECT_EQ(results.size(), 1U);
        return results.empty() ? WorkEnded() : results.front().ended;
    }
    // What the n-th process is: its command line, or the script for a shell.
    String Process(size_t index) const {
        if (index >= runner.started.size())
            return "none";
        auto const& arguments = runner.started[index].arguments;
        if (arguments[0] != "/bin/sh")
            return arguments[0] + " " + arguments.back();
        String script = arguments[2];
        for (auto const& [name, value] : runner.started[index].environment)
            script.Replace("\"${" + name + "}\"", value);
        return script;
    }

    TempFolder temp;
    UID const engine = UID(true);
    UID job = UID(true);
    FakeClock clock;
    FakeRunner runner;
    OutputFolder output{temp / "output"};
    std::vector<AsideThreads::Work> aside;
    WorkUsers users;
    std::unique_ptr<WorkDesk> desk;
    boost::shared_ptr<FakeSink> master;
};

class WorkDeskTest : public testing::Test, protected Desk {};

TEST_F(WorkDeskTest, RunsAUnitFromTheOrderToTheReport) {
    auto const work = Give();
    ASSERT_EQ(runner.started.size(), 1U);
    RunSpec const& spec = runner.started[0];
    EXPECT_EQ(spec.work, work->id);
    EXPECT_EQ(spec.arguments, (std::vector<String>{"render", "1-4"}));
    EXPECT_TRUE(spec.ownFolder && spec.folder.StartsWith((temp / "work").Text()));
    EXPECT_TRUE(Told<WorkBegunMsg>().empty());

    Begin(work->id);
    ASSERT_EQ(Told<WorkBegunMsg>().size(), 1U);
    Print(work->id, "rendering\n");
    clock.ms += 90'000;
    End(work->id, 0);
    WorkEnded const ended = OnlyResult();
    EXPECT_EQ(ended.work, work->id);
    EXPECT_EQ(ended.job, job);
    EXPECT_EQ(ended.status, Finished);
    EXPECT_EQ(ended.note, "");
    EXPECT_EQ(ended.time, clock.Now());
    EXPECT_EQ(desk->UnitCount(), 0U);

    auto const lines = Told<EngineHistoryElementMsg>();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].element.message.StartsWith("Started work 1-4 of Job Sample"));
    EXPECT_TRUE(lines[1].element.message.Contains("1 minute 30 seconds"));
    String const log = File::Read(output.PathOf(work->id));
    EXPECT_TRUE(log.Contains("[render 1-4]\n") && log.Contains("\nrendering\n") && log.EndsWith("[Finished]\n")) << log;
}

TEST(WorkDesk, AUnitThatCannotRunEndsAtOnceWithAReason) {
    struct Case {
        OptionMap values;
        OptionMap options;
        char const* note;
    };
    Case const cases[] = {
        {{{p_Type, UID(true).ToString()}}, {}, "render07 does not know the Product"},
        {{{"CommandLine", " "}}, {}, "names no program to run"},
        {{{p_Resources, "/no/such/share = //server/x"}}, {}, "/no/such/share"},
        {{{p_Resources, "/tmp = x"}}, {{p_Resources, "/no/such/y"}}, "/no/such/y"},
        {{{"Folder", "/proc/no/such"}}, {}, "/proc/no"},
    };
    for (Case const& one : cases) {
        SCOPED_TRACE(one.note);
        Desk desk;
        desk.Give(one.values, one.options);
        desk.RunAside();
        EXPECT_EQ(desk.OnlyResult().status, Unsuccessful);
        EXPECT_TRUE(desk.OnlyResult().note.Contains(one.note)) << desk.OnlyResult().note;
        EXPECT_TRUE(desk.runner.started.empty() && desk.Told<WorkBegunMsg>().empty());
        EXPECT_EQ(desk.desk->UnitCount(), 0U);
    }
}

TEST_F(WorkDeskTest, ExpectedFilesAreLookedForOnAnotherThread) {
    String const file = (temp / "image.png").Text();
    auto const first = Give({{"OutputFile", file}});
    End(first->id, 0);
    EXPECT_TRUE(Told<WorkEndedMsg>().empty());
    RunAside();
    EXPECT_EQ(OnlyResult().note, "expected file " + file + " is missing or empty");

    File::WriteWhole(temp / "image.png", "pixels");
    auto const second = Give({{"OutputFile", file}});
    End(second->id, 0);
    RunAside();
    EXPECT_EQ(Told<WorkEndedMsg>().back().ended.status, Finished);
}

TEST_F(WorkDeskTest, TellsProgressFourTimesASecondAndAlwaysTheLastValue) {
    auto const work = Give();
    Begin(work->id);
    EXPECT_EQ(desk->NextTickMs(), ProgressThrottle::k_Never);
    for (int percent = 1; percent <= 50; ++percent) {
        Print(work->id, std::to_string(percent) + "%\n");
        clock.ms += 10;
    }
    EXPECT_EQ(Told<WorkProgressMsg>().size(), 2U) << "the first at once, then one every 250 ms";
    EXPECT_EQ(Told<WorkProgressMsg>().front().values.at(p_PercentDone), "1.0");
    EXPECT_EQ(desk->NextTickMs(), 1'000'500);
    desk->Tick();
    Print(work->id, "Warning: texture missing\n");
    ASSERT_EQ(Told<WorkProgressMsg>().size(), 3U);
    EXPECT_EQ(Told<WorkProgressMsg>().back().values.at(p_PercentDone), "50.0");
    clock.ms += 250;
    desk->Tick();
    desk->EndTurn();
    EXPECT_EQ(Told<WorkProgressMsg>().back().values.at(p_Note), "Warning: texture missing");
    EXPECT_EQ(desk->NextTickMs(), ProgressThrottle::k_Never);
}

TEST_F(WorkDeskTest, SynchronousCommandsHoldTheWorkUp) {
    Settings("WorkAssignedEvt", "assigned");
    Settings("WorkAssignedEvt", "assigned $(SubRange)");
    auto const work = Give({{p_FirstWorkEvt, "first"},
                            {p_WorkStartedEvt, "started"},
                            {p_WorkPostExecuteEvt, "post"},
                            {p_WorkPostExecuteSuccessfulEvt, "well"},
                            {p_WorkPostExecuteUnsuccessfulEvt, "badly"},
                            {p_WorkFinishedEvt, "finished"},
                            {p_WorkFinishedSuccessfulEvt, "finished well"},
                            {p_WorkFinishedUnsuccessfulEvt, "finished badly"}});
    char const* const expected[] = {"assigned 1-4", "first", "started", "render 1-4", "post", "well"};
    for (size_t i = 0; i < std::size(expected); ++i) {
        ASSERT_EQ(runner.started.size(), i + 1);
        EXPECT_EQ(Process(i), expected[i]);
        EXPECT_TRUE(Told<WorkEndedMsg>().empty());
        Begin(work->id);
        End(work->id, 0);
    }
    EXPECT_EQ(Told<WorkBegunMsg>().size(), 1U) << "the unit's own process alone";
    EXPECT_EQ(OnlyResult().status, Finished);
    ASSERT_EQ(runner.started.size(), std::size(expected) + 2) << "behind the report";
    EXPECT_EQ(Process(6), "finished");
    EXPECT_EQ(Process(7), "finished well");

    Give({{p_FirstWorkEvt, "first"}});
    EXPECT_EQ(Process(8), "assigned 1-4");
    End(runner.started[8].work, 0);
    EXPECT_EQ(Process(9), "render 1-4") << "no longer the first of its Job";
}

TEST(WorkDesk, ACommandThatFailsIsTheResult) {
    char const* const events[][2] = {{p_WorkAssignedEvt, "Work Assigned"},
                                     {p_WorkStartedEvt, "Work Started"},
                                     {p_WorkPostExecuteEvt, "Work Post Execute"}};
    for (auto const& [event, label] : events) {
        Desk desk;
        auto const work = desk.Give({{event, "check"}});
        if (event == String(p_WorkPostExecuteEvt))
            desk.End(work->id, 0);
        size_t const started = desk.runner.started.size();
        desk.Print(work->id, "no room\n");
        desk.End(work->id, 2);
        EXPECT_EQ(desk.OnlyResult().status, Unsuccessful);
        EXPECT_EQ(desk.OnlyResult().note, SFormat("The %s command failed: exit code 2: no room", label));
        EXPECT_EQ(desk.runner.started.size(), started);
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
        auto const work = desk.Give(one.values);
        for (int i = 0; i < one.ends; ++i)
            desk.End(work->id, 0);
        size_t const started = desk.runner.started.size();
        desk.Stop(work->id, UserAborted, "Stopped by eve");
        desk.Stop(work->id, UserCanceled, "Once more");
        EXPECT_EQ(desk.runner.stopped.size(), one.inRunner ? 1U : 0U);
        if (one.inRunner) {
            EXPECT_TRUE(desk.Told<WorkEndedMsg>().empty()) << "only when nothing of it is left";
            desk.desk->OnRunEnded(work->id, {RunEnd::Kind::Signaled, 15, {}});
            desk.desk->EndTurn();
        }
        desk.RunAside();
        EXPECT_EQ(desk.runner.started.size(), started) << "nothing starts behind a stop";
        WorkEnded const ended = desk.Told<WorkEndedMsg>().front().ended;
        EXPECT_EQ(ended.status, UserAborted);
        EXPECT_EQ(ended.note, "Stopped by eve");
        EXPECT_EQ(desk.desk->UnitCount(), 0U);
    }
}

TEST_F(WorkDeskTest, ACommandBeforeTheStartIsToldOfAndEndsInTime) {
    auto const work = Give({{p_WorkAssignedEvt, "mount"}});
    size_t told = 0;
    for (; runner.stopped.empty() && told < 1000; ++told) {
        EXPECT_EQ(Told<WorkPreparingMsg>().size(), told + 1);
        clock.ms += 10'000;
        EXPECT_LE(desk->NextTickMs(), clock.ms);
        desk->Tick();
        desk->EndTurn();
    }
    EXPECT_EQ(told, 360U) << "an hour";
    End(work->id, 143);
    EXPECT_TRUE(OnlyResult().note.Contains("stopped after 60 minutes")) << OnlyResult().note;
}

TEST_F(WorkDeskTest, PathsOfOtherPlatformsAreCalledAsHere) {
    PathTranslationsMsg names;
    names.translations = {{{"1", "X:\\"}, {"3", "/mnt/share/"}, {"2", "/Volumes/Share"}},
                          {{"1", "X:\\cache"}, {"3", "/var/cache"}},
                          {{"1", "Y:"}, {"2", "/Volumes/Other"}}};
    desk->OnTranslations(names);
    Rows<char const*, char const*> const cases = {
        {R"(x:\my show\a.blend)", "/mnt/share/my show/a.blend"},
        {R"(X:/cache/b)", "/var/cache/b"},
        {R"(/Volumes/Share)", "/mnt/share"},
        {R"(/Volumes/Shares/a)", "/Volumes/Shares/a"},
        {R"(Y:\a)", R"(Y:\a)"},
        {R"(-i X:\a\b -e 's\d' --out="X:\c d\e" f\g)", R"(-i /mnt/share/a/b -e 's\d' --out="/mnt/share/c d/e" f\g)"},
    };
    for (auto const& [there, here] : cases) {
        Give({{"CommandLine", "render \"$(Scene)\""}, {"Scene", there}});
        EXPECT_EQ(runner.started.back().arguments.back(), here);
    }
}

TEST_F(WorkDeskTest, WhatFailsForTheMachinesReasonsIsLost) {
    for (char const* const command : {"", "mount"}) {
        auto const work = Give({{p_WorkAssignedEvt, command}});
        desk->OnRunEnded(work->id, {RunEnd::Kind::Lost, 0, "Too many open files"});
        desk->EndTurn();
        EXPECT_EQ(Told<WorkEndedMsg>().back().ended.status, Lost);
    }
}

TEST_F(WorkDeskTest, AllThatRunsForAUnitRunsAsItsUser) {
    WorkUsers const asRoot{true, "work", {}};
    Rows<WorkUsers, char const*, char const*> const cases = {
        {{false, "work", {}}, "", ""},
        {{false, "work", {}}, "ann", "ann"}, // the start says that it cannot be
        {asRoot, "", "work"},
        {asRoot, "ann", "ann"},
        {{true, "work", {"ann"}}, "ann", "ann"},
        {{true, "work", {"bob"}}, "ann", nullptr},
        {{true, "", {}}, "", nullptr},
    };
    for (auto const& [rules, username, user] : cases) {
        users = rules;
        Restart();
        Connect();
        runner.started.clear();
        auto const work =
            Give({{p_Username, username}, {p_WorkStartedEvt, "started"}, {p_WorkFinishedEvt, "finished"}});
        if (!user) {
            EXPECT_TRUE(OnlyResult().note.Contains("VorlanEngine.ini")) << OnlyResult().note;
            continue;
        }
        End(work->id, 0);
        End(work->id, 0);
        ASSERT_EQ(runner.started.size(), 3U);
        for (RunSpec const& spec : runner.started) {
            EXPECT_EQ(spec.user, user);
            EXPECT_FALSE(spec.mayBeRoot && rules.account != spec.user && rules.allowed.empty());
        }
        End(runner.started[2].work, 0);
    }
}

TEST_F(WorkDeskTest, AnswersAStopOfWorkThatItDoesNotHave) {
    UID const unknown(true);
    Stop(unknown, UserAborted, "why");
    EXPECT_EQ(OnlyResult().work, unknown);
    EXPECT_EQ(OnlyResult().status, UserAborted);

    auto const work = Give();
    End(work->id, 0);
    Stop(work->id, UserAborted, "too late");
    auto const results = Told<WorkEndedMsg>();
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(results[2].ended, results[1].ended) << "the result stands";
}

TEST_F(WorkDeskTest, NothingRunsTwice) {
    auto const work = Give();
    Order(work);
    EXPECT_EQ(runner.started.size(), 1U) << "runs already";
    End(work->id, 0);
    Order(work);
    EXPECT_EQ(runner.started.size(), 1U) << "ended";
    EXPECT_EQ(Told<WorkEndedMsg>().size(), 2U) << "told again";
    Acknowledge(work->id);
    Order(work);
    EXPECT_EQ(runner.started.size(), 1U) << "stored";
}

TEST_F(WorkDeskTest, GoesOnWithoutAMasterAndSettlesWithTheNextOne) {
    auto const first = master;
    auto const runs = Give({{p_SubRange, "1"}});
    auto const waits = Give({{p_SubRange, "2"}, {p_WorkAssignedEvt, "wait"}});
    auto const ends = Give({{p_SubRange, "3"}});
    auto const stored = Give({{p_SubRange, "4"}});
    End(stored->id, 0);
    Acknowledge(stored->id);
    desk->SetMaster({});
    Begin(runs->id);
    Begin(ends->id);
    End(ends->id, 3);
    size_t const sentBefore = first->sent.size();

    Connect();
    EXPECT_EQ(first->sent.size(), sentBefore) << "nothing to the old one";
    ASSERT_FALSE(master->sent.empty());
    EXPECT_EQ(master->sent.front()->Type(), RegisterEngineMsg::s_Type) << "before anything else";
    auto const registered = Told<RegisterEngineMsg>().front();
    EXPECT_EQ(registered.engine.id, engine);
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
    EXPECT_TRUE(Told<WorkEndedMsg>().empty()) << "told once";
}

TEST_F(WorkDeskTest, AFullDiskDoesNotHoldWorkUp) {
    LogLines errors(LogLevel::Error);
    auto const work = Give();
    {
        FaultyLayer disk;
        disk.fault = FaultyLayer::Fault::FullDisk;
        Begin(work->id);
        for (int i = 0; i < 10; ++i)
            Print(work->id, "some output\n");
        End(work->id, 0);
    }
    EXPECT_EQ(OnlyResult().status, Finished);
    EXPECT_LE(errors.Get().size(), 2U) << "one for the output, one for the journal";
}

TEST_F(WorkDeskTest, OnlyAShortRunThatPrintsNothingAndEndsWellHasNoLog) {
    struct Case {
        char const* output;
        int seconds;
        int code;
        RunOutput told;
    };
    for (Case const& one : {Case{"", 0, 0, RunOutput::None},
                            {"x", 0, 0, RunOutput::Whole},
                            {"", 2, 0, RunOutput::Whole},
                            {"", 0, 3, RunOutput::Whole}}) {
        auto const work = Give();
        Begin(work->id);
        EXPECT_EQ(desk->OutputOf(work->id), RunOutput::Grows);
        clock.ms += one.seconds * 1000;
        Print(work->id, one.output);
        bool const isKept = one.told == RunOutput::Whole;
        EXPECT_EQ(output.PathOf(work->id).Exists(), isKept && one.code == 0) << "while it runs";
        End(work->id, one.code);
        EXPECT_EQ(desk->OutputOf(work->id), one.told);
        ASSERT_EQ(output.PathOf(work->id).Exists(), isKept);
        EXPECT_TRUE(!isKept || File::Read(output.PathOf(work->id)).Contains("[render 1-4]"));
    }
}

TEST_F(WorkDeskTest, RunsCommandsOfPeopleAndTellsWhatTheySaid) {
    ExecuteCommandMsg message;
    message.command = "df -h | head -2";
    desk->OnExecute(message);
    ASSERT_EQ(runner.started.size(), 1U);
    EXPECT_EQ(Process(0), "df -h | head -2");
    UID const process = runner.started[0].work;
    Print(process, "Filesystem\n/dev/sda1\n");
    End(process, 0);
    auto const lines = Told<EngineHistoryElementMsg>();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[1].element.message.Contains("exit code 0\nFilesystem\n/dev/sda1"));
}

TEST_F(WorkDeskTest, CommandsOfPeopleCanBeRefusedAltogether) {
    OutputService service(output, [](UID const&) { return RunOutput::None; });
    for (bool const takes : {false, true}) {
        int ended = 0;
        MasterDispatch::Hooks hooks;
        hooks.takesCommands = takes;
        hooks.stop = hooks.stopPrograms = [&] { ++ended; };
        MasterDispatch dispatch(*desk, service, std::move(hooks));
        auto machine = MachineMsg::New();
        machine->operation = 1;
        for (boost::shared_ptr<Message> const& message : std::vector<boost::shared_ptr<Message>>{
                 ExecuteCommandMsg::New(), machine, ShutdownMsg::New(), StopVorlanOnNodeMsg::New()}) {
            dispatch.Handle(master, message);
        }
        EXPECT_EQ(runner.started.size(), takes ? 2U : 0U);
        EXPECT_EQ(ended, takes ? 2 : 0);
        EXPECT_EQ(Told<EngineHistoryElementMsg>().front().element.message.Contains("RemoteCommands"), true);
    }
}

TEST_F(WorkDeskTest, CleansUpBehindAJobWithTheEnginesCommandOnly) {
    Settings("FinishedJobEvt", "cleanup $(ID) $(CommandLine)");
    auto const work = Give();
    Print(work->id, "done\n");
    End(work->id, 0);
    JobGoneMsg message;
    message.job = job;
    desk->OnJobGone(message);
    ASSERT_EQ(runner.started.size(), 2U);
    EXPECT_EQ(Process(1), "cleanup " + job.ToString() + " render $(SubRange)");
    EXPECT_TRUE(output.PathOf(work->id).Exists()) << "the output stays";
}

TEST_F(WorkDeskTest, WhatIsOwedToAUnitIsDoneBeforeItsFolderGoes) {
    Path folder;
    for (size_t i = 0; i < 3 * SideCommands::k_AtOnce; ++i) {
        auto const work = Give({{p_WorkFinishedEvt, "publish $(SubRange)"}});
        folder = runner.started.back().folder;
        File::MakeFolder(folder);
        End(work->id, 0);
    }
    File::WriteWhole(folder / "image.png", "left by a unit");
    size_t ran = 0;
    auto const publish = [&](size_t count) {
        size_t ended = 0;
        for (size_t i = 0; i < runner.started.size() && ended < count; ++i) {
            if (runner.started[i].arguments[0] != "/bin/sh" || std::exchange(runner.started[i].arguments[0], "") == "")
                continue;
            EXPECT_TRUE(folder.IsFolder() && runner.started[i].ownFolder);
            End(runner.started[i].work, 0);
            ran += 1;
            ended += 1;
        }
    };
    publish(5);
    JobGoneMsg message;
    message.job = job;
    desk->OnJobGone(message);
    publish(10);
    runner.started.clear();
    Restart();
    RunAside();
    EXPECT_TRUE(folder.IsFolder());
    desk->OnJobGone(message);
    publish(1000);
    EXPECT_EQ(ran, 3 * SideCommands::k_AtOnce) << "each once, those that an end cut off again";
    RunAside();
    EXPECT_FALSE(folder.Exists()) << "with what lay in it";
    EXPECT_TRUE((temp / "work").IsFolder());
    Restart();
    EXPECT_EQ(desk->Side().Running(), 0U);
}

TEST_F(WorkDeskTest, AJobsOwnCommandIsTakenOnceAndRunsWhateverHappens) {
    RunJobCommandMsg message;
    message.id = UID(true);
    message.event = p_JobFinishedEvt;
    message.job = boost::make_shared<Job>(job);
    message.job->SetValues({{p_Type, k_Type.ToString()}, {p_Name, "shot"}, {p_JobFinishedEvt, "publish $(Name)"}});
    for (int i = 0; i < 2; ++i)
        desk->OnJobCommand(message);
    desk->EndTurn();
    EXPECT_EQ(Told<JobCommandTakenMsg>().size(), 2U);
    ASSERT_EQ(runner.started.size(), 1U);
    EXPECT_EQ(Process(0), "publish shot");
    Restart();
    ASSERT_EQ(runner.started.size(), 2U);
    End(message.id, 0);
    Restart();
    EXPECT_EQ(runner.started.size(), 2U);
}

TEST_F(WorkDeskTest, ABurstOfUnitsDoesNotFloodTheHistory) {
    for (int i = 0; i < 500; ++i) {
        auto const work = Give();
        Begin(work->id);
        End(work->id, 0);
        clock.ms += 1;
    }
    size_t const lines = Told<EngineHistoryElementMsg>().size();
    EXPECT_GE(lines, 30U);
    EXPECT_LE(lines, 40U);
    EXPECT_EQ(Told<WorkEndedMsg>().size(), 500U);
    clock.ms += 1000;
    Begin(Give()->id);
    EXPECT_TRUE(Told<EngineHistoryElementMsg>().back().element.message.Contains("lines that only"));
}

} // namespace vorlan::test_workdesk
