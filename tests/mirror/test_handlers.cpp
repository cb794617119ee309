// What the messages do beyond the lists' own rows: the Master's settings, Pools, units that
// share their Job's values, Engines' logs, and the marks for the displays.
#include "mirrortest.h"

#include "model/enginewatcher.h"
#include "model/jobwatcher.h"

#include <corekit/tick.h>
#include <vorlan/events.h>
#include <vorlan/failures.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/product.h>

namespace vorlan {

using corekit::LogLevel;
using corekit::LogLines;

namespace {

struct PoolEvents : HasSlots<> {
    PoolEvents() {
        ChangePoolEvt::Signal().Connect(this, [this](ChangePoolEvt& event) { seen.push_back("is " + event.name); });
        DeletePoolEvt::Signal().Connect(
            this, [this](DeletePoolEvt& event) { seen.push_back((event.known ? "was " : "no ") + event.name); });
    }
    ~PoolEvents() override { DisconnectAll(); }
    std::vector<String> seen;
};

// The Mirror with the windows' part written down.
struct Noting : Mirror {
    ~Noting() override { DisconnectAll(); }
    void ResetIdleTime() override { seen.push_back("heard"); }
    void OnRestrictionsChanged() override { seen.push_back("restrictions"); }
    void ShowReport(String const& title, String const& text) override { seen.push_back(title + "|" + text); }
    std::vector<String> seen;
};

} // namespace

class HandlersTest : public MirrorTest {
protected:
    static void SetOptions(String const& section, OptionMap const& options) {
        auto message = SetMasterOptionsMsg::New();
        message->section = section;
        message->options = options;
        SetMasterOptionsMsg::s_Signal.Emit(message);
    }
};

TEST_F(HandlersTest, TheMastersSettingsAreKept) {
    UID const product = UID::FromName("product");
    SetOptions(o_Distribution, {{"FIFO", "1"}, {"Other", "x"}});
    SetOptions(o_Distribution, {{"fifo", "0"}});
    SetOptions("distribution", {{"Other", "not this section"}});
    SetOptions("Elsewhere", {{"Other", "nor this one"}});
    SetOptions(product.ToString(), {{"Path", "/a"}, {"Old", "1"}});
    SetOptions(product.ToString(), {{"Path", "/b"}});
    EXPECT_EQ(mirror.Master().Options(), (OptionMap{{"FIFO", "0"}, {"Other", "x"}}));
    EXPECT_EQ(mirror.Master().ProductOptions(product), (OptionMap{{"Path", "/b"}})) << "as a whole";

    for (int const limit : {3, 5}) {
        auto message = SetMasterLimitsMsg::New();
        message->limits[UID::FromName(limit == 3 ? "a" : "b")] = limit;
        SetMasterLimitsMsg::s_Signal.Emit(message);
    }
    EXPECT_EQ(mirror.Master().Limits(), (corekit::map<UID, int>{{UID::FromName("b"), 5}})) << "as a whole";
}

TEST_F(HandlersTest, TheWindowsHearWhatConcernsThem) {
    Noting windows;
    windows.ConnectMessages();
    auto restrictions = SetMasterRestrictionsMsg::New();
    restrictions->restrictions["DeleteJob"] = true;
    SetMasterRestrictionsMsg::s_Signal.Emit(restrictions);
    EXPECT_TRUE(windows.Master().Restricts("deletejob"));
    auto report = DispatchResultMsg::New();
    report->report = "line one\nline two";
    DispatchResultMsg::s_Signal.Emit(report);
    MasterInfoMsg::s_Signal.Emit(MasterInfoMsg::New());
    MasterDefaultStartupMsg::s_Signal.Emit(MasterDefaultStartupMsg::New());
    EXPECT_EQ(windows.seen,
              (std::vector<String>{"restrictions", "Dispatch Report|line one\nline two", "heard", "heard"}));
}

TEST_F(HandlersTest, PoolsComeAndGoByEvents) {
    UID const known = UID::FromName("known");
    UID const unknown = UID::FromName("unknown");
    PoolEvents events;
    auto pools = PoolMsg::New();
    pools->pools[known] = "Fast";
    PoolMsg::s_Signal.Emit(pools);
    for (UID const& pool : {known, known, unknown}) {
        auto message = DeletePoolMsg::New();
        message->pool = pool;
        DeletePoolMsg::s_Signal.Emit(message);
    }
    EXPECT_EQ(events.seen,
              (std::vector<String>{"is Fast", "was Fast", "no " + known.ToString(), "no " + unknown.ToString()}));
    EXPECT_TRUE(mirror.Pools().empty());
}

TEST_F(HandlersTest, ResetFailuresAreToldToBothSides) {
    Failures::Clear();
    UID const engineID = AddEngine("engine");
    auto const job = NewJob("job");
    JobList::Get().InsertJob(job);
    Counting<JobWatcher> jobWatcher(Jobs::FindJobInfo(job->id));
    Counting<EngineWatcher> engineWatcher(EngineList::Get().FindEngine(engineID));
    auto const fail = [&] { Failures::Add(job->id, UID::FromName("product"), engineID, Time(1)); };
    fail();
    auto ofEngine = ResetEngineFailuresMsg::New();
    ofEngine->engine = engineID;
    ResetEngineFailuresMsg::s_Signal.Emit(ofEngine);
    EXPECT_EQ(Failures::JobFailureCount(job->id), 0u);
    Tick::s_Timer0250.Emit();
    EXPECT_EQ(jobWatcher.updates, 1);
    EXPECT_EQ(engineWatcher.updates, 1);
    fail();
    auto ofJob = ResetJobFailuresMsg::New();
    ofJob->job = job->id;
    ResetJobFailuresMsg::s_Signal.Emit(ofJob);
    EXPECT_EQ(Failures::JobFailureCount(job->id), 0u);
    Tick::s_Timer0250.Emit();
    EXPECT_EQ(jobWatcher.updates, 2);
    EXPECT_EQ(engineWatcher.updates, 2);
    Failures::Clear();
}

TEST_F(HandlersTest, UnitsShareTheirJobsValues) {
    auto product = boost::make_shared<Product>("Painter", UID::FromName("painter"), false);
    product->NewParam(Parameter::t_Text).SetName("Scene");
    MutableParameterInfo seed = product->NewParam(Parameter::t_Signed);
    seed.SetName("Seed");
    seed.SetFlags(Parameter::f_JobParameter | Parameter::f_NoParentUpdate);
    product->ClearCache();
    JobFactory::s_JobFactory->SetProduct(product);
    UID const engine = AddEngine("engine");
    auto const job = NewJob("job");
    job->SetParameter(p_Type, product->Type().ToString());
    JobList::Get().InsertJob(job);
    auto const unit = Unit("unit", job);
    unit->SetParameter(p_Type, product->Type().ToString());
    unit->SetParameter("Seed", "1");
    Assign(unit, engine);
    View view;
    WorkList::Get().Lists().Add(&view);
    view.TakeDirty();

    struct Case {
        char const* name;
        bool shared;
    };
    for (Case const& c : {Case{"Scene", true}, Case{"Seed", false}, Case{"Nothing", false}}) {
        auto message = JobParameterMsg::New();
        message->job = job->id;
        message->name = c.name;
        message->value = "one value";
        JobParameterMsg::s_Signal.Emit(message);
        EXPECT_EQ(unit->Get(c.name, false) == "one value", c.shared) << c.name;
        EXPECT_EQ(view.TakeDirty(), c.shared) << c.name;
    }
    auto const whole = NewJob("job", Paused);
    whole->SetParameter(p_Type, product->Type().ToString());
    whole->SetParameter("Scene", "whole");
    whole->SetParameter("Seed", "2");
    JobMsg::s_Signal.Emit(JobMsg::Create(whole));
    EXPECT_EQ(unit->Get("Scene", false), "whole");
    EXPECT_EQ(unit->Get("Seed", false), "1");
    EXPECT_EQ(unit->Name(), "unit");
    EXPECT_EQ(unit->Status(), Assigned);
    EXPECT_TRUE(view.TakeDirty());
    WorkList::Get().Lists().Remove(&view);
    JobFactory::s_JobFactory->RemoveProduct(product->Type());
}

TEST_F(HandlersTest, AnEnginesLogKeepsItsLastLines) {
    UID const id = AddEngine("engine");
    struct Changes : HasSlots<> {
        Changes() { EngineList::Get().LogChanged().Connect(this, &Changes::OnChange); }
        ~Changes() override { DisconnectAll(); }
        void OnChange(UID const& engine) { seen.push_back(engine); }
        std::vector<UID> seen;
    } changes;
    auto whole = EngineHistoryMsg::New();
    whole->engine = id;
    for (char const* line : {"1", "2", "3"})
        whole->history.Push({Time(1), line}, 100);
    EngineHistoryMsg::s_Signal.Emit(whole);
    Options().SetValue(o_Setup, o_MaxEngineHistoryItems, 2);
    auto more = EngineHistoryElementMsg::New();
    more->engine = id;
    more->element = {Time(2), "4"};
    EngineHistoryElementMsg::s_Signal.Emit(more);
    auto const info = EngineList::Get().FindEngine(id);
    ASSERT_EQ(info->history.size(), 2u);
    EXPECT_EQ(info->history[0].message, "3");
    EXPECT_EQ(info->history[1].message, "4");
    whole->engine = more->engine = UID::FromName("nobody");
    EngineHistoryMsg::s_Signal.Emit(whole);
    EngineHistoryElementMsg::s_Signal.Emit(more);
    EXPECT_EQ(changes.seen, (std::vector<UID>{id, id}));
}

TEST_F(HandlersTest, WhatMayShowInARowMarksTheDisplays) {
    View jobs;
    View engines;
    JobList::Get().Lists().Add(&jobs);
    EngineList::Get().Lists().Add(&engines);
    jobs.TakeDirty();
    engines.TakeDirty();
    Finish(UID::FromName("unknown"), Finished);
    EXPECT_TRUE(jobs.TakeDirty());
    EXPECT_TRUE(engines.TakeDirty());
    CommonEngine::SetDefaultEngine(Engine());
    EXPECT_FALSE(jobs.TakeDirty());
    EXPECT_TRUE(engines.TakeDirty()) << "what the Engines follow of it shows in their rows";
    JobList::Get().Lists().Remove(&jobs);
    EngineList::Get().Lists().Remove(&engines);
}

TEST_F(HandlersTest, AJobIsNoLongerActiveWithoutItsEngine) {
    auto const job = NewJob("job");
    JobList::Get().InsertJob(job);
    UID const gone = AddEngine("gone");
    UID const there = AddEngine("there");
    Assign(Unit("a", job), gone);
    Assign(Unit("b", job), there);
    for (auto const& [engine, status] : {std::pair(gone, "1 Active"), std::pair(there, "Queued")}) {
        auto message = RemoveEngineMsg::New();
        message->engine = engine;
        RemoveEngineMsg::s_Signal.Emit(message);
        EXPECT_EQ(Jobs::FindJobInfo(job->id)->Status(), status);
    }
}

} // namespace vorlan
