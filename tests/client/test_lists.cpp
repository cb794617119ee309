// The mirrored lists: what messages do to them and what they tell.
#include "clienttest.h"

#include "model/enginewatcher.h"
#include "model/history.h"
#include "model/jobwatcher.h"

#include <corekit/tick.h>

namespace vorlan::test_lists {

using testing::ElementsAre;

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

// "total active finished".
String Counts() {
    size_t total, active, finished;
    Jobs::GetCounts(total, active, finished);
    return SFormat("%zu %zu %zu", total, active, finished);
}

class ListsTest : public MirrorTest {};

TEST_F(ListsTest, JobsAreNewChangedFinishedAndRemoved) {
    EXPECT_EQ(Counts(), "0 0 0");
    Events events;
    auto const a = NewJob("a");
    Say<JobMsg>(a);
    Say<JobMsg>(NewJob("b"));
    auto const info = Jobs::FindJobInfo(a->id);
    ASSERT_TRUE(info);
    {
        RWLock::Writer const writer(info->lock);
        info->elementWork.insert(UID::FromName("element"));
    }
    auto const changed = NewJob("a");
    changed->SetParameter(p_Note, "changed");
    Say<JobMsg>(changed);
    EXPECT_EQ(Jobs::GetJobA(a->id), a) << "the Job itself is updated, not replaced";
    EXPECT_EQ(a->Note(), "changed");

    Say<FinishedJobMsg>(NewJob("a", Finished));
    EXPECT_EQ(Counts(), "2 0 1");
    EXPECT_EQ(Jobs::FindJobInfo(a->id), info) << "the Job moves with all that is known of it";
    EXPECT_EQ(Jobs::GetFinishedIDs(), std::vector<UID>{a->id});
    EXPECT_EQ(Jobs::GetAllJobs(), (std::vector<UID>{UID::FromName("b"), a->id})) << "the finished ones are last";

    DeleteJob(a->id);
    LogLines log(LogLevel::Info);
    DeleteJob(a->id);
    EXPECT_EQ(CountLines(log, "Removing Job: *** Unknown Job ***"), 1u);
    EXPECT_THAT(events.seen, ElementsAre("new a", "new b", "changed a", "changed a", "finished a", "deleting a",
                                         "deleting nothing"));
}

TEST_F(ListsTest, AJobThatComesBackIsNew) {
    auto const former = AddJob("a", Finished);
    EXPECT_NE(AddJob("a"), former);
    EXPECT_EQ(Counts(), "2 0 1");
    JobList::Get().RemoveJob(UID::FromName("a"));
    EXPECT_EQ(Counts(), "0 0 0") << "both entries go";
}

TEST_F(ListsTest, AValueThatOvertakesItsJobIsAskedForEachTime) {
    UID const id = UID::FromName("a");
    Value(id, p_Note, "x");
    Value(id, p_Note, "x");
    ASSERT_EQ(outside.TakeSteps(), (std::vector<String>{"send GetJobInfoMsg", "send GetJobInfoMsg"}));
    auto const request = boost::dynamic_pointer_cast<GetJobInfoMsg>(outside.Sent().front());
    EXPECT_EQ(request->ids, std::set<UID>{id});
    EXPECT_TRUE(request->wantJob && request->wantHistory && !request->all);
    auto const info = AddJob("a");
    Value(id, p_Note, "x");
    EXPECT_EQ(info->job->Note(), "x");
    EXPECT_EQ(outside.Sent().size(), 2u);
}

TEST_F(ListsTest, WorkComesAndGoes) {
    UID const engine = AddEngine("engine");
    auto const info = AddJob("job");
    UID const& job = info->job->id;
    LogLines log(LogLevel::Info);
    auto const unit = Unit("unit", job);
    Assign(unit, engine);
    Assign(unit, engine);
    EXPECT_EQ(CountLines(log, "Work 'unit' not assigned to Engine 'engine': Assigned"), 2u);
    EXPECT_EQ(WorkList::Get().Count(), 1u) << "the same unit again takes the place of the former one";
    EXPECT_EQ(WorkList::Get().GetJobCurrentCount(job) + WorkList::Get().GetEngineCurrentCount(engine), 2u);
    EXPECT_EQ(Counts(), "1 1 0");

    Finish(unit->id, Unsuccessful);
    EXPECT_EQ(WorkList::Get().Count(), 0u);
    EXPECT_EQ(Counts(), "1 0 0");
    EXPECT_EQ(EngineList::Get().FindEngine(engine)->DisplayFailures(), "1 Failure (1 Job 1 Product)");
    EXPECT_EQ(CountLines(log, ("Removing work: {" + unit->id.ToString() + "} unit: engine").c_str()), 1u);

    size_t const lines = log.Get().size();
    UID jobID;
    UID engineID;
    EXPECT_FALSE(WorkList::Get().RemoveWork(UID::FromName("unknown"), jobID, engineID));
    EXPECT_TRUE(jobID.IsNull() && engineID.IsNull());
    EXPECT_EQ(log.Get().size(), lines);
}

TEST_F(ListsTest, WorkOfUnknownsIsDiscarded) {
    UID const engine = AddEngine("engine");
    UID const nobody = UID::FromName("nobody");
    UID const job = UID::FromName("job");
    LogLines log(LogLevel::Error);
    Assign(Unit("orphan", job), engine);
    AddJob("job");
    Assign(Unit("homeless", job), nobody);
    Say<StartedWorkMsg>(Unit("homeless", job), nobody);
    EXPECT_EQ(WorkList::Get().Count(), 0u);
    EXPECT_THAT(log.Get(),
                ElementsAre("Received work 'orphan' for unknown job: " + job.ToString() + " ... discarding",
                            "Received work 'homeless' for unknown engine: " + job.ToString() + " ... discarding",
                            "Received work 'homeless' for unknown engine: " + nobody.ToString() + " ... discarding"));
}

TEST_F(ListsTest, WorkOfAJobOrAnEngineGoesWithIt) {
    UID const first = AddEngine("first");
    UID const second = AddEngine("second");
    auto const a = AddJob("a");
    auto const b = AddJob("b");
    Rows<char const*, boost::shared_ptr<JobInfo>, UID, char const*> const units = {
        {"a1", a, first, "10"}, {"a2", a, second, "20"}, {"b1", b, first, "30"}};
    for (auto const& [name, job, engine, priority] : units) {
        auto const unit = Unit(name, job->job->id);
        unit->SetParameter(p_Priority, priority);
        Assign(unit, engine);
    }
    EXPECT_EQ(WorkList::Get().GetAllWorkForJob(a->job->id).size(), 2u);
    EXPECT_EQ(WorkList::Get().GetAllWorkForEngine(first).size(), 2u);
    for (auto const& [priority, count] : Rows<int, size_t>{{10, 0}, {11, 1}, {30, 2}})
        EXPECT_EQ(WorkList::Get().WorkUnderPriority(priority).size(), count) << priority;

    RemoveEngine(first);
    EXPECT_EQ(WorkList::Get().Count(), 1u);
    EXPECT_FALSE(EngineList::Get().FindEngine(first));
    EXPECT_EQ(a->Status(), "1 Active");
    EXPECT_EQ(b->Status(), "Queued") << "no longer active without its Engine";
    DeleteJob(a->job->id);
    EXPECT_EQ(WorkList::Get().Count(), 0u);
}

TEST_F(ListsTest, TimeRunsFromTheStartElseFromTheMaking) {
    UID const engine = AddEngine("engine");
    UID const job = AddJob("job")->job->id;
    auto const unit = Unit("unit", job);
    unit->SetCreated(Time(1'000'000));
    Assign(unit, engine);
    auto const info = WorkList::Get().FindWork(unit->id);
    EXPECT_EQ(info->Elapsed(Time(1'060'000)), Time(60'000));
    Element("unit", job, Assigned, Time(1'040'000));
    EXPECT_EQ(info->Elapsed(Time(1'060'000)), Time(60'000));
    Element("unit", job, Started, Time(1'050'000));
    EXPECT_EQ(info->Elapsed(Time(1'060'000)), Time(10'000));
    EXPECT_EQ(WorkInfo().Elapsed(Time(5)), Time());
}

TEST_F(ListsTest, AHistoryIsAskedForOnce) {
    auto const info = AddJob("job");
    // Units that this client has never heard of.
    for (char const* frame : {"1", "2", "3"})
        Element(frame, info->job->id, Started, Time(1000), frame);
    ASSERT_EQ(outside.TakeSteps(), std::vector<String>{"send GetJobInfoMsg"});
    auto const request = boost::dynamic_pointer_cast<GetJobInfoMsg>(outside.Sent().front());
    EXPECT_TRUE(request->wantHistory && !request->wantJob);
    EXPECT_EQ(std::tuple(info->elementWork.size(), info->history.size()), std::tuple(size_t{3}, size_t{3}));
    info->RequestHistory(true);
    info->RequestHistory(false);
    EXPECT_TRUE(info->IsHistoryHeld()) << "somebody else still holds it";
    EXPECT_TRUE(outside.TakeSteps().empty());
    info->UnlockHistory();
    EXPECT_FALSE(info->IsHistoryHeld());

    LogLines log(LogLevel::Warning);
    JobInfo().RequestHistory(false);
    EXPECT_EQ(CountLines(log, "Unable to request history for an empty job"), 1u);
    Element("unit", UID::FromName("nothing"));
    EXPECT_EQ(CountLines(log, "Received history element for unknown Job!"), 1u);
}

TEST_F(ListsTest, EnginesKeepTheirExtrasAndOptionsSkipTheGone) {
    UID const engine = AddEngine("engine");
    auto const info = EngineList::Get().FindEngine(engine);
    UID const product = UID::FromName("product");
    LogLines log(LogLevel::Warning);
    Say<EngineOptionsMsg>(std::set<UID>{UID::FromName("gone"), engine}, product, OptionMap{{"Path", "/opt"}});
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
    AddJob("a");
    AddJob("b");
    EXPECT_TRUE(first.TakeDirty() && !first.TakeDirty());
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
    EXPECT_EQ(std::tuple(first.cleared, second.cleared), std::tuple(0, 1));
    lists.Remove(&second);
}

TEST_F(ListsTest, AWatcherHearsOfItsJobAlone) {
    auto const a = AddJob("a");
    auto const b = AddJob("b");
    Counting<JobWatcher> watcher(a);
    using Info = boost::shared_ptr<JobInfo>;
    Rows<Info, Info, int> const cases = {{a, b, 0}, {a, a, 1}, {b, a, 1}, {b, b, 2}, {nullptr, b, 2}};
    for (auto const& [watched, refreshed, updates] : cases) {
        watcher.SetJobA(watched);
        for (int i = 0; i < 2; ++i)
            JobList::Get().RefreshJob(refreshed->job->id);
        Tick::s_Timer0250.Emit();
        EXPECT_EQ(watcher.updates, updates) << "any number of changes between two ticks is one update";
    }
}

// A graph holds its Job through a whole draw and looks up whatever it names.
TEST_F(ListsTest, ADisplayLooksThingsUpInTheMiddleOfAnUpdate) {
    struct Looking : JobWatcher {
        using JobWatcher::JobWatcher;
        void Update() override {
            UID const& job = Watched()->job->id;
            boost::shared_ptr<EngineInfo> const engine = EngineList::Get().FindEngine(UID::FromName("engine"));
            seen = PoolName(UID::FromName("deleted pool")) + " " + engine->Name() + " " + Jobs::GetJobA(job)->Name() +
                   " " + WorkList::Get().FindWork(UID::FromName("unit"))->work->Name() + " " +
                   String::From(Failures::JobFailureCount(job));
        }
        String seen;
    } display(AddJob("job"));
    Assign(Unit("unit", UID::FromName("job")), AddEngine("engine"));
    JobList::Get().RefreshJob(UID::FromName("job"));
    Tick::s_Timer0250.Emit();
    EXPECT_EQ(display.seen, UID::FromName("deleted pool").ToString() + " engine job unit 0");
}

TEST_F(ListsTest, PoolNames) {
    UID const pool = UID::FromName("pool");
    EXPECT_EQ(PoolName(UID::Null), "Whole System") << "the Master has not said anything";
    for (auto const& [value, name] : Rows<char const*, char const*>{
             {"0", "None"}, {"1", "Whole System"}, {"false", "None"}, {"true", "Whole System"}}) {
        Say<SetMasterOptionsMsg>(o_Distribution, OptionMap{{o_UseWholeSystem, value}});
        EXPECT_EQ(PoolName(UID::Null), name) << value;
    }
    LogLines log(LogLevel::Info);
    ChangePoolEvt(pool, "Fast").Trigger();
    EXPECT_EQ(PoolName(pool), "Fast");
    ChangePoolEvt(pool, "Faster").Trigger();
    EXPECT_EQ(PoolName(pool), "Faster");
    EXPECT_EQ(CountLines(log, "Added pool Fast"), 2u);
    DeletePoolEvt(pool, "Faster").Trigger();
    EXPECT_EQ(CountLines(log, "Deleted pool Faster"), 1u);
    EXPECT_EQ(PoolName(pool), pool.ToString());
    EXPECT_EQ(PoolName(AddEngine("node-4")), "node-4");
}

} // namespace vorlan::test_lists
