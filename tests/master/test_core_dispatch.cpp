// Who gets which work, and why not.
#include "corefarm.h"
#include "rows.h"

namespace farm::test_core_dispatch {

TEST(CoreDispatch, ServesJobsInTheirOrder) {
    struct Case {
        char const* what;
        CoreFarm::Values options;
        char const* units; // of four cores, with Jobs a, b and c of two single frames waiting
    };
    for (Case const& c : {Case{"priority, then first in, first out", {}, "b:1 b:2 a:1 a:2"},
                          Case{"round robin", {{o_FIFO, k_No}}, "b:1 b:2 a:1 c:1"},
                          Case{"boost of one packet", {{o_GlobalPriorityBoost, "1"}}, "b:1 b:2 a:1 c:1"}}) {
        CoreFarm farm;
        farm.SetOptions(o_Distribution, c.options);
        farm.Submit("a", {{p_Range, "1-2"}});
        farm.Submit("b", {{p_Range, "1-2"}, {p_Priority, "60"}});
        farm.Submit("c", {{p_Range, "1-2"}});
        farm.AddEngine("e", 4);
        EXPECT_EQ(farm.UnitsOn("e"), c.units) << c.what;
    }
}

TEST(CoreDispatch, FollowsTheEnginesPools) {
    UID const p1 = UID::FromName("p1");
    UID const p2 = UID::FromName("p2");
    for (bool const ignores : {false, true}) {
        CoreFarm farm;
        farm.SetOptions(o_Distribution, {{o_IgnorePoolPriority, ignores ? k_Yes : k_No}});
        farm.AddEngine("e", 3);
        farm.ChangeEngine("e", [&](Engine& engine) {
            engine.SetEnabled(false);
            engine.SetPools({p2, p1});
        });
        farm.Submit("whole", {{p_Priority, "90"}, {p_Range, "1"}});
        farm.Submit("one", {{p_Pool, p1.ToString()}, {p_Priority, "80"}, {p_Range, "1"}});
        farm.Submit("two", {{p_Pool, p2.ToString()}, {p_Priority, "10"}, {p_Range, "1"}});
        farm.Submit("other", {{p_Pool, UID::FromName("p3").ToString()}, {p_Priority, "100"}});
        farm.ChangeEngine("e", [](Engine& engine) { engine.SetEnabled(true); });
        EXPECT_EQ(farm.UnitsOn("e"), ignores ? "whole:1 one:1 two:1" : "two:1 one:1 whole:1");
    }
}

TEST(CoreDispatch, ServesEnginesByPriorityThenFreeCores) {
    CoreFarm farm;
    farm.AddEngine("small", 2);
    farm.AddEngine("big", 4);
    farm.AddEngine("first", 1);
    farm.ChangeEngine("first", [](Engine& engine) { engine.SetPriority(99); });
    farm.Submit("a", {{p_Range, "1-5"}});
    EXPECT_EQ(farm.UnitsOn("first"), "a:1");
    EXPECT_EQ(farm.UnitsOn("big"), "a:2 a:3 a:5");
    EXPECT_EQ(farm.UnitsOn("small"), "a:4");
}

TEST(CoreDispatch, FitsCores) {
    struct Case {
        char const* what;
        CoreFarm::Values options;
        char const* cpus;
        int forced;
        size_t units;
        unsigned used;
    };
    for (Case const& c :
         {Case{"fits twice", {}, "2", -1, 2, 4}, Case{"the rest stays free", {}, "3", -1, 1, 3},
          Case{"too big", {}, "8", -1, 0, 0}, Case{"fewer", {{o_AllowFewerCPUs, k_Yes}}, "3", -1, 2, 5},
          Case{"overload", {{o_AllowFewerCPUs, k_Yes}, {o_OverloadEngine, k_Yes}}, "3", -1, 2, 6},
          Case{"all cores", {}, "0", -1, 1, 5}, Case{"forced", {}, "1", 2, 2, 4},
          Case{"forced to all", {}, "1", 0, 1, 5}, Case{"one at a time", {{o_PackEngine, k_No}}, "1", -1, 1, 1}}) {
        CoreFarm farm;
        farm.SetOptions(o_Distribution, c.options);
        farm.AddEngine("e", 5);
        farm.ChangeEngine("e", [&](Engine& engine) { engine.SetForceCores(c.forced); });
        farm.Submit("a", {{p_CPUs, c.cpus}});
        EXPECT_EQ(farm.FindEngine("e").runs.size(), c.units) << c.what;
        EXPECT_EQ(farm.FindEngine("e").used, c.used) << c.what;
    }
}

// One Engine and one Job, and a single thing that keeps them apart. The report must
// name that one.
TEST(CoreDispatch, ReportsTheFirstConditionThatSaysNo) {
    struct Case {
        char const* name; // of the condition; empty: it gets work
        CoreFarm::Values job;
        std::function<void(CoreFarm&)> before;
    };
    auto const engine = [](std::function<void(Engine&)> change) {
        return [change](CoreFarm& farm) { farm.ChangeEngine("e", change); };
    };
    auto const options = [](char const* key, char const* value) {
        return [key, value](CoreFarm& farm) { farm.SetOptions(o_Distribution, {{key, value}}); };
    };
    UID const sequence = CoreFarm::TypeOf(ProductClass::Sequence);
    std::vector<Case> const cases{
        {"", {}, {}},
        {"not paused", {{p_Status, "-1"}}, {}},
        {"not paused", {{p_Priority, "0"}}, options(o_PriorityZeroIsPaused, k_Yes)},
        {"dependencies", {{p_WaitForJobID, UID::FromName("other").ToString()}, {p_WaitForWholeJob, k_Yes}}, {}},
        {"enabled", {}, engine([](Engine& e) { e.SetEnabled(false); })},
        {"Pool", {{p_Pool, UID::FromName("pool").ToString()}}, {}},
        {"Pool", {}, options(o_UseWholeSystem, k_No)},
        {"included Engines", {{p_IncludeEngines, UID::FromName("f").ToString()}}, {}},
        {"excluded Engines", {{p_ExcludeEngines, UID::FromName("e").ToString()}}, {}},
        {"excluded Engines", {{p_ExcludeEngines, UID::FromName("pool").ToString()}}, engine([](Engine& e) {
             e.SetPools({UID::FromName("pool")});
         })},
        {"", {{p_IncludeEngines, UID::FromName("pool").ToString()}}, engine([](Engine& e) {
             e.SetPools({UID::FromName("pool")});
         })},
        {"Product enabled", {}, engine([&](Engine& e) { e.DisableProducts({sequence}); })},
        {"CPUs", {{p_CPUs, "9"}}, {}},
        {"restricted times", {}, engine([](Engine& e) {
             e.Restrict(true);
             e.RestrictDays(0x7F);
             e.RestrictTimes(Time(), Time());
             e.RestrictCores(0);
         })},
        {"creator limit", {{p_Creator, "ann"}}, options(o_UserLimits, "ann=0;an.=1;")},
    };
    for (Case const& c : cases) {
        CoreFarm farm;
        farm.Submit("other", {{p_Status, "-1"}});
        farm.AddEngine("e", 4);
        if (c.before)
            c.before(farm);
        if (String(c.name) == "creator limit")
            farm.Submit("first", {{p_Creator, "ann"}, {p_Range, "1"}});
        UID const job = farm.Submit("job", c.job);
        EXPECT_EQ(farm.FindUnit("1", "job") != nullptr, c.name[0] == '\0') << c.name;
        if (c.name[0] == '\0')
            continue;
        farm.Send(farm.client, WatchJobDispatchMsg::Create(job));
        auto const reports = farm.Sent<DispatchResultMsg>(farm.client);
        ASSERT_EQ(reports.size(), 1U);
        EXPECT_TRUE(reports[0]->report.Contains("(" + String(c.name) + ")")) << c.name << ": " << reports[0]->report;
        farm.Send(farm.client, WatchEngineDispatchMsg::Create(UID::FromName("e")));
        EXPECT_TRUE(farm.Sent<DispatchResultMsg>()[0]->report.Contains("job: no work (" + String(c.name) + ")"))
            << c.name << ": " << farm.Sent<DispatchResultMsg>()[0]->report;
    }
}

TEST(CoreDispatch, KeepsLimits) {
    struct Case {
        char const* what;
        CoreFarm::Values job;
        int productLimit;
        size_t units;
        size_t engines;
    };
    for (Case const& c :
         {Case{"units of the Job", {{p_UsageLimit, "3"}}, 0, 3, 2},
          Case{"Engines of the Job", {{p_UsageLimit, "-1"}}, 0, 4, 1}, Case{"units of the Product", {}, 5, 5, 2},
          Case{"Engines of the Product", {}, -1, 4, 1}, Case{"none", {}, 0, 8, 2}}) {
        CoreFarm farm;
        auto limits = SetMasterLimitsMsg::New();
        limits->limits[CoreFarm::TypeOf(ProductClass::Sequence)] = c.productLimit;
        farm.Send(farm.client, limits);
        farm.AddEngine("e", 4);
        farm.AddEngine("f", 4);
        UID const job = farm.Submit("a", c.job);
        EXPECT_EQ(farm.FindJob(job)->runs.size(), c.units) << c.what;
        EXPECT_EQ(farm.FindJob(job)->usage.engines.size(), c.engines) << c.what;
        if (c.units == 8)
            continue;
        // What ends makes room for as much, wherever that is.
        farm.End(farm.FindJob(job)->runs.front());
        farm.Pass(Time::Seconds(6));
        EXPECT_EQ(farm.FindJob(job)->runs.size(), c.units) << c.what;
    }
}

TEST(CoreDispatch, WaitsForOtherJobs) {
    CoreFarm farm;
    UID const first = farm.Submit("first", {{p_Range, "1-4"}});
    String const wait = first.ToString();
    farm.Submit("whole", {{p_Range, "1-4"}, {p_WaitForJobID, wait}, {p_WaitForWholeJob, k_Yes}});
    farm.Submit("frames", {{p_Range, "3-6"}, {p_PacketSize, "2"}, {p_WaitForJobID, wait}, {p_WaitForWholeJob, k_No}});
    farm.AddEngine("e", 4);
    EXPECT_EQ(farm.UnitsOn("e"), "first:1 first:2 first:3 first:4");
    farm.AddEngine("f", 8);
    EXPECT_EQ(farm.UnitsOn("f"), "frames:5-6") << "these frames wait for nothing";
    farm.End(farm.FindUnit("3", "first"));
    EXPECT_EQ(farm.FindUnit("3-4"), nullptr) << "half of the packet is not there yet";
    farm.End(farm.FindUnit("4", "first"));
    EXPECT_NE(farm.FindUnit("3-4", "frames"), nullptr);
    farm.End(farm.FindUnit("1", "first"));
    farm.End(farm.FindUnit("2", "first"), Failed);
    EXPECT_EQ(farm.StatusOf(first), Failed);
    EXPECT_EQ(farm.FindUnit("1", "whole"), nullptr) << "a film is not made from missing frames";
}

// The ends of a Job, and what they are for another one that waits for it.
TEST(CoreDispatch, AWaitIsMetBySuccess) {
    auto const fails = [](CoreFarm& farm) { farm.End(farm.FindUnit("1", "first"), Failed); };
    auto const finishes = [](CoreFarm& farm) { farm.End(farm.FindUnit("1", "first")); };
    auto const deletes = [](CoreFarm& farm) { farm.Delete(farm.client, UID::FromName("first"), true); };
    using Steps = std::vector<std::function<void(CoreFarm&)>>;
    for (auto const& [what, steps, meets, reason] : Rows<char const*, Steps, bool, char const*>{
             {"still open", {}, false, ""},
             {"finished", {finishes}, true, nullptr},
             {"finished and deleted", {finishes, deletes}, true, nullptr},
             {"failed", {fails}, false, "which ended as Failed"},
             {"deleted while it ran", {deletes}, false, "was deleted before it had finished"},
             {"failed and deleted", {fails, deletes}, false, "was deleted before it had finished"}}) {
        for (bool const wholeJob : {true, false}) {
            for (bool const anyEnd : {true, false}) {
                SCOPED_TRACE(String(what) + (wholeJob ? " whole" : " frames") + (anyEnd ? " any end" : ""));
                CoreFarm farm;
                farm.AddEngine("e", 1);
                UID const first = farm.Submit("first", {{p_Range, "1"}, {p_FailureLimit, "1"}});
                UID const next = farm.Submit("next", {{p_Range, "1"},
                                                      {p_WaitForJobID, first.ToString()},
                                                      {p_WaitForWholeJob, wholeJob ? k_Yes : k_No},
                                                      {p_WaitForAnyEnd, anyEnd ? k_Yes : k_No}});
                for (auto const& step : steps)
                    step(farm);
                farm.Restart();
                farm.AddEngine("f", 1);
                bool const runs = meets || (anyEnd && !steps.empty());
                EXPECT_EQ(farm.FindUnit("1", "next") != nullptr, runs);
                String const standstill = farm.FindJob(next)->job->Standstill();
                EXPECT_EQ(standstill.Empty(), runs || steps.empty()) << standstill;
                EXPECT_TRUE(runs || standstill.Contains(reason)) << standstill;
            }
        }
    }
}

TEST(CoreDispatch, SaysWhyAJobStandsStill) {
    CoreFarm farm;
    UID const pool = UID::FromName("pool");
    UID const first = farm.Submit("first", {{p_Pool, pool.ToString()}});
    UID const next = farm.Submit("next", {{p_WaitForJobID, first.ToString()}});
    EXPECT_EQ(farm.FindJob(first)->job->Standstill(), "") << "nobody knows what an Engine can that never came";
    farm.AddEngine("e", 4);
    farm.Pass(Time::Seconds(2));
    EXPECT_EQ(farm.FindJob(first)->job->Standstill(),
              "No Engine can take the Job: The Engine is not in the Job's Pool.");
    EXPECT_TRUE(farm.FindJob(next)->job->Standstill().Contains("\"first\", which stands still")) << "it tells why";
    UID const large = farm.Submit("large", {{p_CPUs, "9"}});
    EXPECT_TRUE(farm.FindJob(large)->job->Standstill().Contains("The Job wants 9 CPUs, the Engine has 4."));
    farm.ChangeEngine("e", [&](Engine& engine) { engine.SetPools({pool}); });
    farm.Pass(Time::Seconds(2));
    for (UID const& job : {first, next})
        EXPECT_EQ(farm.FindJob(job)->job->Standstill(), "");
}

// Failures of two Jobs hold an Engine off a Product here, where it is to blame for them.
TEST(CoreDispatch, AnEngineIsBarredForItsOwnFaultsAlone) {
    using Notes = std::vector<char const*>;
    for (auto const& [what, notes, elsewhere, success, barred] : Rows<char const*, Notes, bool, bool, bool>{
             {"three typos", {"no file a", "no file b", "no file c"}, false, false, false},
             {"one Job, many frames", {"no licence"}, false, false, false},
             {"the same for two Jobs", {"no licence 12:01", "no licence 12:07"}, false, false, true},
             {"cleared by a success", {"no licence", "no licence"}, false, true, false},
             {"another Engine could", {"no file a", "no file b"}, true, false, true}}) {
        SCOPED_TRACE(what);
        CoreFarm farm;
        farm.SetOptions(o_Distribution, {{o_MaxTypeFailures, "2"}, {o_MaxJobFailures, "0"}});
        farm.AddEngine("e", 9);
        farm.Submit("good", {{p_Range, "1"}});
        for (size_t i = 0; i < notes.size(); ++i) {
            String const name = "job" + String::From(i);
            UID const job = farm.Submit(name, {{p_Range, "1"}});
            farm.SetParameter(job, p_Status, "-1");
            farm.End(farm.FindUnit("1", name), Unsuccessful, notes[i]);
            if (!elsewhere)
                continue;
            farm.SetParameter(job, p_ExcludeEngines, UID::FromName("e").ToString());
            farm.AddEngine("f", 1);
            farm.SetParameter(job, p_Status, "0");
            farm.End(farm.FindUnit("1", name));
        }
        if (success)
            farm.End(farm.FindUnit("1", "good"));
        EXPECT_EQ(farm.FindEngine("e").engine->BarredProducts().size(), barred ? 1U : 0U);
    }
}

TEST(CoreDispatch, JobsOfALimitedCreatorWaitApart) {
    CoreFarm farm;
    farm.SetOptions(o_Distribution, {{o_UserLimits, "ann=1;"}});
    farm.AddEngine("e", 4);
    for (int i = 0; i < 100; ++i)
        farm.Submit("ann" + String::From(i), {{p_Creator, "ann"}, {p_Range, "1"}});
    farm.Submit("bob", {{p_Creator, "bob"}, {p_Range, "1"}, {p_Priority, "10"}});
    EXPECT_EQ(farm.UnitsOn("e"), "ann0:1 bob:1");
    EXPECT_EQ(farm.core->State().waiting.Size(), 0U) << "nobody walks past those that wait for ann's limit";
    farm.End(farm.FindUnit("1", "ann0"));
    EXPECT_EQ(farm.UnitsOn("e"), "bob:1 ann1:1");
    farm.SetOptions(o_Distribution, {{o_UserLimits, ""}});
    EXPECT_EQ(farm.FindEngine("e").runs.size(), 4U);
}

TEST(CoreDispatch, AUnitWhoseFramesLeftTheRangeIsNotGivenOutAgain) {
    CoreFarm farm;
    farm.AddEngine("e", 1);
    UID const job = farm.Submit("a", {{p_Range, "1-2"}});
    farm.SetParameter(job, p_Range, "2-3");
    farm.End(farm.FindUnit("1"), UserAborted);
    EXPECT_EQ(farm.UnitsOn("e"), "a:2");
    EXPECT_EQ(farm.FindJob(job)->queue.Count(), 1U);
}

TEST(CoreDispatch, StaggersStarts) {
    CoreFarm farm;
    farm.AddEngine("e", 8);
    UID const job = farm.Submit("a", {{p_StaggerCount, "2"}, {p_StaggerStart, "5"}});
    EXPECT_EQ(farm.FindJob(job)->runs.size(), 2U);
    farm.Pass(Time(4900));
    EXPECT_EQ(farm.FindJob(job)->runs.size(), 2U);
    EXPECT_LE(farm.core->NextDeadline(), farm.now.steady + Time(100));
    farm.Pass(Time(100));
    EXPECT_EQ(farm.FindJob(job)->runs.size(), 4U);
}

TEST(CoreDispatch, SizesPacketsByTime) {
    CoreFarm farm;
    farm.SetOptions(o_Distribution, {{o_AllowDynamicPackSize, k_Yes}});
    farm.AddEngine("e", 1);
    farm.Submit("fast", {{p_Range, "1-1000"}, {p_PacketSize, "10"}});
    auto const* run = farm.FindUnit("1-10");
    ASSERT_NE(run, nullptr) << "nothing is measured yet";
    farm.Begin(run);
    farm.now += Time::Seconds(1);
    farm.End(run);
    EXPECT_EQ(farm.UnitsOn("e"), "fast:11-90") << "never above eight times the packet size";
    run = farm.FindUnit("11-90");
    farm.Begin(run);
    farm.now += Time::Seconds(80 * 20);
    farm.End(run);
    EXPECT_EQ(farm.UnitsOn("e"), "fast:91-93") << "17.8 seconds a frame by now";
}

} // namespace farm::test_core_dispatch
