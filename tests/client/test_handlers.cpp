// What the messages do beyond the lists' own rows: the Master's settings, Pools, units that
// share their Job's values, Engines' logs, the marks for the displays, and what a client
// still believes after it has asked for everything anew.
#include "clienttest.h"

#include "model/enginewatcher.h"
#include "model/jobwatcher.h"
#include "rows/rowkinds.h"

#include <corekit/tick.h>

namespace vorlan::test_handlers {

using testing::ElementsAre;

struct PoolEvents : HasSlots<> {
    PoolEvents() {
        ChangePoolEvt::Signal().Connect(this, [this](ChangePoolEvt& event) { seen.push_back("is " + event.name); });
        DeletePoolEvt::Signal().Connect(
            this, [this](DeletePoolEvt& event) { seen.push_back((event.known ? "was " : "no ") + event.name); });
    }
    ~PoolEvents() override { DisconnectAll(); }
    std::vector<String> seen;
};

// The FarmClient with the windows' part written down.
struct Noting : FarmClient {
    ~Noting() override { DisconnectAll(); }
    void ResetIdleTime() override { seen.push_back("heard"); }
    void OnRestrictionsChanged() override { seen.push_back("restrictions"); }
    void ShowReport(String const& title, String const& text) override { seen.push_back(title + "|" + text); }
    std::vector<String> seen;
};

class HandlersTest : public MirrorTest {};

TEST_F(HandlersTest, TheMastersSettingsAreKept) {
    UID const product = UID::FromName("product");
    Rows<String, OptionMap> const said = {
        {o_Distribution, {{"FIFO", "1"}, {"Other", "x"}}},    {o_Distribution, {{"fifo", "0"}}},
        {"distribution", {{"Other", "not this section"}}},    {"Elsewhere", {{"Other", "nor this one"}}},
        {product.ToString(), {{"Path", "/a"}, {"Old", "1"}}}, {product.ToString(), {{"Path", "/b"}}}};
    for (auto const& [section, options] : said)
        Say<SetMasterOptionsMsg>(section, options);
    EXPECT_EQ(mirror.Master().Options(), (OptionMap{{"FIFO", "0"}, {"Other", "x"}}));
    EXPECT_EQ(mirror.Master().ProductOptions(product), (OptionMap{{"Path", "/b"}})) << "as a whole";
    std::map<UID, int> const limits{{UID::FromName("b"), 5}};
    Say<SetMasterLimitsMsg>(std::map<UID, int>{{UID::FromName("a"), 3}});
    Say<SetMasterLimitsMsg>(limits);
    EXPECT_EQ(mirror.Master().Limits(), limits) << "as a whole";
    // What stands for no Pool has another name, by which rows may be sorted.
    uint32_t const names = CountNameChanges();
    Say<SetMasterOptionsMsg>(o_Distribution, OptionMap{{o_UseWholeSystem, k_No}});
    EXPECT_EQ(PoolName(UID::Null), "None");
    EXPECT_NE(CountNameChanges(), names);
}

TEST_F(HandlersTest, TheWindowsHearWhatConcernsThem) {
    Noting windows;
    windows.ConnectMessages();
    Say<SetMasterRestrictionsMsg>(CommandRestrictions{{"DeleteJob", true}});
    EXPECT_TRUE(windows.Master().Restricts("deletejob"));
    Say<DispatchResultMsg>("line one\nline two");
    Say<MasterInfoMsg>();
    Say<MasterDefaultStartupMsg>();
    LogLines log(LogLevel::Info);
    Say<MasterLogsMsg>(std::vector<String>{"a line of its log"});
    EXPECT_TRUE(log.Has("Master: a line of its log"));
    EXPECT_THAT(windows.seen, ElementsAre("restrictions", "Dispatch Report|line one\nline two", "heard", "heard"));
}

TEST_F(HandlersTest, PoolsComeAndGoByEvents) {
    UID const known = UID::FromName("known");
    UID const unknown = UID::FromName("unknown");
    PoolEvents events;
    Say<PoolMsg>(std::map<UID, String>{{known, "Fast"}});
    for (UID const& pool : {known, known, unknown})
        Say<DeletePoolMsg>(pool);
    EXPECT_THAT(events.seen, ElementsAre("is Fast", "was Fast", "no " + known.ToString(), "no " + unknown.ToString()));
    EXPECT_TRUE(PoolTable::Get().All().empty());
}

TEST_F(HandlersTest, ResetFailuresAreToldToBothSides) {
    UID const engine = AddEngine("engine");
    auto const info = AddJob("job");
    UID const& job = info->job->id;
    Counting<JobWatcher> jobWatcher(info);
    Counting<EngineWatcher> engineWatcher(EngineList::Get().FindEngine(engine));
    for (int reset = 1; reset <= 2; ++reset) {
        Failures::Add(job, UID::FromName("product"), engine, Time(1));
        reset == 1 ? Say<ResetEngineFailuresMsg>(engine) : Say<ResetJobFailuresMsg>(job);
        EXPECT_EQ(Failures::JobFailureCount(job), 0u);
        Tick::s_Timer0250.Emit();
        EXPECT_EQ(std::tuple(jobWatcher.updates, engineWatcher.updates), std::tuple(reset, reset));
    }
}

// The Master keeps what counts against an Engine, and forgets the rest with its Job.
TEST_F(HandlersTest, FailuresGoWithTheirJobs) {
    UID const engine = AddEngine("engine");
    for (char const* const name : {"reset", "counting"})
        Failures::Add(AddJob(name)->job->id, UID::FromName("product"), engine, Time(1));
    Say<ResetJobFailuresMsg>(UID::FromName("reset"));
    for (char const* const name : {"reset", "counting"})
        DeleteJob(UID::FromName(name));
    ASSERT_EQ(Failures::All().size(), 1U);
    EXPECT_EQ(Failures::All()[0].job, UID::FromName("counting"));
    Say<ResetEngineFailuresMsg>(engine);
    EXPECT_TRUE(Failures::All().empty());

    Failures::Add(AddJob("job")->job->id, UID::FromName("product"), engine, Time(1));
    RemoveEngine(engine);
    EXPECT_TRUE(Failures::All().empty());
}

TEST_F(HandlersTest, UnitsShareTheirJobsValues) {
    auto product = boost::make_shared<Product>("Painter", UID::FromName("painter"), false);
    product->NewParam(Parameter::t_Text).SetName("Scene");
    product->NewParam(Parameter::t_Text).SetName(p_Name);
    MutableParameterInfo seed = product->NewParam(Parameter::t_Signed);
    seed.SetName("Seed");
    seed.SetFlags(Parameter::f_JobParameter | Parameter::f_NoParentUpdate);
    product->ClearCache();
    JobFactory::s_JobFactory->SetProduct(product);
    auto const job = AddJob("job")->job;
    auto const unit = Unit("unit", job->id);
    for (auto const& each : {job, unit})
        each->SetParameter(p_Type, product->Type().ToString());
    unit->SetParameter("Seed", "1");
    Assign(unit, AddEngine("engine"));
    View view;
    WorkList::Get().Lists().Add(&view);
    view.TakeDirty();

    for (auto const& [name, shared] :
         Rows<char const*, bool>{{"Scene", true}, {"Seed", false}, {"Nothing", false}, {p_Name, false}}) {
        Value(job->id, name, "one value");
        EXPECT_EQ(unit->Get(name, false) == "one value", shared) << name;
        EXPECT_EQ(view.TakeDirty(), shared) << name;
    }
    auto const whole = NewJob("job", Paused);
    whole->SetValues({{p_Type, product->Type().ToString()}, {"Scene", "whole"}, {"Seed", "2"}});
    Say<JobMsg>(whole);
    EXPECT_EQ(std::tuple(unit->Get("Scene", false), unit->Get("Seed", false), unit->Name(), unit->Status()),
              std::tuple("whole", "1", "unit", int{Assigned}));
    EXPECT_TRUE(view.TakeDirty());
    WorkList::Get().Lists().Remove(&view);
    JobFactory::s_JobFactory->RemoveProduct(product->Type());
}

TEST_F(HandlersTest, AnEnginesLogKeepsItsLastLines) {
    UID const id = AddEngine("engine");
    std::vector<UID> changes;
    struct : HasSlots<> {
    } listener;
    EngineList::Get().LogChanged().Connect(&listener, [&](UID const& engine) { changes.push_back(engine); });
    k_OptionMaxEngineHistoryItems.Set(2);
    for (UID const& engine : {id, UID::FromName("nobody")}) {
        EngineHistory history;
        for (char const* line : {"1", "2", "3"})
            history.Push({Time(1), line}, 100);
        Say<EngineHistoryMsg>(engine, history);
        Say<EngineHistoryElementMsg>(engine, EngineHistoryElement{Time(2), "4"});
    }
    auto const info = EngineList::Get().FindEngine(id);
    ASSERT_EQ(info->history.size(), 2u);
    EXPECT_EQ(info->history[0].message + info->history[1].message, "34");
    EXPECT_EQ(changes, (std::vector<UID>{id, id}));
}

TEST_F(HandlersTest, WhatMayShowInARowMarksTheDisplays) {
    View jobs;
    View engines;
    JobList::Get().Lists().Add(&jobs);
    EngineList::Get().Lists().Add(&engines);
    jobs.TakeDirty();
    engines.TakeDirty();
    Finish(UID::FromName("unknown"), Finished);
    EXPECT_TRUE(jobs.TakeDirty() && engines.TakeDirty());
    CommonEngine::SetDefaultEngine(Engine());
    EXPECT_FALSE(jobs.TakeDirty());
    EXPECT_TRUE(engines.TakeDirty()) << "what the Engines follow of it shows in their rows";
    JobList::Get().Lists().Remove(&jobs);
    EngineList::Get().Lists().Remove(&engines);
}

TEST_F(HandlersTest, WhatWentAwayWithoutAWordIsForgotten) {
    auto pools = PoolMsg::New();
    pools->pools = {{UID::FromName("stays"), "Stays"}, {UID::FromName("goes"), "Goes"}};
    Say(pools);
    UID const engine = AddEngine("engine");
    Assign(Unit("unit", AddJob("job")->job->id), engine);

    Say<SetMasterOptionsMsg>(o_Distribution, OptionMap{{o_UseWholeSystem, "0"}});
    EXPECT_EQ(PoolName(UID::Null), "None");

    mirror.Reload();
    EXPECT_TRUE(Jobs::GetAllJobs().empty() && !EngineList::Get().FindEngine(engine));
    EXPECT_EQ(WorkList::Get().Count(), 0U);
    pools->pools.erase(UID::FromName("goes"));
    Say(pools);
    EXPECT_EQ(PoolTable::Get().All(), pools->pools);
    EXPECT_EQ(mirror.Master().Options(), OptionMap()) << "this may be another Master";
    EXPECT_EQ(PoolName(UID::Null), "Whole System");

    std::vector<String> const steps = outside.TakeSteps();
    EXPECT_EQ(steps.front(), "send NotifyOnEventMsg") << "no event may be missed between the load and the listening";
    EXPECT_EQ(steps.back(), "send GetJobInfoMsg") << "units need their Engines";
}

} // namespace vorlan::test_handlers
