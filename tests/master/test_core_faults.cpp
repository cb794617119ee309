// What the farm survives: clocks, lost Engines, restarts, copied machines, poisoned Jobs.
#include "corefarm.h"

#include "master/core/loader.h"

#include <vorlan/productfile.h>

namespace farm::test_core_faults {

WorkRun const& RunOf(CoreFarm const& farm, UID const& job, UID const& work) {
    static boost::shared_ptr<JobHistoryMsg const> s_history;
    s_history = boost::static_pointer_cast<JobHistoryMsg const>(Loader::HistoryOf(*farm.FindJob(job)));
    return s_history->history.FindWork(work);
}

TEST(CoreFaults, AnEnginesSteadyClockMeasuresItsRuns) {
    for (int64_t const skewMs : {-3'600'000, 0, 3'600'000}) {
        CoreFarm farm;
        auto const atEngine = [&] { return farm.now.wall + Time(skewMs); };
        farm.AddEngine("e", 1, {}, {}, UID::Null, atEngine());
        EXPECT_EQ(farm.FindEngine("e").history.back().second.message.Contains("The clock of the Engine is"),
                  skewMs != 0);
        UID const job = farm.Submit("a", {{p_Range, "1-2"}});
        UID const work = farm.FindUnit("1")->work;
        auto begun = WorkBegunMsg::New();
        begun->work = work;
        begun->time = atEngine();
        farm.Send(farm.engines["e"], begun);
        farm.now += Time::Seconds(60);
        farm.now.wall -= Time::Hours(2); // somebody sets the Master's clock
        farm.Report("e", {work, job, Finished, "", atEngine(), 0, 59'000});
        EXPECT_EQ(RunOf(farm, job, work).RunTime(), Time::Seconds(59)) << skewMs;
        // One that nobody heard of until it had ended.
        UID const unheard = farm.FindUnit("2")->work;
        farm.now += Time::Seconds(60);
        farm.Report("e", {unheard, job, Finished, "", atEngine(), 0, 41'000});
        EXPECT_EQ(RunOf(farm, job, unheard).RunTime(), Time::Seconds(41)) << skewMs;
        farm.Restart();
        EXPECT_EQ(farm.FindJob(job)->finishedMs, 100'000);
    }
}

TEST(CoreFaults, ARunIsTakenBackWhileItsFramesAreQueued) {
    for (bool const restarts : {false, true}) {
        CoreFarm farm;
        farm.AddEngine("e", 2);
        UID const job = farm.Submit("a", {{p_Range, "1-2"}});
        UID const first = farm.FindUnit("1")->work;
        UID const second = farm.FindUnit("2")->work;
        farm.Begin(farm.FindUnit("1"));
        farm.Handle(PeerGone{farm.engines["e"]});
        farm.Pass(Time::Seconds(121));
        farm.AddEngine("f", 1);
        EXPECT_EQ(farm.UnitsOn("f"), "a:1");
        if (restarts)
            farm.Restart();
        farm.AddEngine("e", 2, {{first, job, Started, Time(), "1", 150'000}, {second, job, Assigned, Time(), "2", 0}});
        auto const ends = farm.Sent<EndWorkMsg>(farm.engines["e"]);
        ASSERT_EQ(ends.size(), 1U) << "another Engine has frame 1";
        EXPECT_EQ(ends[0]->work, first);
        ASSERT_EQ(farm.UnitsOn("e"), "a:2");
        EXPECT_EQ(farm.FindUnit("2")->work, second);
        farm.Report("e", {second, job, Finished, "", farm.now.wall, 0, 20'000});
        farm.Restart();
        EXPECT_EQ(farm.FindJob(job)->finished.Count(), 1U);
        EXPECT_EQ(RunOf(farm, job, second).Status(), Finished);
    }
}

TEST(CoreFaults, ARestartKeepsStopsNumbersAndProducts) {
    CoreFarm farm;
    farm.AddEngine("e", 1);
    UID const job = farm.Submit("a", {{p_Range, "1"}});
    UID const work = farm.FindUnit("1")->work;
    farm.Stop(farm.FindUnit("1"), UserCanceled, StopAction::SubmitAsNew);
    uint64_t const number = farm.FindJob(farm.Submit("last", {}))->number;
    farm.Delete(farm.client, UID::FromName("last"), true);
    farm.Restart();
    farm.client = farm.Connect(net::PeerKind::Client);
    farm.AddEngine("e", 1, {{work, job, Assigned, Time(), "1", 0}});
    EXPECT_EQ(farm.Sent<EndWorkMsg>().size(), 1U);
    farm.Report("e", {work, job, UserCanceled, "", farm.now.wall, 0, 0});
    ASSERT_EQ(farm.core->State().jobs.size(), 2U) << "it was submitted as a new Job";
    EXPECT_GT(farm.core->State().jobs.rbegin()->first, number);

    // What has started counts for the farm's stagger and the Job's, though it has ended.
    for (bool const ofJob : {false, true}) {
        CoreFarm staggered;
        if (!ofJob)
            staggered.SetOptions(o_Distribution, {{o_GlobalStaggerCount, "1"}, {o_GlobalStaggerDelay, "60"}});
        staggered.AddEngine("e", 2);
        staggered.Submit("a", {{p_StaggerCount, "1"}, {p_StaggerStart, ofJob ? "60" : "0"}});
        staggered.End(staggered.FindUnit("1"));
        staggered.Pass(Time::Seconds(20));
        staggered.Restart();
        staggered.AddEngine("f", 2);
        EXPECT_EQ(staggered.UnitsOn("f"), "") << ofJob;
        staggered.Pass(Time::Seconds(41));
        EXPECT_EQ(staggered.UnitsOn("f"), "a:2") << ofJob;
    }

    // A Job of a Product that was added while the farm ran.
    auto const product = Product::CreateDefault(ProductClass::Sequence);
    auto message = ProductMsg::New();
    message->text = ProductToText(*product);
    farm.Send(farm.client, message);
    farm.SetParameter(farm.core->State().jobs.rbegin()->second->id, p_Status, "-1");
    UID const added = farm.Submit("added", {{p_Type, product->Type().ToString()}, {p_Priority, "90"}});
    farm.Restart();
    farm.AddEngine("f", 1);
    EXPECT_EQ(farm.UnitsOn("f"), "added:1");
    EXPECT_EQ(farm.FindJob(added)->Total(), 10U);
}

TEST(CoreFaults, TwoEnginesOfOneIdAreToldApart) {
    for (bool const answers : {true, false}) {
        CoreFarm farm;
        farm.AddEngine("e", 1, {}, {}, UID::FromName("first"));
        PeerId const first = farm.engines["e"];
        farm.AddEngine("e", 1, {}, {}, UID::FromName("second"));
        PeerId const second = farm.engines["e"];
        EXPECT_EQ(farm.Sent<PingMsg>(first).size(), 1U);
        EXPECT_EQ(farm.FindEngine("e").peer, first);
        farm.Pass(Time(1900));
        if (answers)
            farm.Send(first, PongMsg::New());
        EXPECT_EQ(farm.Sent<RefusedMsg>(second).size(), answers ? 1U : 0U);
        farm.Pass(Time::Seconds(2));
        EXPECT_EQ(farm.FindEngine("e").peer, answers ? first : second);
        // The same program that comes again is no other one.
        farm.AddEngine("e", 1, {}, {}, UID::FromName(answers ? "first" : "second"));
        EXPECT_EQ(farm.FindEngine("e").peer, farm.engines["e"]);
    }
}

TEST(CoreFaults, AJobThatCannotBeHandledIsSetApart) {
    CoreFarm farm;
    UID const good = farm.Submit("good", {{p_Priority, "10"}, {p_Range, "1"}});
    // As an earlier version took it in: a unit has more values than its Job.
    auto const bad = boost::make_shared<Job>(UID::FromName("bad"));
    OptionMap values{{p_Type, CoreFarm::TypeOf(ProductClass::Sequence).ToString()}, {p_Range, "1"}, {p_Name, "bad"}};
    while (values.size() < ValueBlock::k_MaxValues - 2)
        values["value" + String::From(values.size())] = "x";
    bad->SetValues(values);
    farm.Send(farm.client, JobMsg::Create(bad));
    EXPECT_EQ(farm.Sent<RefusedMsg>().size(), 1U);
    String const id(reinterpret_cast<char const*>(bad->id.Bytes()), UID::k_Size);
    farm.Keep({RecordKind::Job, 500, id, EncodeJob(*bad), Record::Op::Put, 500});
    farm.Restart();
    std::map<uint64_t, String> apart;
    try {
        farm.AddEngine("e", 1);
        FAIL() << "its unit cannot be made";
    } catch (HandlingFailed const& problem) {
        apart[problem.Job()] = problem.Message();
    }
    EXPECT_TRUE(apart.contains(500));
    farm.Restart(apart);
    farm.client = farm.Connect(net::PeerKind::Client);
    farm.AddEngine("e", 2);
    EXPECT_EQ(farm.UnitsOn("e"), "good:1");
    EXPECT_TRUE(farm.FindJob(bad->id)->job->Standstill().Contains("More than 20000 values"));
    farm.Delete(farm.client, bad->id, true);
    EXPECT_EQ(farm.core->State().jobs.size(), 1U);
    EXPECT_TRUE(farm.FindJob(good));
}

TEST(CoreFaults, DangerousCommandsNeedAnAdministrator) {
    CoreFarm farm;
    UID const engine = farm.AddEngine("e", 1);
    auto execute = ExecuteCommandMsg::New();
    execute->engines = {engine};
    auto machine = MachineMsg::New();
    machine->machine = engine;
    auto stop = StopVorlanOnNodeMsg::New();
    stop->engine = engine;
    for (bool const isAdministrator : {false, true}) {
        auto mode = AdministrateMsg::New();
        mode->on = isAdministrator;
        farm.Send(farm.client, mode);
        for (boost::shared_ptr<Message> const& message :
             std::initializer_list<boost::shared_ptr<Message>>{execute, machine, stop, ShutdownMsg::New()}) {
            farm.Send(farm.client, message);
            EXPECT_EQ(farm.Sent<RefusedMsg>(farm.client).size(), isAdministrator ? 0U : 1U) << message->TypeName();
        }
    }
}

} // namespace farm::test_core_faults
