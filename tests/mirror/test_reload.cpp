// What a client still believes after it has asked for everything anew.
#include "mirrortest.h"

namespace vorlan {

using ReloadTest = MirrorTest;

TEST_F(ReloadTest, WhatWentAwayWithoutAWordIsForgotten) {
    auto pools = PoolMsg::New();
    pools->pools = {{UID::FromName("stays"), "Stays"}, {UID::FromName("goes"), "Goes"}};
    PoolMsg::s_Signal.Emit(pools);
    auto const job = NewJob("job");
    JobList::Get().InsertJob(job);
    UID const engine = AddEngine("engine");
    Assign(Unit("unit", job), engine);

    mirror.Reload();
    EXPECT_TRUE(Jobs::GetAllJobs().empty());
    EXPECT_EQ(EngineList::Get().FindEngine(engine), nullptr);
    EXPECT_EQ(WorkList::Get().Count(), 0U);
    pools->pools.erase(UID::FromName("goes"));
    PoolMsg::s_Signal.Emit(pools);
    EXPECT_EQ(mirror.Pools(), pools->pools);

    std::vector<String> const steps = outside.Steps();
    EXPECT_EQ(steps.front(), "send NotifyOnEventMsg") << "no event may be missed between the load and the listening";
    EXPECT_EQ(steps.back(), "send GetJobInfoMsg") << "units need their Engines";
}

} // namespace vorlan
