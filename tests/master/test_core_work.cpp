// What becomes of work and of Jobs.
#include "corefarm.h"

#include "master/core/loader.h"

namespace farm::test_core_work {

TEST(CoreWork, ARunTellsItsHistory) {
    CoreFarm farm;
    farm.AddEngine("e", 1);
    UID const job = farm.Submit("a", {{p_Range, "7"}});
    auto const* const run = farm.FindUnit("7");
    UID const work = run->work;
    farm.Begin(run);
    farm.now += Time::Seconds(3);
    farm.End(run);
    EXPECT_EQ(farm.Sent<WorkEndedAckMsg>().size(), 1U);
    EXPECT_EQ(farm.Sent<FinishedJobMsg>().size(), 1U);
    EXPECT_EQ(farm.Sent<JobGoneMsg>(farm.engines["e"]).size(), 1U);
    EXPECT_EQ(farm.StatusOf(job), Finished);
    EXPECT_EQ(farm.FindJob(job)->job->Get(p_PercentDone, false), "100");
    auto const history = boost::static_pointer_cast<JobHistoryMsg const>(Loader::HistoryOf(*farm.FindJob(job)));
    WorkRun const& told = history->history.FindWork(work);
    std::vector<int> statuses;
    for (size_t i = 0; i < told.ElementCount(); ++i)
        statuses.push_back(told[i].status);
    EXPECT_EQ(statuses, (std::vector<int>{Assigned, Started, Finished, Closed}));
    EXPECT_EQ(told.RunTime(), Time::Seconds(3));
}

TEST(CoreWork, AStopLeadsWhereItsActionSays) {
    struct Case {
        int status;
        StopAction action;
        int told; // the result that clients hear
        uint64_t queued, canceled, failed;
    };
    for (Case const& c : {Case{UserAborted, StopAction::Requeue, UserAborted, 1, 0, 0},
                          Case{Unsuccessful, StopAction::Requeue, Unsuccessful, 1, 0, 0},
                          Case{UserCanceled, StopAction::Requeue, UserAborted, 1, 0, 0},
                          Case{UserCanceled, StopAction::Cancel, UserCanceled, 0, 1, 0},
                          Case{AdministratorAborted, StopAction::Cancel, AdministratorCanceled, 0, 1, 0},
                          Case{Failed, StopAction::Cancel, Failed, 0, 0, 1},
                          Case{UserAborted, StopAction::SubmitAsNew, UserCanceled, 0, 1, 0}}) {
        CoreFarm farm;
        farm.AddEngine("e", 2);
        UID const id = farm.Submit("a", {{p_Range, "1-2"}});
        auto const* const run = farm.FindUnit("1");
        farm.Stop(run, c.status, c.action);
        auto const orders = farm.Sent<EndWorkMsg>(farm.engines["e"]);
        ASSERT_EQ(orders.size(), 1U);
        EXPECT_NE(farm.FindUnit("1"), nullptr) << "it is active until the Engine says otherwise";
        farm.SetParameter(id, p_Status, "-1");
        farm.End(run, orders[0]->status);
        auto const told = farm.Sent<FinishedWorkMsg>();
        ASSERT_EQ(told.size(), 1U);
        EXPECT_EQ(told[0]->status, c.told);
        JobEntry const& job = *farm.FindJob(id);
        EXPECT_EQ(job.queue.Count(), c.queued);
        EXPECT_EQ(job.canceled.Count(), c.canceled);
        EXPECT_EQ(job.failed.Count(), c.failed);
        EXPECT_EQ(farm.core->State().jobs.size(), c.action == StopAction::SubmitAsNew ? 2U : 1U);
        if (c.action == StopAction::SubmitAsNew) {
            EXPECT_EQ(farm.core->State().jobs.rbegin()->second->job->Get(p_Range, false), "1");
        }
    }
}

TEST(CoreWork, FailuresComeToAnEnd) {
    CoreFarm farm;
    farm.SetOptions(o_Distribution, {{o_MaxJobFailures, "2"}, {o_MaxTotalJobFailures, "4"}});
    farm.AddEngine("e", 1);
    UID const a = farm.Submit("a", {{p_Range, "1-9"}, {p_FailureLimit, "9"}});
    farm.End(farm.FindUnit("1"), Unsuccessful);
    EXPECT_EQ(farm.UnitsOn("e"), "a:2") << "a failed unit comes after those that were never tried";
    farm.End(farm.FindUnit("2"), Unsuccessful);
    EXPECT_EQ(farm.UnitsOn("e"), "a:3") << "it has failed twice, and is the last one that could take it";
    farm.AddEngine("f", 1);
    farm.End(farm.FindUnit("3"), Unsuccessful);
    EXPECT_EQ(farm.UnitsOn("e"), "") << "there is another one now";
    farm.End(farm.FindUnit("4"), Unsuccessful);
    EXPECT_EQ(farm.StatusOf(a), Failed) << "the Job has failed four times";
    auto const history = boost::static_pointer_cast<JobHistoryMsg const>(Loader::HistoryOf(*farm.FindJob(a)));
    EXPECT_TRUE(history->history["1-3,5-9"].LastRun().LastNote().Contains("Given up: the Job has failed 4 times"));

    // Run again in place: gone and back for those who knew its end, and nothing is forgotten.
    size_t const runs = farm.FindJob(a)->past.size();
    farm.RunAgain(a, "1-5");
    EXPECT_EQ(farm.Sent<DeleteJobMsg>().size(), 1U);
    EXPECT_EQ(farm.Sent<JobMsg>().size(), 1U);
    farm.Restart();
    EXPECT_EQ(farm.StatusOf(a), Queued);
    EXPECT_EQ(farm.FindJob(a)->queue.Count() + farm.FindJob(a)->RunningFrames(), 5U);
    EXPECT_EQ(farm.FindJob(a)->failed.Count(), 4U);
    EXPECT_EQ(farm.FindJob(a)->past.size(), runs + 1);

    // A unit's own limit; the farm's counts stay in the total until the Job is gone.
    CoreFarm other;
    other.AddEngine("e", 1);
    UID const b = other.Submit("b", {{p_Range, "1"}, {p_FailureLimit, "2"}});
    other.End(other.FindUnit("1"), Unsuccessful);
    other.End(other.FindUnit("1"), Unsuccessful);
    EXPECT_EQ(other.Sent<FinishedWorkMsg>()[0]->status, Failed);
    EXPECT_EQ(other.StatusOf(b), Failed);
    auto reset = ResetJobFailuresMsg::New();
    reset->job = b;
    other.Send(other.client, reset);
    auto const counts = [&other] {
        other.Send(other.client, GetFailureArchiveMsg::New());
        std::pair<unsigned, unsigned> sums;
        for (FailureItem const& item : other.Sent<FailureArchiveMsg>()[0]->items)
            sums = {sums.first + item.count, sums.second + item.total};
        return sums;
    };
    EXPECT_EQ(counts(), std::pair(0U, 2U));
    other.Restart();
    other.client = other.Connect(net::PeerKind::Client);
    EXPECT_EQ(counts(), std::pair(0U, 2U));
    other.Delete(other.client, b, true);
    EXPECT_EQ(counts(), std::pair(0U, 0U));
}

TEST(CoreWork, TimeOutsGiveWorkBack) {
    CoreFarm farm;
    farm.AddEngine("e", 1);
    farm.Submit("a", {{p_Range, "1-7"}, {p_OvertimeKill, "2"}});
    UID const stuck = farm.FindUnit("1")->work;
    for (int i = 0; i < 12; ++i) {
        farm.Send(farm.engines["e"], HeartbeatMsg::New());
        farm.Pass(Time::Seconds(5));
    }
    EXPECT_EQ(farm.Sent<EndWorkMsg>(farm.engines["e"]).size(), 1U);
    EXPECT_EQ(farm.Sent<FinishedWorkMsg>()[0]->status, TimedOut);
    EXPECT_EQ(farm.FindEngine("e").used, 1U) << "the core stays in use until the Engine has ended it";
    farm.Report("e", {stuck, UID::FromName("a"), TimedOut, "", farm.now.wall, 0});
    EXPECT_EQ(farm.UnitsOn("e"), "a:2");
    for (int i = 0; i < 5; ++i) {
        auto const* const run = farm.core->State().runs.begin()->second.get();
        farm.Begin(run);
        farm.now += Time::Seconds(4);
        farm.End(run);
    }
    auto const* const slow = farm.core->State().runs.begin()->second.get();
    farm.Begin(slow);
    farm.Pass(Time::Seconds(7));
    EXPECT_FALSE(slow->stop);
    farm.Pass(Time::Seconds(2));
    ASSERT_TRUE(slow->stop) << "twice the average of four seconds has passed";
    EXPECT_EQ(slow->stop->status, TimedOut);
}

TEST(CoreWork, AClockThatIsSetNeitherStopsNorHastensAnything) {
    for (int const hours : {-1, 1}) {
        CoreFarm farm;
        farm.SetOptions(o_Distribution, {{o_AutoDelete, "2"}, {o_DeleteAfter, "0.01"}, {o_StartWorkTimeout, "40"}});
        farm.AddEngine("e", 2);
        UID const done = farm.Submit("done", {{p_Range, "1"}});
        farm.End(farm.FindUnit("1"));
        UID const job = farm.Submit("a", {{p_StaggerCount, "1"}, {p_StaggerStart, "30"}});
        farm.now.wall += Time::Hours(hours);
        farm.Pass(Time(29'900));
        EXPECT_EQ(farm.FindJob(job)->runs.size(), 1U) << hours;
        farm.Pass(Time(100));
        EXPECT_EQ(farm.UnitsOn("e"), "a:1 a:2") << hours;
        EXPECT_TRUE(farm.FindJob(done)) << "it is deleted after 36 seconds";
        farm.Pass(Time::Seconds(10));
        EXPECT_FALSE(farm.FindJob(done)) << hours;
        EXPECT_EQ(farm.UnitsOn("e"), "a:2") << "one did not start within 40 seconds";
        farm.Handle(PeerGone{farm.engines["e"]});
        farm.Pass(Time::Seconds(119));
        EXPECT_NE(farm.UnitsOn("e"), "") << hours;
        farm.Pass(Time::Seconds(1));
        EXPECT_EQ(farm.UnitsOn("e"), "") << "it was gone for two minutes";
    }
}

TEST(CoreWork, AnEngineThatComesBackSettles) {
    CoreFarm farm;
    farm.AddEngine("e", 4);
    UID const job = farm.Submit("a", {{p_Range, "1-4"}});
    std::map<String, UID> works;
    for (auto const* const run : farm.FindJob(job)->runs)
        works[run->subRange] = run->work;
    farm.Begin(farm.FindUnit("1"));
    for (bool const masterRestarts : {false, true}) {
        if (masterRestarts)
            farm.Restart();
        else
            farm.Handle(PeerGone{farm.engines["e"]});
        EXPECT_EQ(farm.FindJob(job)->runs.size(), masterRestarts ? 2U : 4U);
        // It runs 1 and 2, has finished 3, and never got 4.
        farm.AddEngine("e", 4,
                       {{works["1"], job, Started, farm.now.wall, "1"}, {works["2"], job, Assigned, Time(), "2"}},
                       {{works["3"], job, Finished, "", farm.now.wall, 0}});
        EXPECT_EQ(farm.Sent<WorkEndedAckMsg>().size(), 1U);
        EXPECT_EQ(farm.FindUnit("1")->work, works["1"]);
        EXPECT_EQ(farm.FindUnit("2")->work, works["2"]);
        EXPECT_EQ(farm.FindJob(job)->finished.Count(), 1U);
        if (masterRestarts)
            break;
        ASSERT_NE(farm.FindUnit("4"), nullptr);
        EXPECT_NE(farm.FindUnit("4")->work, works["4"]) << "it is handed out anew";
        farm.End(farm.FindUnit("4"), UserAborted);
        farm.SetParameter(job, p_Status, "-1");
        if (auto const* const again = farm.FindUnit("4"))
            farm.End(again, UserAborted);
    }
}

TEST(CoreWork, ALateResultCountsOnce) {
    CoreFarm farm;
    farm.AddEngine("e", 1);
    UID const job = farm.Submit("a", {{p_Range, "1-2"}});
    UID const work = farm.FindUnit("1")->work;
    farm.Handle(PeerGone{farm.engines["e"]});
    farm.Pass(Time::Seconds(121));
    EXPECT_EQ(farm.Sent<FinishedWorkMsg>()[0]->status, Lost);
    farm.AddEngine("f", 1);
    ASSERT_EQ(farm.UnitsOn("f"), "a:1") << "it was queued again";
    WorkEnded const ended{work, job, Finished, "", farm.now.wall, 0};
    farm.AddEngine("e", 1, {}, {ended});
    EXPECT_EQ(farm.FindJob(job)->finished.Count(), 1U);
    EXPECT_EQ(farm.UnitsOn("e"), "a:2") << "frame 1 is not run again";
    EXPECT_EQ(farm.UnitsOn("f"), "");
    farm.Report("e", ended);
    EXPECT_EQ(farm.Sent<WorkEndedAckMsg>().size(), 1U);
    EXPECT_EQ(farm.Sent<WorkHistoryElementMsg>().size(), 0U);
}

TEST(CoreWork, OncePerEngineGoesToEachThatTakesPart) {
    CoreFarm farm;
    farm.AddEngine("e", 2);
    farm.AddEngine("f", 2);
    farm.AddEngine("off", 2);
    farm.ChangeEngine("off", [](Engine& engine) { engine.SetEnabled(false); });
    UID const job = farm.Submit("a", {}, ProductClass::OncePerEngine);
    EXPECT_EQ(farm.FindJob(job)->Total(), 2U);
    EXPECT_EQ(farm.UnitsOn("e"), "a:1");
    EXPECT_EQ(farm.UnitsOn("f"), "a:2");
    farm.End(farm.FindUnit("1"), UserAborted);
    EXPECT_EQ(farm.UnitsOn("e"), "a:1") << "it is this Engine's own";
    farm.ChangeEngine("off", [](Engine& engine) { engine.SetEnabled(true); });
    EXPECT_EQ(farm.UnitsOn("off"), "");
    UID const single = farm.Submit("b", {}, ProductClass::Single);
    EXPECT_EQ(farm.FindJob(single)->Total(), 1U);

    // An Engine that is removed takes its unit along; without any the Job is not taken up again.
    farm.End(farm.FindUnit("2", "a"));
    for (char const* const name : {"e", "f", "off"})
        farm.Handle(PeerGone{farm.engines[name]});
    auto remove = RemoveEngineMsg::New();
    remove->engine = UID::FromName("e");
    farm.Send(farm.client, remove);
    EXPECT_EQ(farm.StatusOf(job), UserCanceled);
    auto again = boost::make_shared<Job>(*farm.FindJob(job)->job);
    again->SetStatus(Queued);
    farm.Send(farm.client, JobMsg::Create(again));
    EXPECT_EQ(farm.Sent<RefusedMsg>().size(), 1U);
    EXPECT_EQ(farm.StatusOf(job), UserCanceled) << "it is still there";
}

TEST(CoreWork, DeletesAsItIsTold) {
    for (bool const immediately : {true, false}) {
        CoreFarm farm;
        farm.AddEngine("e", 1);
        UID const job = farm.Submit("a", {});
        UID const work = farm.FindUnit("1")->work;
        farm.Delete(farm.client, job, immediately);
        EXPECT_EQ(farm.Sent<DeleteJobMsg>().size(), immediately ? 1U : 0U);
        EXPECT_EQ(farm.Sent<EndWorkMsg>().size(), immediately ? 1U : 0U);
        EXPECT_EQ(farm.FindEngine("e").used, 1U);
        farm.Report("e", {work, job, immediately ? UserCanceled : Finished, "", farm.now.wall, 0});
        EXPECT_EQ(farm.Sent<WorkEndedAckMsg>().size(), 1U);
        EXPECT_EQ(farm.FindJob(job), nullptr);
        EXPECT_EQ(farm.FindEngine("e").used, 0U);
        EXPECT_EQ(farm.UnitsOn("e"), "");
    }
}

TEST(CoreWork, FinishedJobsGoWhenTheirTimeHasCome) {
    struct Case {
        char const* option;
        char const* disposition;
        int64_t seconds; // -1: never
    };
    for (Case const& c :
         {Case{"0", "-1", -1}, Case{"1", "-1", 0}, Case{"2", "-1", 7200}, Case{"1", "0", -1}, Case{"0", "1", 0}}) {
        CoreFarm farm;
        farm.SetOptions(o_Distribution, {{o_AutoDelete, c.option}, {o_DeleteAfter, "2"}});
        farm.AddEngine("e", 1);
        UID const job = farm.Submit("a", {{p_Range, "1"}, {p_FinishDisposition, c.disposition}});
        farm.End(farm.FindUnit("1"));
        EXPECT_EQ(farm.FindJob(job) == nullptr, c.seconds == 0) << c.option << c.disposition;
        farm.Restart();
        farm.Pass(Time::Seconds(7199));
        EXPECT_EQ(farm.FindJob(job) == nullptr, c.seconds == 0) << c.option << c.disposition;
        farm.Pass(Time::Seconds(2));
        EXPECT_EQ(farm.FindJob(job) == nullptr, c.seconds >= 0) << c.option << c.disposition;
    }
}

TEST(CoreWork, AFinishedJobIsTakenUpAgainAsANewOne) {
    CoreFarm farm;
    farm.AddEngine("e", 1);
    UID const id = farm.Submit("a", {{p_Range, "1"}});
    farm.End(farm.FindUnit("1"));
    auto job = boost::make_shared<Job>(*farm.FindJob(id)->job);
    job->SetStatus(Queued);
    farm.Send(farm.client, JobMsg::Create(job));
    EXPECT_EQ(farm.Sent<DeleteJobMsg>().size(), 1U);
    EXPECT_EQ(farm.Sent<JobMsg>().size(), 1U);
    EXPECT_NE(farm.FindUnit("1"), nullptr);
}

TEST(CoreWork, AUnitWhoseCommandsRunIsNotLate) {
    CoreFarm farm;
    farm.AddEngine("e", 1);
    farm.Submit("a", {{p_Range, "1"}});
    UID const work = farm.FindUnit("1")->work;
    size_t stops = 0;
    auto const pass = [&] {
        farm.Pass(Time::Seconds(10));
        stops += farm.Sent<EndWorkMsg>(farm.engines["e"]).size();
        farm.Send(farm.engines["e"], HeartbeatMsg::New());
    };
    for (int i = 0; i < 20; ++i) {
        pass();
        auto message = WorkPreparingMsg::New();
        message->work = work;
        farm.Send(farm.engines["e"], message);
    }
    EXPECT_EQ(stops, 0U);
    for (int i = 0; i < 7; ++i)
        pass();
    EXPECT_EQ(stops, 1U);
}

TEST(CoreWork, AnEngineHasTheOptionsThatAreMeantForIt) {
    CoreFarm farm;
    farm.SetOptions(o_Setup, {{o_OutputFileCleanup, "3"}});
    UID const type = CoreFarm::TypeOf(ProductClass::Sequence);
    farm.SetOptions(type.ToString().c_str(), {{"A", "all"}, {"B", "all"}, {"C", "all"}});
    auto common = DefaultEngineOptionsMsg::New();
    common->product = type;
    common->options = {{"B", "default"}, {"C", "default"}};
    farm.Send(farm.client, common);
    UID const engine = farm.AddEngine("e", 1);
    auto const told = farm.Sent<SetMasterOptionsMsg>(farm.engines["e"]);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0]->options.at(o_OutputFileCleanup), "3");
    farm.SetOptions(o_Setup, {{o_OutputFileCleanup, "4"}});
    EXPECT_EQ(farm.Sent<SetMasterOptionsMsg>(farm.engines["e"]).size(), 1U);
    auto own = EngineOptionsMsg::New();
    own->AddEngine(engine);
    own->AddOptions(type, {{"C", "own"}});
    farm.Send(farm.client, own);
    farm.Submit("a", {{p_Range, "1"}});
    auto const orders = farm.Sent<RunWorkMsg>(farm.engines["e"]);
    ASSERT_EQ(orders.size(), 1U);
    EXPECT_EQ(orders[0]->engineOptions, (OptionMap{{"A", "all"}, {"B", "default"}, {"C", "own"}}));
}

TEST(CoreWork, CommandsOfAJobRunOnAnEngineThatItMayUse) {
    CoreFarm farm;
    farm.AddEngine("no", 1);
    UID const yes = farm.AddEngine("yes", 1);
    std::vector<String> events;
    auto const note = [&] {
        EXPECT_TRUE(farm.Sent<RunJobCommandMsg>(farm.engines["no"]).empty());
        for (auto const& message : farm.Sent<RunJobCommandMsg>(farm.engines["yes"])) {
            events.push_back(message->event);
            EXPECT_EQ(message->job->Name(), "a");
            auto taken = JobCommandTakenMsg::New();
            taken->id = message->id;
            farm.Send(farm.engines["yes"], taken);
        }
    };
    UID const job = farm.Submit("a", {{p_Range, "1,2"},
                                      {p_PacketSize, "2"},
                                      {p_IncludeEngines, yes.ToString()},
                                      {p_JobAssignWorkEvt, "a"},
                                      {p_JobFirstStartedEvt, "b"},
                                      {p_JobFinishedEvt, "c"},
                                      {p_DeleteJobEvt, "d"}});
    note();
    farm.Begin(farm.FindUnit("1-2"));
    note();
    farm.End(farm.FindUnit("1-2"), Finished);
    note();
    farm.Handle(PeerGone{farm.engines["yes"], {}});
    farm.Delete(farm.client, job, true);
    farm.Restart();
    farm.AddEngine("no", 1);
    note();
    farm.AddEngine("yes", 1);
    note();
    farm.AddEngine("yes", 1);
    EXPECT_TRUE(farm.Sent<RunJobCommandMsg>().empty()) << "taken";
    EXPECT_EQ(events,
              (std::vector<String>{p_JobAssignWorkEvt, p_JobFirstStartedEvt, p_JobFinishedEvt, p_DeleteJobEvt}));
}

TEST(CoreWork, RefusesWhatCannotBe) {
    CoreFarm farm;
    UID const job = farm.Submit("a", {});
    auto product = ProductMsg::New();
    product->text = "{";
    std::function<void()> const refused[] = {
        [&] {
            farm.Submit("b", {{p_Range, "1-x"}});
        },
        [&] {
            farm.Submit("b", {{p_Type, UID::FromName("nothing").ToString()}});
        },
        [&] { farm.Submit("b", {}, ProductClass::OncePerEngine); }, // there is no Engine
        [&] {
            farm.Submit("b", {{p_WorkStartedEvt, "echo '$(Name)'"}});
        },
        [&] { farm.SetParameter(job, p_DeleteJobEvt, "echo \"$(Name)\"; echo '$(JobName)'"); },
        [&] {
            farm.Submit("b", {{p_WaitForJobID, UID::FromName("nobody").ToString()}});
        },
        [&] { farm.SetParameter(job, p_WaitForJobID, job.ToString()); },
        [&] { farm.SetParameter(job, p_Range, "9-"); },
        [&] { farm.SetParameter(job, p_Type, "x"); },
        [&] { farm.SetParameter(job, p_Status, "2"); },
        [&] { farm.SetParameter(UID::FromName("nobody"), p_Note, "x"); },
        [&] { farm.Send(farm.client, product); },
    };
    for (auto const& ask : refused) {
        ask();
        EXPECT_EQ(farm.Sent<RefusedMsg>(farm.client).size(), 1U);
    }
    EXPECT_EQ(farm.core->State().jobs.size(), 1U);
    EXPECT_EQ(farm.FindJob(job)->job->Get(p_Range, false), "1-10");
    // A command that comes late does not bring a deleted Job back, also after a restart.
    auto const late = boost::make_shared<Job>(*farm.FindJob(job)->job);
    farm.Delete(farm.client, job, true);
    farm.Restart();
    farm.client = farm.Connect(net::PeerKind::Client);
    farm.Send(farm.client, JobMsg::Create(late));
    EXPECT_EQ(farm.Sent<RefusedMsg>(farm.client).size(), 1U);
    EXPECT_TRUE(farm.core->State().jobs.empty());
    // An Engine gives no commands of clients, and nobody else reports work.
    UID const other = farm.Submit("other", {});
    farm.Delete(farm.Connect(net::PeerKind::Engine), other, true);
    EXPECT_NE(farm.FindJob(other), nullptr);
}

TEST(CoreWork, ALoadTellsEachJobOnce) {
    CoreFarm farm;
    farm.AddEngine("e", 2);
    for (int i = 0; i < 20; ++i)
        farm.Submit("job" + String::From(i), {});
    PeerId const late = farm.Connect(net::PeerKind::Client);
    EXPECT_EQ(farm.Sent<ProductMsg>(late).size(), 3U);
    EXPECT_EQ(farm.Sent<LoadedMsg>(late).size(), 1U);
    farm.Follow(late);
    auto load = GetJobInfoMsg::New();
    load->AddAll();
    load->wantJob = true;
    farm.Send(late, load);
    std::vector<MessagePtr> told;
    EXPECT_TRUE(farm.core->Pull(late, 1500, told));
    EXPECT_LT(told.size(), 15U);
    // An event for a Job that the load has not come to is not told beside it.
    farm.SetParameter(UID::FromName("job19"), p_Note, "x");
    EXPECT_EQ(farm.Sent<JobParameterMsg>(late).size(), 0U);
    EXPECT_EQ(farm.Sent<JobParameterMsg>(farm.client).size(), 1U);
    farm.SetParameter(UID::FromName("job0"), p_Note, "x");
    EXPECT_EQ(farm.Sent<JobParameterMsg>(late).size(), 1U);
    while (farm.core->Pull(late, 1500, told)) {
    }
    std::map<UID, int> kinds;
    for (MessagePtr const& message : told)
        ++kinds[message->Type()];
    EXPECT_EQ(kinds[JobMsg::s_Type], 20);
    EXPECT_EQ(kinds[AssignedWorkMsg::s_Type], 2);
    EXPECT_EQ(told.front()->Type(), StartJobInfoMsg::s_Type);
    EXPECT_EQ(told.back()->Type(), EndJobInfoMsg::s_Type);
    farm.SetParameter(UID::FromName("job19"), p_Note, "y");
    EXPECT_EQ(farm.Sent<JobParameterMsg>(late).size(), 1U);
}

TEST(CoreWork, OptionsAreMergedAndToldAsAWhole) {
    CoreFarm farm;
    farm.SetOptions(o_Distribution, {{o_FIFO, k_No}});
    farm.SetOptions(o_Distribution, {{o_MaxJobFailures, "7"}});
    auto const told = farm.Sent<SetMasterOptionsMsg>(farm.client);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0]->options, (OptionMap{{o_FIFO, k_No}, {o_MaxJobFailures, "7"}}));
    farm.SetOptions(o_Setup, {{o_Message, "hello"}, {o_Administrate, "5"}});
    ASSERT_GE(farm.Sent<MasterInfoMsg>(farm.client).size(), 1U);
    EXPECT_EQ(farm.Sent<MasterInfoMsg>(farm.client)[0]->message, "hello");
    farm.Restart();
    EXPECT_FALSE(farm.core->State().policy.fifo);
    EXPECT_EQ(farm.core->State().policy.maxJobFailures, 7U);
}

} // namespace farm::test_core_work
