#include "test.h"

#include "cli/farmview.h"

#include <vorlan/messages.h>

namespace vorlan::cli {

class FarmViewTest : public testing::Test {
protected:
    template <class Kind, class Fill>
    void Take(Fill fill) {
        Kind message;
        fill(message);
        m_view.TakeMessage(message);
    }
    UID TakeJob(int64_t created) {
        auto const job = boost::make_shared<Job>(UID(true));
        job->SetCreated(Time(created));
        m_view.TakeMessage(*JobMsg::Create(job));
        return job->id;
    }
    template <class Kind>
    UID TakeWork(UID const& parent, int64_t since, UID const& id = UID(true)) {
        Take<Kind>([&](Kind& message) {
            message.work = boost::make_shared<Job>(id);
            message.work->parentID = parent;
            message.work->SetCreated(Time(since));
            message.engine = m_engine;
        });
        return id;
    }

    FarmView m_view;
    UID const m_engine{true};
};

TEST_F(FarmViewTest, FollowsJobsAndTheirWork) {
    UID const job = TakeJob(2000);
    UID const old = TakeJob(1000);
    UID const assigned = TakeWork<AssignedWorkMsg>(job, 5000);
    UID const second = TakeWork<StartedWorkMsg>(job, 3000);
    TakeWork<StartedWorkMsg>(old, 1000);
    EXPECT_EQ(m_view.JobsByAge().front()->id, old);
    EXPECT_EQ(m_view.UnitCount(job), 2U);
    EXPECT_EQ(m_view.UnitCountOn(m_engine), 3U);
    EXPECT_EQ(m_view.UnitsByAge(job).front()->work->id, second);
    EXPECT_EQ(m_view.UnitsByAge(UID::Null).size(), 3U);

    EXPECT_EQ(m_view.Units().at(assigned).status, Assigned);
    TakeWork<StartedWorkMsg>(job, 6000, assigned);
    EXPECT_EQ(m_view.Units().at(assigned).status, Started);
    EXPECT_EQ(m_view.UnitCount(job), 2U);
    Take<WorkParameterChangedMsg>([&](WorkParameterChangedMsg& message) {
        message.work = assigned;
        message.name = p_PercentDone;
        message.value = "40";
    });
    EXPECT_EQ(m_view.Units().at(assigned).work->PercentDone(), 40);
    for (int i = 0; i < 2; ++i) {
        Take<FinishedWorkMsg>([&](FinishedWorkMsg& message) { message.work = assigned; });
        EXPECT_EQ(m_view.UnitCount(job), 1U);
        EXPECT_EQ(m_view.UnitCountOn(m_engine), 2U);
    }
    Take<DeleteJobMsg>([&](DeleteJobMsg& message) { message.job = job; });
    EXPECT_FALSE(m_view.FindJob(job));
    EXPECT_EQ(m_view.UnitCountOn(m_engine), 1U);
    // What comes late about it, and what says nothing, changes nothing.
    Take<JobParameterMsg>([&](JobParameterMsg& message) { message.job = job; });
    m_view.TakeMessage(JobMsg());
    Take<ProductMsg>([](ProductMsg& message) { message.text = "{\"Name\": 7"; });
    EXPECT_EQ(m_view.Jobs().size(), 1U);
}

TEST_F(FarmViewTest, NamesWhatItKnowsAndGivesTheUIDOfTheRest) {
    UID const pool(true);
    Take<EngineMsg>([&](EngineMsg& message) {
        message.engine = Engine(m_engine);
        message.engine.SetName("render07");
    });
    Take<PoolMsg>([&](PoolMsg& message) { message.pools[pool] = "Night"; });
    EXPECT_EQ(m_view.EngineName(m_engine), "render07");
    EXPECT_EQ(m_view.PoolName(pool), "Night");
    EXPECT_EQ(m_view.PoolName(UID::Null), "Whole System");
    Take<RemoveEngineMsg>([&](RemoveEngineMsg& message) { message.engine = m_engine; });
    Take<DeletePoolMsg>([&](DeletePoolMsg& message) { message.pool = pool; });
    EXPECT_EQ(m_view.EngineName(m_engine), m_engine.ToString());
    EXPECT_EQ(m_view.PoolName(pool), pool.ToString());
    EXPECT_EQ(m_view.JobName(pool), pool.ToString());
}

} // namespace vorlan::cli
