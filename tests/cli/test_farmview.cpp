#include "cli/farmview.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>
#include <vorlan/messages.h>

namespace vorlan::cli {

class FarmViewTest : public testing::Test {
protected:
    boost::shared_ptr<Job> TakeJob(char const* name, int64_t created) {
        auto job = boost::make_shared<Job>(UID(true));
        job->SetName(name);
        job->SetCreated(Time(created));
        m_view.Take(*JobMsg::Create(job));
        return job;
    }
    template <class Kind>
    boost::shared_ptr<Job> TakeWork(UID const& parent, UID const& engine, int64_t since, UID const& id = UID(true)) {
        auto message = Kind::New();
        message->work = boost::make_shared<Job>(id);
        message->work->parentID = parent;
        message->work->SetCreated(Time(since));
        message->engine = engine;
        m_view.Take(*message);
        return message->work;
    }

    FarmView m_view;
    UID const m_engine{true};
};

TEST_F(FarmViewTest, FollowsAJobFromItsSubmissionToItsDeletion) {
    auto const old = TakeJob("old", 1000);
    auto const job = TakeJob("new", 2000);
    ASSERT_EQ(m_view.JobsByAge().size(), 2U);
    EXPECT_EQ(m_view.JobsByAge()[0]->id, old->id);

    auto changed = JobParameterMsg::New();
    changed->job = job->id;
    changed->name = p_Priority;
    changed->value = "77";
    m_view.Take(*changed);
    EXPECT_EQ(m_view.FindJob(job->id)->Priority(), 77);

    auto finished = FinishedJobMsg::New();
    finished->job = boost::make_shared<Job>(*job);
    finished->job->SetStatus(Failed);
    m_view.Take(*finished);
    EXPECT_TRUE(m_view.FindJob(job->id)->IsFailed());

    TakeWork<StartedWorkMsg>(job->id, m_engine, 1);
    auto deleted = DeleteJobMsg::New();
    deleted->job = job->id;
    m_view.Take(*deleted);
    EXPECT_FALSE(m_view.FindJob(job->id));
    EXPECT_EQ(m_view.Units().size(), 0U);
    EXPECT_EQ(m_view.UnitCountOn(m_engine), 0U);
    // What comes late about it changes nothing.
    m_view.Take(*changed);
    EXPECT_EQ(m_view.Jobs().size(), 1U);
}

TEST_F(FarmViewTest, FollowsWork) {
    auto const job = TakeJob("job", 1);
    auto const other = TakeJob("other", 2);
    auto const assigned = TakeWork<AssignedWorkMsg>(job->id, m_engine, 5000);
    auto const second = TakeWork<StartedWorkMsg>(job->id, m_engine, 3000);
    TakeWork<StartedWorkMsg>(other->id, UID(true), 1000);
    EXPECT_EQ(m_view.UnitCount(job->id), 2U);
    EXPECT_EQ(m_view.UnitCountOn(m_engine), 2U);
    ASSERT_EQ(m_view.UnitsByAge(job->id).size(), 2U);
    EXPECT_EQ(m_view.UnitsByAge(job->id)[0]->work->id, second->id);
    EXPECT_EQ(m_view.UnitsByAge(UID::Null).size(), 3U);

    EXPECT_EQ(m_view.Units().at(assigned->id).status, Assigned);
    TakeWork<StartedWorkMsg>(job->id, m_engine, 6000, assigned->id);
    EXPECT_EQ(m_view.Units().at(assigned->id).status, Started);
    EXPECT_EQ(m_view.UnitCount(job->id), 2U);

    auto progress = WorkParameterChangedMsg::New();
    progress->work = assigned->id;
    progress->name = p_PercentDone;
    progress->value = "40";
    m_view.Take(*progress);
    EXPECT_EQ(m_view.Units().at(assigned->id).work->PercentDone(), 40);

    auto ended = FinishedWorkMsg::New();
    ended->work = assigned->id;
    m_view.Take(*ended);
    m_view.Take(*ended);
    EXPECT_EQ(m_view.UnitCount(job->id), 1U);
    EXPECT_EQ(m_view.UnitCountOn(m_engine), 1U);
}

TEST_F(FarmViewTest, NamesWhatItKnowsAndGivesTheUIDOfTheRest) {
    auto engine = EngineMsg::New();
    engine->engine = Engine(m_engine);
    engine->engine.SetName("render07");
    m_view.Take(*engine);
    UID const pool(true);
    auto pools = PoolMsg::New();
    pools->pools[pool] = "Night";
    m_view.Take(*pools);
    EXPECT_EQ(m_view.EngineName(m_engine), "render07");
    EXPECT_EQ(m_view.PoolName(pool), "Night");
    EXPECT_EQ(m_view.PoolName(UID::Null), "Whole System");
    auto removed = RemoveEngineMsg::New();
    removed->engine = m_engine;
    m_view.Take(*removed);
    auto noPool = DeletePoolMsg::New();
    noPool->pool = pool;
    m_view.Take(*noPool);
    EXPECT_EQ(m_view.EngineName(m_engine), m_engine.ToString());
    EXPECT_EQ(m_view.PoolName(pool), pool.ToString());
    EXPECT_EQ(m_view.JobName(pool), pool.ToString());
}

// A Product that this program cannot read must not end it.
TEST_F(FarmViewTest, ABrokenProductIsPassedOver) {
    auto product = ProductMsg::New();
    product->text = "{\"Name\": 7";
    EXPECT_NO_THROW(m_view.Take(*product));
    auto empty = JobMsg::New();
    EXPECT_NO_THROW(m_view.Take(*empty));
}

} // namespace vorlan::cli
