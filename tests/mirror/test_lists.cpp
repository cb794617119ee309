// The mirrored lists: what messages do to them and what they tell.
#include "mirrortest.h"

#include "model/enginewatcher.h"
#include "model/history.h"
#include "model/jobwatcher.h"

#include <corekit/tick.h>
#include <vorlan/events.h>
#include <vorlan/failures.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>

namespace vorlan {

using corekit::LogLevel;
using corekit::LogLines;

namespace {

// What the events of Jobs say.
struct Events : HasSlots<> {
    Events() {
        NewJobEvt::Signal().Connect(this, [this](NewJobEvt& event) { Note("new", event.job); });
        JobUpdatedEvt::Signal().Connect(this, [this](JobUpdatedEvt& event) { Note("changed", event.job); });
        DeletingJobEvt::Signal().Connect(this, [this](DeletingJobEvt& event) { Note("deleting", event.job); });
        FinishedJobEvt::Signal().Connect(this, [this](FinishedJobEvt& event) { Note("finished", event.job); });
    }
    ~Events() override { DisconnectAll(); }
    void Note(char const* what, boost::shared_ptr<Job> const& job) {
        seen.push_back(String(what) + " " + (job ? job->Name() : String("nothing")));
    }
    std::vector<String> seen;
};

struct Counts {
    size_t total = 99;
    size_t active = 99;
    size_t finished = 99;
    Counts() { Jobs::GetCounts(total, active, finished); }
    bool operator==(std::array<size_t, 3> const& other) const {
        return other == std::array<size_t, 3>{total, active, finished};
    }
};

} // namespace

class ListsTest : public MirrorTest {};

TEST_F(ListsTest, JobsAreNewChangedFinishedAndRemoved) {
    EXPECT_TRUE(Counts() == (std::array<size_t, 3>{0, 0, 0}));
    Events events;
    auto const a = NewJob("a");
    JobMsg::s_Signal.Emit(JobMsg::Create(a));
    JobMsg::s_Signal.Emit(JobMsg::Create(NewJob("b")));
    auto const info = Jobs::FindJobInfo(a->id);
    ASSERT_TRUE(info);
    {
        RWLock::Writer const writer(info->lock);
        info->elementWork.insert(UID::FromName("element"));
    }
    auto const changed = NewJob("a");
    changed->SetParameter(p_Note, "changed");
    JobMsg::s_Signal.Emit(JobMsg::Create(changed));
    EXPECT_EQ(Jobs::GetJobA(a->id), a) << "the Job itself is updated, not replaced";
    EXPECT_EQ(a->Note(), "changed");

    auto done = FinishedJobMsg::New();
    done->job = NewJob("a", Finished);
    FinishedJobMsg::s_Signal.Emit(done);
    EXPECT_TRUE(Counts() == (std::array<size_t, 3>{2, 0, 1}));
    EXPECT_EQ(Jobs::FindJobInfo(a->id), info) << "the Job moves with all that is known of it";
    EXPECT_EQ(Jobs::GetFinishedIDs(), corekit::vector<UID>{a->id});
    EXPECT_EQ(Jobs::GetAllJobs(), (corekit::vector<UID>{UID::FromName("b"), a->id})) << "the finished ones are last";

    auto gone = DeleteJobMsg::New();
    gone->job = a->id;
    DeleteJobMsg::s_Signal.Emit(gone);
    LogLines log(LogLevel::Info);
    DeleteJobMsg::s_Signal.Emit(gone);
    EXPECT_EQ(CountLines(log, "Removing Job: *** Unknown Job ***"), 1u);
    EXPECT_EQ(events.seen, (std::vector<String>{"new a", "new b", "changed a", "changed a", "finished a", "deleting a",
                                                "deleting nothing"}));
}

TEST_F(ListsTest, AJobThatComesBackIsNew) {
    JobList::Get().InsertJob(NewJob("a", Finished));
    auto const former = Jobs::FindJobInfo(UID::FromName("a"));
    JobList::Get().InsertJob(NewJob("a"));
    EXPECT_NE(Jobs::FindJobInfo(UID::FromName("a")), former);
    EXPECT_TRUE(Counts() == (std::array<size_t, 3>{2, 0, 1}));
    JobList::Get().RemoveJob(UID::FromName("a"));
    EXPECT_TRUE(Counts() == (std::array<size_t, 3>{0, 0, 0})) << "both entries go";
}

TEST_F(ListsTest, AValueThatOvertakesItsJobIsAskedForEachTime) {
    auto message = JobParameterMsg::New();
    message->job = UID::FromName("a");
    message->name = p_Note;
    message->value = "x";
    JobParameterMsg::s_Signal.Emit(message);
    JobParameterMsg::s_Signal.Emit(message);
    ASSERT_EQ(outside.Steps(), (std::vector<String>{"send GetJobInfoMsg", "send GetJobInfoMsg"}));
    auto const request = boost::dynamic_pointer_cast<GetJobInfoMsg>(outside.Sent().front());
    EXPECT_EQ(request->ids, corekit::set<UID>{UID::FromName("a")});
    EXPECT_TRUE(request->wantJob && request->wantHistory && !request->all);

    JobList::Get().InsertJob(NewJob("a"));
    JobParameterMsg::s_Signal.Emit(message);
    EXPECT_EQ(Jobs::GetJobA(message->job)->Note(), "x");
    EXPECT_EQ(outside.Sent().size(), 2u);
}

TEST_F(ListsTest, JobTexts) {
    struct Case {
        int status;
        int units;
        char const* text;
        int statusClass;
    };
    constexpr Case k_Cases[] = {{Queued, 0, "Queued", 0},
                                {Paused, 0, "Paused", 1},
                                {Queued, 2, "2 Active", 2},
                                {Paused, 3, "Paused: 3 Active", 2},
                                {Finished, 1, "Finished: 1 Active", 2},
                                {Finished, 0, "Finished", 3},
                                {Failed, 0, "Failed", 3},
                                {UserCanceled, 0, "User Canceled", 3}};
    UID const engine = AddEngine("engine");
    for (Case const& c : k_Cases) {
        JobList::Get().Clear();
        WorkList::Get().Clear();
        auto const job = NewJob("job", c.status);
        JobList::Get().InsertJob(job);
        for (int i = 0; i < c.units; ++i)
            Assign(Unit(("unit" + std::to_string(i)).c_str(), job), engine);
        auto const info = Jobs::FindJobInfo(job->id);
        EXPECT_EQ(info->Status(), c.text);
        EXPECT_EQ(info->StatusClass(), c.statusClass) << c.text;
    }
    JobInfo const empty;
    EXPECT_EQ(empty.Status(), "");
    EXPECT_EQ(empty.StatusClass(), 0);
    EXPECT_EQ(empty.Summary(), "");
    EXPECT_EQ(empty.Pool(), "");

    auto const job = NewJob("job");
    EXPECT_EQ(JobInfo(job).WaitForString(), "Waiting for 0 jobs");
    job->SetParameter(p_WaitForJobID, UID::FromName("one").ToString());
    EXPECT_EQ(JobInfo(job).WaitForString(), "Waiting for 1 job");
}

TEST_F(ListsTest, WorkComesAndGoes) {
    UID const engine = AddEngine("engine");
    auto const job = NewJob("job");
    JobList::Get().InsertJob(job);
    auto const info = Jobs::FindJobInfo(job->id);
    LogLines log(LogLevel::Info);
    auto const unit = Unit("unit", job);
    Assign(unit, engine);
    Assign(unit, engine);
    EXPECT_EQ(CountLines(log, "Work 'unit' not assigned to Engine 'engine': Assigned"), 2u);
    EXPECT_EQ(WorkList::Get().Count(), 1u) << "the same unit again takes the place of the former one";
    EXPECT_EQ(WorkList::Get().GetJobCurrentCount(job->id), 1u);
    EXPECT_EQ(WorkList::Get().GetEngineCurrentCount(engine), 1u);
    EXPECT_TRUE(Counts() == (std::array<size_t, 3>{1, 1, 0}));

    Finish(unit->id, Unsuccessful);
    EXPECT_EQ(WorkList::Get().Count(), 0u);
    EXPECT_FALSE(info->active);
    EXPECT_TRUE(Counts() == (std::array<size_t, 3>{1, 0, 0}));
    EXPECT_EQ(EngineList::Get().FindEngine(engine)->DisplayFailures(), "1 Failure (1 Job 1 Product)");
    Failures::RemoveJob(job->id);
    EXPECT_EQ(EngineList::Get().FindEngine(engine)->DisplayFailures(), "0 Failures");
    EXPECT_EQ(CountLines(log, ("Removing work: {" + unit->id.ToString() + "} unit: engine").c_str()), 1u);

    UID jobID;
    UID engineID;
    size_t const lines = log.Get().size();
    EXPECT_FALSE(WorkList::Get().RemoveWork(UID::FromName("unknown"), jobID, engineID));
    EXPECT_TRUE(jobID.IsNull() && engineID.IsNull());
    EXPECT_EQ(log.Get().size(), lines);
    Finish(UID::FromName("unknown"), Finished);
}

TEST_F(ListsTest, WorkOfUnknownsIsDiscarded) {
    UID const engine = AddEngine("engine");
    auto const job = NewJob("job");
    LogLines log(LogLevel::Error);
    Assign(Unit("orphan", job), engine);
    JobList::Get().InsertJob(job);
    Assign(Unit("homeless", job), UID::FromName("nobody"));
    auto started = StartedWorkMsg::New();
    started->work = Unit("homeless", job);
    started->engine = UID::FromName("nobody");
    StartedWorkMsg::s_Signal.Emit(started);
    EXPECT_EQ(WorkList::Get().Count(), 0u);
    EXPECT_EQ(log.Get(),
              (std::vector<String>{
                  "Received work 'orphan' for unknown job: " + job->id.ToString() + " ... discarding",
                  "Received work 'homeless' for unknown engine: " + job->id.ToString() + " ... discarding",
                  "Received work 'homeless' for unknown engine: " + started->engine.ToString() + " ... discarding"}));
}

TEST_F(ListsTest, WorkOfAJobOrAnEngineGoesWithIt) {
    UID const first = AddEngine("first");
    UID const second = AddEngine("second");
    auto const a = NewJob("a");
    auto const b = NewJob("b");
    for (auto const& job : {a, b})
        JobList::Get().InsertJob(job);
    a->SetParameter(p_Priority, "10");
    Assign(Unit("a1", a), first);
    Assign(Unit("a2", a), second);
    Assign(Unit("b1", b), first);
    EXPECT_EQ(WorkList::Get().GetAllWorkForJob(a->id).size(), 2u);
    EXPECT_EQ(WorkList::Get().GetAllWorkForEngine(first).size(), 2u);
    WorkList::Get().FindWork(UID::FromName("a1"))->work->SetParameter(p_Priority, "10");
    WorkList::Get().FindWork(UID::FromName("a2"))->work->SetParameter(p_Priority, "20");
    WorkList::Get().FindWork(UID::FromName("b1"))->work->SetParameter(p_Priority, "30");
    EXPECT_TRUE(WorkList::Get().WorkUnderPriority(10).empty());
    EXPECT_EQ(WorkList::Get().WorkUnderPriority(11), corekit::vector<UID>{UID::FromName("a1")});
    EXPECT_EQ(WorkList::Get().WorkUnderPriority(30).size(), 2u);

    auto gone = RemoveEngineMsg::New();
    gone->engine = first;
    RemoveEngineMsg::s_Signal.Emit(gone);
    EXPECT_EQ(WorkList::Get().Count(), 1u);
    EXPECT_FALSE(EngineList::Get().FindEngine(first));
    auto deleted = DeleteJobMsg::New();
    deleted->job = a->id;
    DeleteJobMsg::s_Signal.Emit(deleted);
    EXPECT_EQ(WorkList::Get().Count(), 0u);
}

TEST_F(ListsTest, TimeRunsFromTheStartElseFromTheMaking) {
    UID const engine = AddEngine("engine");
    auto const job = NewJob("job");
    JobList::Get().InsertJob(job);
    auto const unit = Unit("unit", job);
    unit->SetCreated(Time(1'000'000));
    Assign(unit, engine);
    auto const info = WorkList::Get().FindWork(unit->id);
    EXPECT_EQ(info->Elapsed(Time(1'060'000)), Time(60'000));
    Element("unit", job->id, Assigned, Time(1'040'000));
    Element("unit", job->id, Started, Time(1'050'000));
    EXPECT_EQ(info->Elapsed(Time(1'060'000)), Time(10'000));
    EXPECT_EQ(WorkInfo().Elapsed(Time(5)), Time());
}

TEST_F(ListsTest, AHistoryIsAskedForOnce) {
    auto const job = NewJob("job");
    JobList::Get().InsertJob(job);
    auto const info = Jobs::FindJobInfo(job->id);
    // Units that this client has never heard of.
    for (char const* frame : {"1", "2", "3"})
        Element(frame, job->id, Started, Time(1000), frame);
    ASSERT_EQ(outside.Steps(), std::vector<String>{"send GetJobInfoMsg"});
    auto const request = boost::dynamic_pointer_cast<GetJobInfoMsg>(outside.Sent().front());
    EXPECT_TRUE(request->wantHistory && !request->wantJob);
    EXPECT_EQ(info->elementWork.size(), 3u);
    EXPECT_EQ(info->history.size(), 3u);
    info->RequestHistory(true);
    EXPECT_TRUE(info->IsHistoryHeld());
    info->RequestHistory(false);
    EXPECT_TRUE(info->IsHistoryHeld()) << "somebody else still holds it";
    EXPECT_EQ(outside.Sent().size(), 1u);
    info->UnlockHistory();
    EXPECT_FALSE(info->IsHistoryHeld());

    LogLines log(LogLevel::Warning);
    JobInfo().RequestHistory(false);
    EXPECT_EQ(CountLines(log, "Unable to request history for an empty job"), 1u);
    Element("unit", UID::FromName("nothing"));
    EXPECT_EQ(CountLines(log, "Received history element for unknown Job!"), 1u);
}

TEST_F(ListsTest, EngineStatusTexts) {
    struct Case {
        char const* what;
        bool enabled;
        bool online;
        int status;
        int units;
        int restrictedCores; // -1: no restriction
        char const* text;
    };
    constexpr Case k_Cases[] = {{"plain", true, true, 0, 0, -1, "Enabled"},
                                {"offline", true, false, 0, 0, -1, "Offline"},
                                {"offline and disabled", false, false, 0, 0, -1, "Offline"},
                                {"disabled", false, true, 0, 0, -1, "Disabled"},
                                {"asleep", true, false, -1, 0, -1, "Asleep"},
                                {"one unit", true, true, 0, 1, -1, "1 Worker"},
                                {"two units", true, true, 0, 2, -1, "2 Workers"},
                                {"disabled with one", false, true, 0, 1, -1, "Disabled: 1 Worker"},
                                {"disabled with two", false, true, 0, 2, -1, "Disabled: 2 Workers"},
                                {"restricted away", true, true, 0, 0, 0, "Restricted"},
                                {"restricted", true, true, 0, 0, 2, "Restricted to 2"},
                                {"restricted at work", true, true, 0, 1, 2, "Restricted to 2: 1 Worker"}};
    auto const job = NewJob("job");
    for (Case const& c : k_Cases) {
        EngineList::Get().Clear();
        WorkList::Get().Clear();
        JobList::Get().InsertJob(job);
        Engine engine(UID::FromName("engine"));
        engine.SetName("engine");
        engine.SetEnabled(c.enabled);
        engine.SetOnline(c.online);
        engine.SetStatus(c.status);
        if (c.restrictedCores >= 0) {
            engine.Restrict(true);
            engine.RestrictCores(static_cast<unsigned>(c.restrictedCores));
            engine.RestrictDays(127);
            engine.RestrictTimes(Time(0), Time(0)); // all day
        }
        EngineList::Get().InsertEngine(engine);
        for (int i = 0; i < c.units; ++i)
            Assign(Unit(("unit" + std::to_string(i)).c_str(), job), engine.id);
        EXPECT_EQ(EngineList::Get().FindEngine(engine.id)->StatusString(), c.text) << c.what;
    }
}

TEST_F(ListsTest, ARestrictionShowsWhileItApplies) {
    // 2026-11-21 is a Saturday, 2026-11-22 a Sunday.
    Time const saturdayNoon = Time::FromUnixMs(1'795'262'400'000);
    Engine engine(UID::FromName("engine"));
    engine.SetOnline(true);
    engine.SetEnabled(true);
    engine.Restrict(true);
    engine.RestrictCores(2);
    engine.RestrictDays(0b1000000);
    engine.RestrictTimes(Time(9 * 3'600'000), Time(18 * 3'600'000));
    EXPECT_EQ(EngineStatusTextOf(engine, 0, saturdayNoon), "Restricted to 2");
    EXPECT_EQ(EngineStatusTextOf(engine, 0, saturdayNoon + Time::Hours(6)), "Enabled") << "its end is outside";
    EXPECT_EQ(EngineStatusTextOf(engine, 2, saturdayNoon + Time::Days(1)), "2 Workers");
}

TEST_F(ListsTest, FailureTexts) {
    EXPECT_EQ(EngineFailuresText(0, 0, 0), "0 Failures");
    EXPECT_EQ(EngineFailuresText(1, 1, 1), "1 Failure (1 Job 1 Product)");
    EXPECT_EQ(EngineFailuresText(1, 2, 3), "3 Failures (2 Jobs 1 Product)");
    EXPECT_EQ(EngineFailuresText(2, 1, 2), "2 Failures (1 Job 2 Products)");
}

TEST_F(ListsTest, RestrictionTexts) {
    EngineInfo info;
    EXPECT_EQ(info.Restrictions(), "");
    info.Restrict(true);
    info.RestrictCores(2);
    info.RestrictDays(0b0111110);
    info.RestrictTimes(Time(9 * 3'600'000), Time(18 * 3'600'000));
    EXPECT_EQ(info.Restrictions(), "2 cores:  -MTWTF-  09:00 - 18:00");
    info.RestrictCores(1);
    info.RestrictDays(0b1000001);
    info.RestrictTimes(Time(22 * 3'600'000 + 5 * 60'000), Time(30 * 60'000));
    EXPECT_EQ(info.Restrictions(), "1 core:  S-----S  22:05 - 00:30");
}

TEST_F(ListsTest, EnginesKeepTheirExtrasAndOptionsSkipTheGone) {
    UID const engine = AddEngine("engine");
    auto const info = EngineList::Get().FindEngine(engine);
    UID const product = UID::FromName("product");
    auto message = EngineOptionsMsg::New();
    message->engines = {UID::FromName("gone"), engine};
    message->product = product;
    message->options["Path"] = "/opt";
    LogLines log(LogLevel::Warning);
    EngineOptionsMsg::s_Signal.Emit(message);
    EXPECT_EQ(CountLines(log, "Received options for unknown Product"), 1u);
    EXPECT_EQ(CountLines(log, "  Cannot set options for unknown Engine: "), 1u);
    AddEngine("engine", false);
    EXPECT_EQ(EngineList::Get().FindEngine(engine), info);
    EXPECT_FALSE(info->Enabled());
    EXPECT_EQ(info->options[product]["Path"], "/opt");
}

TEST_F(ListsTest, ControlsHearOfEachChangeOnce) {
    View first;
    View second;
    auto& lists = JobList::Get().Lists();
    lists.Add(&first);
    lists.Add(&second);
    first.TakeDirty(); // a new one may have something to show
    JobList::Get().InsertJob(NewJob("a"));
    JobList::Get().InsertJob(NewJob("b"));
    EXPECT_TRUE(first.TakeDirty());
    EXPECT_FALSE(first.TakeDirty());
    EXPECT_FALSE(JobList::Get().AnyJobSelected());
    second.selected = true;
    EXPECT_TRUE(JobList::Get().AnyJobSelected());

    // A control may go while the others are served, by its own hand or another's.
    std::vector<ListView*> served;
    lists.Operate([&](ListView& view) {
        served.push_back(&view);
        lists.Remove(&first);
        lists.Remove(&second);
    });
    EXPECT_EQ(served, std::vector<ListView*>{&first});
    lists.Add(&second);
    JobList::Get().Clear();
    EXPECT_EQ(first.cleared, 0);
    EXPECT_EQ(second.cleared, 1);
    lists.Remove(&second);
}

TEST_F(ListsTest, AWatcherHearsOfItsJobAlone) {
    for (char const* name : {"a", "b"})
        JobList::Get().InsertJob(NewJob(name));
    Counting<JobWatcher> watcher(Jobs::FindJobInfo(UID::FromName("a")));
    JobList::Get().RefreshJob(UID::FromName("b"));
    watcher.TriggerUpdate();
    EXPECT_EQ(watcher.updates, 0);
    JobList::Get().RefreshJob(UID::FromName("a"));
    JobList::Get().RefreshJob(UID::FromName("a"));
    Tick::s_Timer0250.Emit();
    EXPECT_EQ(watcher.updates, 1) << "any number of changes between two ticks is one update";
    watcher.SetJobA(Jobs::FindJobInfo(UID::FromName("b")));
    JobList::Get().RefreshJob(UID::FromName("a"));
    watcher.TriggerUpdate();
    EXPECT_EQ(watcher.updates, 1);
    JobList::Get().RefreshJob(UID::FromName("b"));
    watcher.TriggerUpdate();
    EXPECT_EQ(watcher.updates, 2);
    watcher.SetJobA(nullptr);
    JobList::Get().RefreshJob(UID::FromName("b"));
    watcher.TriggerUpdate();
    EXPECT_EQ(watcher.updates, 2);
}

TEST_F(ListsTest, PoolNames) {
    UID const pool = UID::FromName("pool");
    UID const engine = UID::FromName("engine");
    EXPECT_EQ(mirror.NameOfPool(UID::Null), "Whole System") << "the Master has not said anything";
    for (auto const& [value, name] : std::initializer_list<std::pair<char const*, char const*>>{
             {"0", "None"}, {"1", "Whole System"}, {"false", "None"}, {"true", "Whole System"}}) {
        mirror.Master().MergeOptions({{o_UseWholeSystem, value}});
        EXPECT_EQ(mirror.NameOfPool(UID::Null), name) << value;
    }
    LogLines log(LogLevel::Info);
    ChangePoolEvt(pool, "Fast").Trigger();
    EXPECT_EQ(mirror.NameOfPool(pool), "Fast");
    ChangePoolEvt(pool, "Faster").Trigger();
    EXPECT_EQ(mirror.NameOfPool(pool), "Faster");
    EXPECT_EQ(CountLines(log, "Added pool Fast"), 2u);
    DeletePoolEvt(pool, "Faster").Trigger();
    EXPECT_EQ(CountLines(log, "Deleted pool Faster"), 1u);
    EXPECT_EQ(mirror.NameOfPool(pool), pool.ToString());
    EXPECT_EQ(mirror.NameOfPool(engine), engine.ToString());
    Engine record(engine);
    record.SetName("node-4");
    EngineList::Get().InsertEngine(record);
    EXPECT_EQ(mirror.NameOfPool(engine), "node-4");
}

} // namespace vorlan
