#include "domain.h"

namespace vorlan::test_failures {

class FailuresTest : public testing::Test {
protected:
    FailuresTest() { Failures::Clear(); }
    ~FailuresTest() override { Failures::Clear(); }

    void Fail(UID const& job, UID const& product, UID const& engine, int times = 1) {
        for (int i = 0; i < times; ++i)
            Failures::Add(job, product, engine, Time(1000 + i));
    }
    // "products jobs failures" of an Engine.
    static String OnEngine(UID const& engine) {
        size_t products, jobs, failures;
        Failures::EngineFailureCounts(engine, products, jobs, failures);
        return SFormat("%zu %zu %zu", products, jobs, failures);
    }
    // "current reset" of a Job.
    static String OfJob(UID const& job) {
        size_t current, reset;
        Failures::JobFailureCounts(job, current, reset);
        return SFormat("%zu %zu", current, reset);
    }

    UID const jobA = UID::FromName("job a");
    UID const jobB = UID::FromName("job b");
    UID const jobC = UID::FromName("job c");
    UID const paint = UID::FromName("paint");
    UID const sweep = UID::FromName("sweep");
    UID const engine1 = UID::FromName("engine 1");
    UID const engine2 = UID::FromName("engine 2");
};

TEST_F(FailuresTest, CountsByJobEngineAndProduct) {
    EXPECT_EQ(OnEngine(engine1), "0 0 0");
    Fail(jobA, paint, engine1, 2);
    Fail(jobB, paint, engine1);
    Fail(jobC, sweep, engine1);
    Fail(jobA, paint, engine2, 3);
    EXPECT_EQ(OfJob(jobA), "5 0");
    EXPECT_EQ(OnEngine(engine1) + ", " + OnEngine(engine2), "2 3 4, 1 1 3");
    EXPECT_EQ(std::tuple(Failures::JobFailureCount(jobA), Failures::CountOn(jobA, engine2),
                         Failures::ProductCountOn(paint, engine1)),
              std::tuple(5u, 3u, 3u));

    std::vector<UID> ids{UID::Full};
    Failures::EnginesFailedOnJob(jobB, ids);
    EXPECT_EQ(ids, std::vector<UID>{engine1});
    Failures::JobsFailedOnEngine(engine1, ids);
    EXPECT_EQ(ids.size(), 3u);
    std::map<UID, std::vector<Failures::FailureItem>> all;
    Failures::AllEngineFailures(engine1, all);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[paint].size(), 2u);
    EXPECT_EQ(all[sweep].front(), (Failures::FailureItem{jobC, engine1, sweep, 1, Time(1000), 1}));
}

TEST_F(FailuresTest, ResetMovesCountsIntoHistory) {
    Fail(jobA, paint, engine1, 2);
    Fail(jobA, paint, engine2);
    Fail(jobB, paint, engine1);
    Failures::ResetEngineFailures(engine1);
    EXPECT_EQ(OnEngine(engine1), "0 0 0");
    EXPECT_EQ(OfJob(jobA) + ", " + OfJob(jobB), "1 2, 0 1");
    Failures::ResetJobFailures(jobA);
    EXPECT_EQ(OfJob(jobA), "0 3");
    std::vector<UID> ids;
    Failures::EnginesFailedOnJob(jobA, ids);
    EXPECT_TRUE(ids.empty());
    Fail(jobA, paint, engine1);
    EXPECT_EQ(OfJob(jobA), "1 3");

    auto const items = Failures::All();
    Failures::RemoveJob(jobA);
    EXPECT_EQ(OfJob(jobA), "1 2") << "what counts against an Engine stays";
    Failures::ResetEngineFailures(engine1);
    Failures::RemoveJob(jobA);
    EXPECT_EQ(OfJob(jobA) + ", " + OnEngine(engine1), "0 0, 0 0 0");
    Failures::ReplaceAll(items);
    EXPECT_EQ(Failures::All(), items);
    EXPECT_EQ(OfJob(jobA) + ", " + OnEngine(engine1), "1 3, 1 1 1");
    Failures::RemoveEngine(engine1);
    EXPECT_EQ(OfJob(jobA) + ", " + OfJob(jobB), "0 1, 0 0");
}

TEST_F(FailuresTest, BlamesTheJobOfAWorkUnit) {
    Job work(UID(true));
    work.parentID = jobA;
    work.Set(p_Type, paint.ToString());
    Failures::Add(work, engine1);
    EXPECT_EQ(OfJob(jobA) + ", " + OfJob(work.id), "1 0, 0 0");
    EXPECT_EQ(Failures::ProductCountOn(paint, engine1), 1u);
    Failures::Add(work, UID::Null);
    EXPECT_EQ(OfJob(jobA), "1 0") << "a failure on no Engine blames nobody";
    Failures::ReplaceAll({{jobB, engine1, paint, 4294967295u, Time(), 0}});
    Fail(jobB, paint, engine1);
    EXPECT_EQ(OfJob(jobB), "4294967295 0") << "stops at its limit";
}

TEST_F(FailuresTest, LosesNoneOfManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int n = 0; n < 500; ++n) {
                Fail(n % 2 ? jobA : jobB, paint, i % 2 ? engine1 : engine2);
                OnEngine(engine1);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(OfJob(jobA) + ", " + OnEngine(engine2), "1000 0, 1 2 1000");
}

} // namespace vorlan::test_failures
