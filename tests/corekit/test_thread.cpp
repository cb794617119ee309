#include "runtimetools.h"

#include <corekit/callentry.h>
#include <corekit/threadpool.h>

namespace corekit::test::test_thread {

TEST(Thread, RunsUntilItHasEnoughAndCanStartAgain) {
    std::atomic<int> calls{0};
    TestThread thread("Counter", [&](TestThread& self) {
        EXPECT_TRUE(self.IsCurrent());
        return ++calls % 3 != 0;
    });
    for (int run = 1; run <= 2; ++run) {
        EXPECT_TRUE(thread.Start());
        thread.Join();
        EXPECT_EQ(calls, 3 * run);
        EXPECT_EQ(thread.endings, run);
        EXPECT_FALSE(thread.IsRunning());
        EXPECT_FALSE(thread.IsCurrent());
    }
}

TEST(Thread, AStopWakesASleepingThreadAndAllThatWaitForItsEnd) {
    std::atomic<bool> sleeping{false};
    TestThread thread("Sleeper", [&](TestThread& self) {
        sleeping = true;
        return self.Sleep(1000 * 1000);
    });
    ASSERT_TRUE(thread.Start());
    EXPECT_FALSE(thread.Start()) << "it runs already";
    ASSERT_TRUE(WaitFor([&] { return sleeping.load(); }));
    std::thread other([&] { thread.Join(); });
    thread.Stop();
    other.join();
    EXPECT_EQ(thread.endings, 1);
}

TEST(Thread, AnExceptionEndsThisThreadOnlyAndIsLoggedUnderItsName) {
    LogLines log(LogLevel::Error);
    TestThread first("Broken one", [](TestThread&) -> bool { throw std::runtime_error("no more paper"); });
    TestThread second("Broken two", [](TestThread&) -> bool { throw 5; });
    for (TestThread* thread : {&first, &second}) {
        thread->Start();
        thread->Join();
        EXPECT_EQ(thread->endings, 1);
    }
    EXPECT_TRUE(log.Has("\"Broken one\" was ended by an exception: no more paper"));
    EXPECT_TRUE(log.Has("\"Broken two\" was ended"));
}

TEST(CallEntry, KeepsAStackPerThreadAndSurvivesDeepRecursion) {
    std::function<String(int)> deeper = [&](int depth) -> String {
        CALL_ENTRY_NAMED("Deeper");
        return depth == 0 ? CallStackText() : deeper(depth - 1);
    };
    CALL_ENTRY_NAMED("Outer");
    String text = deeper(1);
    size_t outer = text.Find("Outer (test_thread.cpp:");
    EXPECT_NE(outer, String::npos);
    EXPECT_LT(text.Find("Deeper"), outer) << "innermost first";
    EXPECT_TRUE(deeper(200).Contains("more\n"));
    EXPECT_FALSE(CallStackText().Contains("Deeper"));
    std::thread([] { EXPECT_EQ(CallStackText(), ""); }).join();
    // More threads than the table holds, one after the other and at once.
    for (int round = 0; round < 3; ++round) {
        std::atomic<bool> open{false};
        std::vector<std::jthread> threads;
        for (uint32_t i = 0; i < 100; ++i) {
            threads.emplace_back([&] {
                CALL_ENTRY_NAMED("Many");
                EXPECT_TRUE(WaitFor([&] { return open.load(); }));
                EXPECT_TRUE(CallStackText().StartsWith("Many"));
            });
        }
        open = true;
    }
}

struct ThreadPoolTest : ::testing::Test {
    ~ThreadPoolTest() override { ThreadPool::Shutdown(); }
};

TEST_F(ThreadPoolTest, TakesWorkOnlyWhileItRunsAndFinishesWhatItTook) {
    std::atomic<int> done{0};
    EXPECT_FALSE(ThreadPool::IsReady());
    EXPECT_FALSE(ThreadPool::Queue([&] { ++done; }));
    EXPECT_FALSE(ThreadPool::ThrottleQueue([&] { ++done; }, "Type", UID(true)));
    for (int run = 1; run <= 2; ++run) {
        ThreadPool::Initialize(2);
        for (int i = 0; i < 100; ++i) {
            EXPECT_TRUE(ThreadPool::Queue([&] { ++done; }));
            EXPECT_TRUE(ThreadPool::ThrottleQueue([&] { ++done; }, i % 2 ? "Odd" : "Even", UID(true)));
        }
        ThreadPool::Shutdown();
        EXPECT_EQ(done, 200 * run);
    }
}

TEST_F(ThreadPoolTest, FunctionsOfOneTypeRunOneAfterTheOtherBesideOtherWork) {
    ThreadPool::Initialize(3);
    std::atomic<int> inside{0};
    std::atomic<bool> otherRan{false};
    std::vector<int> order;
    for (int i = 0; i < 50; ++i) {
        ThreadPool::ThrottleQueue(
            [&, i] {
                EXPECT_EQ(++inside, 1);
                order.push_back(i);
                if (i == 0) {
                    EXPECT_TRUE(WaitFor([&] { return otherRan.load(); })) << "other work is not held up";
                }
                --inside;
            },
            "History", UID(true));
    }
    ThreadPool::Queue([&] { otherRan = true; });
    ThreadPool::Shutdown();
    EXPECT_EQ(order.size(), 50u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(ThreadPoolTest, AWaitingFunctionIsReplacedByOneOfTheSameId) {
    ThreadPool::Initialize(2);
    std::atomic<bool> open{false};
    std::vector<String> ran;
    auto queue = [&](char const* name, UID const& id) {
        ThreadPool::ThrottleQueue([&, name] { ran.push_back(name); }, "Save", id);
    };
    UID first(true), second(true);
    ThreadPool::ThrottleQueue([&] { EXPECT_TRUE(WaitFor([&] { return open.load(); })); }, "Save", UID(true));
    queue("first, old", first);
    queue("second", second);
    queue("first, new", first);
    open = true;
    ThreadPool::Shutdown();
    EXPECT_EQ(ran, (std::vector<String>{"first, new", "second"}));
}

TEST_F(ThreadPoolTest, TwoRunAtOnceWhereverAThreadIsFree) {
    auto const both = [] {
        int here = 0;
        int there = 0;
        ThreadPool::RunBoth([&] { here = 1; }, [&] { there = 1; });
        return here + there;
    };
    EXPECT_EQ(both(), 2) << "without a pool";
    ThreadPool::Initialize(2);
    std::atomic<bool> met{false};
    ThreadPool::RunBoth([&] { EXPECT_TRUE(WaitFor([&] { return met.load(); })); }, [&] { met = true; });
    // Each thread of the pool runs two: nobody waits for somebody who waits.
    std::atomic<int> sum{0};
    for (int i = 0; i < 200; ++i)
        ThreadPool::Queue([&] { sum += both(); });
    ThreadPool::Shutdown();
    EXPECT_EQ(sum, 400);
}

TEST_F(ThreadPoolTest, AFunctionDiesOnThePoolsThreadAndMayThrow) {
    LogLines log(LogLevel::Error);
    ThreadPool::Initialize(2);
    std::atomic<std::thread::id> diedOn{};
    std::shared_ptr<int> payload(new int(1), [&](int* data) {
        diedOn = std::this_thread::get_id();
        delete data;
    });
    ThreadPool::Queue([payload = std::move(payload)]() -> void { throw std::runtime_error("too heavy"); });
    ThreadPool::Shutdown();
    EXPECT_NE(diedOn.load(), std::thread::id());
    EXPECT_NE(diedOn.load(), std::this_thread::get_id());
    EXPECT_TRUE(log.Has("too heavy"));
}

} // namespace corekit::test::test_thread
