#include "runtimetools.h"

#include <corekit/commonmutex.h>
#include <corekit/rwlock.h>

// Locks are taken and given back here as no other code does it.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wthread-safety-analysis"
#endif

namespace corekit::test::test_rwlock {

// A thread that asks for the lock, and the test's view of how far it is.
class Asker {
public:
    explicit Asker(std::function<void()> body)
        : m_thread([this, body = std::move(body)] {
              m_id = CurrentThread();
              body();
              m_done = true;
          }) {}
    ~Asker() { m_thread.join(); }
    bool Sleeps() {
        return WaitFor([this] { return m_done || (m_id != 0 && TaskState(m_id) == 'S'); }) && !m_done;
    }
    bool Done() {
        return WaitFor([this] { return m_done.load(); });
    }

private:
    std::atomic<long> m_id{0};
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

TEST(RWLock, AReaderComesInAgainWhileAWriterWaits) {
    RWLock lock;
    bool written = false;
    lock.ReadLock();
    Asker writer([&] {
        RWLock::Writer scope(lock);
        written = true;
    });
    ASSERT_TRUE(writer.Sleeps());
    for (int depth = 0; depth < 3; ++depth)
        lock.ReadLock();
    for (int depth = 0; depth < 3; ++depth)
        lock.ReadUnlock();
    EXPECT_FALSE(written);
    EXPECT_TRUE(lock.IsHeld());
    lock.ReadUnlock();
    EXPECT_TRUE(writer.Done());
    EXPECT_TRUE(written);
    EXPECT_FALSE(lock.IsHeld());
}

TEST(RWLock, NewReadersComeAfterTheWaitingWriterAndBeforeTheNext) {
    RWLock lock;
    std::vector<int> order; // of who came in; guarded by orderGuard
    std::mutex orderGuard;
    auto note = [&](int who) {
        std::lock_guard guard(orderGuard);
        order.push_back(who);
    };
    lock.ReadLock();
    {
        std::atomic<bool> secondAsks{false};
        Asker writer([&] {
            RWLock::Writer scope(lock);
            note(1);
            // Leave only when the next writer waits too.
            EXPECT_TRUE(WaitFor([&] { return secondAsks.load(); }));
        });
        ASSERT_TRUE(writer.Sleeps());
        Asker reader([&] {
            RWLock::Reader scope(lock);
            note(2);
        });
        ASSERT_TRUE(reader.Sleeps());
        Asker second([&] {
            RWLock::Writer scope(lock);
            note(3);
        });
        ASSERT_TRUE(second.Sleeps());
        // The reader inside lets one writer in, either of them; with the first
        // one the reader stands between the two.
        secondAsks = true;
        lock.ReadUnlock();
    }
    ASSERT_EQ(order.size(), 3u);
    EXPECT_EQ(order[1], 2) << "the reader waits for one writer, not for two";
}

TEST(RWLock, WritersExcludeEverybodyAndNeitherSideStarves) {
    RWLock lock;
    long first = 0, second = 0;
    std::atomic<int> torn{0}, reads{0}, writes{0};
    std::atomic<bool> stop{false};
    std::vector<std::jthread> threads;
    // Three of each that never let go for long, and come in twice.
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                RWLock::Writer scope(lock);
                ++first;
                RWLock::Writer again(lock);
                RWLock::Reader reader(lock);
                ++second;
                ++writes;
            }
        });
        threads.emplace_back([&] {
            while (!stop) {
                RWLock::Reader scope(lock);
                RWLock::Reader again(lock);
                torn += first != second ? 1 : 0;
                ++reads;
            }
        });
    }
    EXPECT_TRUE(WaitFor([&] { return reads > 10000 && writes > 10000; }));
    stop = true;
    threads.clear();
    EXPECT_EQ(first, writes);
    EXPECT_EQ(torn, 0);
    RWLock::Writer last(lock);
    EXPECT_TRUE(lock.IsHeldForWriting());
    last.Unlock();
    EXPECT_FALSE(lock.IsHeld());
}

TEST(RWLockDeathTest, MisuseEndsTheProgramWithAWord) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    RWLock lock;
    EXPECT_DEATH(lock.ReadUnlock(), "gives back a lock that it doesn't hold");
    RWLock::Reader reader(lock);
    EXPECT_DEATH(lock.WriteLock(), "only reads under a lock asks to write");
}

#ifndef NDEBUG
TEST(LockOrderDeathTest, TheOrderIsKept) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // Without a message the order is allowed.
    for (auto const& [taken, message] : Rows<std::vector<LockRank>, char const*>{
             {{LockRank::JobInfo, LockRank::JobList, LockRank::WatcherRegistry, LockRank::PoolTable}, nullptr},
             {{LockRank::PoolTable, LockRank::None}, nullptr},
             {{LockRank::JobList, LockRank::JobInfo}, "holds JobList asks for JobInfo"},
             {{LockRank::JobInfo, LockRank::JobInfo}, "holds JobInfo asks for JobInfo"},
             {{LockRank::JobList, LockRank::PoolTable, LockRank::Failures}, "holds PoolTable asks for Failures"},
         }) {
        auto takeAll = [&ranks = taken] {
            std::deque<RWLock> locks;
            for (LockRank rank : ranks)
                locks.emplace_back(rank).ReadLock();
            for (auto lock = locks.rbegin(); lock != locks.rend(); ++lock)
                lock->ReadUnlock();
        };
        if (message)
            EXPECT_DEATH(takeAll(), message);
        else
            takeAll();
        EXPECT_FALSE(LockOrder::IsHeld(LockRank::JobList));
    }
    CommonMutex later(LockRank::Failures);
    RWLock earlier(LockRank::WorkList);
    CommonMutex::Lock first(later);
    EXPECT_DEATH(earlier.WriteLock(), "holds Failures asks for WorkList");
}

TEST(LockOrder, OneLockMayBeTakenAgainAndALaterOneGivenBackFirstOrLast) {
    RWLock job(LockRank::JobInfo), list(LockRank::JobList);
    job.ReadLock();
    list.ReadLock();
    job.ReadLock();
    job.ReadUnlock();
    job.ReadUnlock();
    EXPECT_FALSE(LockOrder::IsHeld(LockRank::JobInfo));
    EXPECT_TRUE(LockOrder::IsHeld(LockRank::JobList));
    list.ReadUnlock();
    RWLock::Writer again(list);
}
#endif

} // namespace corekit::test::test_rwlock
