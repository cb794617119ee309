// What a client still believes after it has asked for everything anew.
#include "clienttest.h"

namespace vorlan {

using ReloadTest = MirrorTest;

TEST_F(ReloadTest, WhatWentAwayWithoutAWordIsForgotten) {
    auto pools = PoolMsg::New();
    pools->pools = {{UID::FromName("stays"), "Stays"}, {UID::FromName("goes"), "Goes"}};
    Say(pools);
    UID const engine = AddEngine("engine");
    Assign(Unit("unit", AddJob("job")->job->id), engine);

    Say(SetMasterOptionsMsg::Create(o_Distribution, OptionMap{{o_UseWholeSystem, "0"}}));
    EXPECT_EQ(PoolName(UID::Null), "None");

    mirror.Reload();
    EXPECT_TRUE(Jobs::GetAllJobs().empty());
    EXPECT_EQ(EngineList::Get().FindEngine(engine), nullptr);
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

} // namespace vorlan
