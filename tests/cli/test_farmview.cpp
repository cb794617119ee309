#include "test.h"

#include "cli/farmview.h"

#include <vorlan/messages.h>

namespace vorlan::cli {

class FarmViewTest : public testing::Test {
protected:
    // A message with these first fields.
    template <class Kind, class... Values>
    void Take(Values const&... values) {
        m_view.TakeMessage(*Kind::Create(values...));
    }
    UID TakeJob(int64_t created) {
        auto const job = boost::make_shared<Job>(UID(true));
        job->SetCreated(Time(created));
        Take<JobMsg>(job);
        return job->id;
    }
    template <class Kind>
    UID TakeWork(UID const& parent, int64_t since, UID const& id = UID(true)) {
        auto const work = boost::make_shared<Job>(id);
        work->parentID = parent;
        work->SetCreated(Time(since));
        Take<Kind>(work, m_engine);
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
    Take<WorkParameterChangedMsg>(assigned, p_PercentDone, "40");
    EXPECT_EQ(m_view.Units().at(assigned).work->PercentDone(), 40);
    for (int i = 0; i < 2; ++i) {
        Take<FinishedWorkMsg>(assigned);
        EXPECT_EQ(std::tuple(m_view.UnitCount(job), m_view.UnitCountOn(m_engine)), std::tuple(size_t{1}, size_t{2}));
    }
    Take<DeleteJobMsg>(job);
    EXPECT_FALSE(m_view.FindJob(job));
    EXPECT_EQ(m_view.UnitCountOn(m_engine), 1U);
    // What comes late about it, and what says nothing, changes nothing.
    Take<JobParameterMsg>(job);
    m_view.TakeMessage(JobMsg());
    Take<ProductMsg>("{\"Name\": 7");
    EXPECT_EQ(m_view.Jobs().size(), 1U);
}

TEST_F(FarmViewTest, NamesWhatItKnowsAndGivesTheUIDOfTheRest) {
    UID const pool(true);
    Engine engine(m_engine);
    engine.SetName("render07");
    Take<EngineMsg>(engine);
    Take<PoolMsg>(std::map<UID, String>{{pool, "Night"}});
    EXPECT_EQ(m_view.EngineName(m_engine), "render07");
    EXPECT_EQ(m_view.PoolName(pool) + ", " + m_view.PoolName(UID::Null), "Night, Whole System");
    Take<RemoveEngineMsg>(m_engine);
    Take<DeletePoolMsg>(pool);
    EXPECT_EQ(m_view.EngineName(m_engine), m_engine.ToString());
    EXPECT_EQ(m_view.PoolName(pool), pool.ToString());
    EXPECT_EQ(m_view.JobName(pool), pool.ToString());
}

} // namespace vorlan::cli
