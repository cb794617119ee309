// The life of a Job's history in the client: asked for once, kept while it is wanted, and
// freed where nobody waits for it.
#include "clienttest.h"

#include "model/history.h"
#include "model/jobwatcher.h"

#include <corekit/threadpool.h>
#include <corekit/tick.h>
#include <vorlan/jobhistory.h>

namespace vorlan {

class HistoryTest : public MirrorTest {
protected:
    static JobHistory Long(UID const& job, size_t items) {
        JobHistory history;
        for (size_t i = 0; i < items; ++i)
            history.Append(NewElement("work" + String::From(i), job, Started, Time(1'000'000), String::From(i)));
        return history;
    }
    static void TickAfter(int64_t ms) { HistoryTimer::Get().Check(Time::CurrentTime() + Time(ms)); }
    static bool IsThere(JobInfo const& info) {
        RWLock::Reader const reader(info.lock);
        return !info.history.Empty();
    }
    size_t Requests() { return outside.Sent().size(); }

    static constexpr int64_t k_Later = JobInfo::k_HistoryMs + 1'000;
};

TEST_F(HistoryTest, AFinishedJobsGoesWhenItsTimeIsOver) {
    auto const info = AddJob("job", Finished);
    Element("run", info->job->id, Finished);
    ASSERT_TRUE(IsThere(*info));
    TickAfter(JobInfo::k_HistoryMs - 1'000);
    EXPECT_TRUE(IsThere(*info));
    LogLines log(LogLevel::Info);
    TickAfter(k_Later);
    EXPECT_FALSE(IsThere(*info));
    EXPECT_TRUE(info->HistoryExpires().IsZero());
    EXPECT_EQ(HistoryTimer::Get().Count(), 0u);
    EXPECT_EQ(CountLines(log, ("Deleting history for Job:  {" + info->job->id.ToString() + "}  job").c_str()), 1u);
    info->RequestHistory(false);
    EXPECT_EQ(Requests(), 2u) << "what was dropped is asked for anew";
}

TEST_F(HistoryTest, ARunningJobsStaysAndCostsNoTick) {
    auto const info = AddJob("job");
    Element("run", info->job->id);
    EXPECT_EQ(HistoryTimer::Get().Count(), 1u);
    EXPECT_EQ(HistoryTimer::Get().Timed(), 0u);
    TickAfter(10 * k_Later);
    EXPECT_TRUE(IsThere(*info));

    Value(info->job->id, p_Status, String::From(int{Finished}));
    EXPECT_EQ(HistoryTimer::Get().Timed(), 1u);
    TickAfter(k_Later);
    EXPECT_FALSE(IsThere(*info));

    // The other way to the end, and back from it.
    auto const other = AddJob("other");
    Element("other run", other->job->id);
    AddJob("other", Finished);
    ASSERT_EQ(HistoryTimer::Get().Timed(), 1u);
    other->job->SetStatus(Queued);
    TickAfter(k_Later);
    EXPECT_TRUE(IsThere(*other));
    EXPECT_EQ(HistoryTimer::Get().Timed(), 0u);
}

TEST_F(HistoryTest, ADisplayHoldsItAndMayComeBack) {
    auto const info = AddJob("job", Finished);
    LogLines log(LogLevel::Info);
    info->RequestHistory(true);
    Element("run", info->job->id, Finished);
    TickAfter(k_Later);
    TickAfter(10 * k_Later);
    EXPECT_TRUE(IsThere(*info));
    info->UnlockHistory();
    TickAfter(JobInfo::k_HistoryMs - 1'000);
    info->RequestHistory(true);
    info->UnlockHistory();
    EXPECT_TRUE(IsThere(*info));
    EXPECT_EQ(Requests(), 1u) << "it was in memory all the time";
    TickAfter(k_Later);
    EXPECT_FALSE(IsThere(*info));
    for (char const* verb : {"Locking", "Unlocked"})
        EXPECT_EQ(CountLines(log, (String(verb) + " history for Job:  {").c_str()), 2u) << verb;
}

TEST_F(HistoryTest, AWholeOneTakesThePlaceAndDoesNotStayForEver) {
    auto const info = AddJob("job", Finished);
    auto message = JobHistoryMsg::New();
    message->job = info->job->id;
    message->history = Long(message->job, 3);
    LogLines log(LogLevel::Status);
    Say(message);
    EXPECT_EQ(info->history.size(), 3u);
    EXPECT_TRUE(message->history.Empty());
    EXPECT_EQ(log.Get(),
              (std::vector<String>{"Received full history for Job:  {" + message->job.ToString() + "}  job"}));
    EXPECT_EQ(Requests(), 0u);
    TickAfter(k_Later);
    EXPECT_FALSE(IsThere(*info)) << "nobody wanted it";

    message->job = UID::FromName("unknown");
    message->history = Long(message->job, 3);
    Say(message);
    EXPECT_EQ(log.Get().size(), 1u);
}

TEST_F(HistoryTest, AnElementOfAnUnknownUnitStandsUnderOneLikeIt) {
    auto const info = AddJob("job");
    Element("run", info->job->id, Unsuccessful);
    WorkRun const& run = info->history.FindWork(UID::FromName("run"));
    EXPECT_EQ(std::tuple(run.Key(), run.Engine(), run.Status()),
              std::tuple("7", UID::FromName("engine"), int{Unsuccessful}));
    EXPECT_EQ(info->elementWork, std::set<UID>{UID::FromName("run")});
}

TEST_F(HistoryTest, LongOnesAreFreedOnThePool) {
    for (bool const pool : {false, true}) {
        if (pool)
            ThreadPool::Initialize(1);
        for (size_t const items : {31, 32}) {
            LogLines log(LogLevel::Debug);
            JobHistory history = Long(UID::FromName("job"), items);
            DeleteHistory const doomed(history);
            EXPECT_TRUE(history.Empty() && doomed.Empty());
            EXPECT_EQ(CountLines(log, "Pending Deleting history"), pool && items == 32 ? 1u : 0u) << items;
        }
    }
    // A removed Job's, and those of a cleared list.
    for (char const* name : {"a", "b"}) {
        auto const info = AddJob(name);
        info->history = Long(info->job->id, 100);
    }
    LogLines log(LogLevel::Debug);
    JobList::Get().RemoveJob(UID::FromName("a"));
    EXPECT_EQ(CountLines(log, "Pending Deleting history 100 items"), 1u);
    auto const held = Jobs::FindJobInfo(UID::FromName("b"));
    JobList::Get().Clear();
    ThreadPool::Shutdown(); // runs what is queued
    EXPECT_FALSE(IsThere(*held)) << "also while a display holds on to the Job";
    EXPECT_EQ(held.use_count(), 1) << "the list has let go";
}

} // namespace vorlan
