#include "runtimetools.h"

#include <corekit/signal.h>

namespace corekit::test::test_signal {

constinit Signal1<int> s_early; // usable before any initialiser has run

// Notes its calls in a list that all listeners of a test share.
class Listener : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    Listener(std::vector<std::string>& calls, std::string name) : m_calls(calls), m_name(std::move(name)) {}
    void On(int value) {
        m_calls.push_back(m_name + std::to_string(value));
        if (auto once = std::exchange(then, nullptr))
            once();
    }
    void OnAny() { m_calls.push_back(m_name); }

    // Called by the next call, once.
    std::function<void()> then;

private:
    std::vector<std::string>& m_calls;
    std::string m_name;
};

struct SignalTest : ::testing::Test {
    Signal1<int> signal;
    std::vector<std::string> calls;
    using Calls = std::vector<std::string>;
};

TEST_F(SignalTest, CallsInOrderOfConnectionWithOrWithoutTheArgument) {
    Listener a(calls, "a"), b(calls, "b");
    int sum = 0;
    signal.Connect(&b, &Listener::On);
    signal.Connect(&a, &Listener::OnAny);
    signal.Connect(&a, [&](int value) { sum += value; });
    signal.Emit(1);
    signal(2);
    EXPECT_EQ(calls, (Calls{"b1", "a", "b2", "a"}));
    EXPECT_EQ(sum, 3);
}

TEST_F(SignalTest, SlotsMayChangeTheConnectionsDuringTheEmission) {
    std::unique_ptr<Listener> a, b, c, d;
    auto moveToTheEnd = [&] {
        signal.Disconnect(b.get());
        signal.Connect(b.get(), &Listener::On);
    };
    Rows<char const*, std::function<void()>, Calls, Calls> const cases = {
        {"disconnects itself", [&] { signal.Disconnect(b.get()); }, {"a1", "b1", "c1"}, {"a2", "c2"}},
        {"disconnects a later one", [&] { signal.Disconnect(c.get()); }, {"a1", "b1"}, {"a2", "b2"}},
        {"disconnects an earlier one", [&] { signal.Disconnect(a.get()); }, {"a1", "b1", "c1"}, {"b2", "c2"}},
        {"destroys its own object", [&] { b.reset(); }, {"a1", "b1", "c1"}, {"a2", "c2"}},
        {"destroys a later one", [&] { c.reset(); }, {"a1", "b1"}, {"a2", "b2"}},
        {"moves itself to the end", moveToTheEnd, {"a1", "b1", "c1"}, {"a2", "c2", "b2"}},
        {"connects", [&] { signal.Connect(d.get(), &Listener::On); }, {"a1", "b1", "c1"}, {"a2", "b2", "c2", "d2"}},
    };
    for (auto const& [what, duringB, first, second] : cases) {
        SCOPED_TRACE(what);
        a = std::make_unique<Listener>(calls, "a");
        b = std::make_unique<Listener>(calls, "b");
        c = std::make_unique<Listener>(calls, "c");
        d = std::make_unique<Listener>(calls, "d");
        for (Listener* listener : {a.get(), b.get(), c.get()})
            signal.Connect(listener, &Listener::On);
        b->then = duringB;
        signal.Emit(1);
        EXPECT_EQ(std::exchange(calls, {}), first);
        signal.Emit(2);
        EXPECT_EQ(std::exchange(calls, {}), second);
    }
}

TEST_F(SignalTest, OfManyTimesAtOnceASlotGetsAllBeforeTheNextUnlessItEnds) {
    auto b = std::make_unique<Listener>(calls, "b");
    Listener a(calls, "a"), c(calls, "c");
    for (Listener* listener : {&a, b.get(), &c})
        signal.Connect(listener, &Listener::On);
    b->then = [&] { b.reset(); };
    signal.EmitMany(2, [](size_t i, auto const& call) { call(static_cast<int>(i)); });
    EXPECT_EQ(calls, (Calls{"a0", "a1", "b0", "c0", "c1"}));
}

TEST_F(SignalTest, NestedEmissionsAndDisconnectsKeepTheOuterWalkWhole) {
    Listener a(calls, "a"), b(calls, "b"), c(calls, "c");
    a.then = [&] {
        signal.Emit(2);
        signal.Disconnect(&b);
    };
    for (Listener* listener : {&a, &b, &c})
        signal.Connect(listener, &Listener::On);
    signal.Emit(1);
    EXPECT_EQ(calls, (Calls{"a1", "a2", "b2", "c2", "c1"}));
}

TEST_F(SignalTest, AnExceptionEndsTheEmissionOnly) {
    Listener a(calls, "a"), b(calls, "b");
    a.then = [] { throw std::runtime_error("slot"); };
    signal.Connect(&a, &Listener::On);
    signal.Connect(&b, &Listener::On);
    EXPECT_THROW(signal.Emit(1), std::runtime_error);
    signal.Disconnect(&a);
    signal.Emit(2);
    EXPECT_EQ(calls, (Calls{"a1", "b2"}));
}

TEST_F(SignalTest, EitherSideMayDieFirst) {
    Listener survivor(calls, "s"), other(calls, "o");
    auto owned = std::make_unique<Signal1<int>>();
    owned->Connect(&survivor, &Listener::On);
    owned->Connect(&other, &Listener::On);
    survivor.then = [&] { owned.reset(); };
    (*owned)(1);
    signal.Connect(&survivor, &Listener::On);
    {
        Listener gone(calls, "g");
        signal.Connect(&gone, &Listener::On);
        Listener copy(gone);
    }
    signal.Emit(2);
    EXPECT_EQ(calls, (Calls{"s1", "s2"}));
}

TEST(Signals, OtherPoliciesAndArgumentCounts) {
    struct Filter : HasSlots<ThreadPolicy::SingleThreaded> {
        void Show(std::shared_ptr<int> const& value, bool& show) { show = *value > 1; }
        void Count(int) { ++count; }
        int count = 0;
    } filter;
    Signal2<std::shared_ptr<int> const&, bool&> show;
    show.Connect(&filter, &Filter::Show);
    bool shown = false;
    show.Emit(std::make_shared<int>(2), shown);
    EXPECT_TRUE(shown);
    s_early.Connect(&filter, &Filter::Count);
    s_early.Connect(&filter, &Filter::Count);
    s_early(1);
    EXPECT_EQ(filter.count, 2);
}

// An object whose slot uses what its destructor has freed, if it may.
class Mortal : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    explicit Mortal(std::atomic<int>& calls) : m_calls(calls), m_data(new std::string("alive")) {}
    ~Mortal() override {
        DisconnectAll();
        delete m_data;
    }
    void On(int) {
        m_data->push_back('.');
        ++m_calls;
    }

private:
    std::atomic<int>& m_calls;
    std::string* m_data;
};

TEST(SignalThreads, ObjectsDieWhileOtherThreadsEmit) {
    Signal1<int> signal;
    std::atomic<bool> stop{false};
    std::atomic<int> calls{0};
    std::vector<std::jthread> emitters;
    for (int i = 0; i < 2; ++i) {
        emitters.emplace_back([&] {
            while (!stop)
                signal.Emit(1);
        });
    }
    std::vector<std::jthread> makers;
    std::atomic<int> rounds{0};
    for (int i = 0; i < 2; ++i) {
        makers.emplace_back([&] {
            while (rounds++ < 2000 || calls == 0) {
                Mortal first(calls);
                auto second = std::make_unique<Mortal>(calls);
                signal.Connect(&first, &Mortal::On);
                signal.Connect(second.get(), &Mortal::On);
                second.reset();
            }
        });
    }
    makers.clear();
    stop = true;
    emitters.clear();
    EXPECT_TRUE(signal.Empty());
    EXPECT_GT(calls, 0);
}

// A slot that stays inside until it is let go.
struct Gate : HasSlots<ThreadPolicy::LocalThreaded> {
    void On(int) {
        inside = true;
        EXPECT_TRUE(WaitFor([this] { return open.load(); }));
        left = true;
    }
    std::atomic<bool> inside{false};
    std::atomic<bool> open{false};
    std::atomic<bool> left{false};
};

TEST(SignalThreads, OnlyTheObjectThatIsBeingCalledIsWaitedFor) {
    Signal1<int> signal;
    Gate gate;
    std::atomic<int> calls{0};
    auto other = std::make_unique<Mortal>(calls);
    signal.Connect(&gate, &Gate::On);
    signal.Connect(other.get(), &Mortal::On);
    std::thread emitter([&] { signal.Emit(1); });
    ASSERT_TRUE(WaitFor([&] { return gate.inside.load(); }));
    // Neither a new connection nor another object's death waits for the slot.
    Mortal late(calls);
    signal.Connect(&late, &Mortal::On);
    other.reset();
    EXPECT_FALSE(gate.left);
    std::atomic<long> waiter{0};
    std::thread disconnector([&] {
        waiter = CurrentThread();
        signal.Disconnect(&gate);
        EXPECT_TRUE(gate.left);
    });
    ASSERT_TRUE(WaitFor([&] { return waiter != 0 && TaskState(waiter) == 'S'; }));
    gate.open = true;
    disconnector.join();
    emitter.join();
    EXPECT_EQ(calls, 0) << "neither the one that died nor the one that came later was called";
}

TEST(SignalThreads, TwoSignalsAndTheirObjectsCrossWithoutDeadLock) {
    // Each thread emits one signal, whose slot makes and destroys an object that
    // is connected to the other thread's signal.
    Signal1<int> signals[2];
    struct Crosser : HasSlots<ThreadPolicy::LocalThreaded> {
        Crosser(Signal1<int>& otherSignal, std::atomic<int>& callCount) : other(otherSignal), calls(callCount) {}
        ~Crosser() override { DisconnectAll(); }
        void On(int) {
            Mortal visitor(calls);
            other.Connect(&visitor, &Mortal::On);
        }
        Signal1<int>& other;
        std::atomic<int>& calls;
    };
    std::atomic<int> calls{0};
    Crosser a(signals[1], calls), b(signals[0], calls);
    signals[0].Connect(&a, &Crosser::On);
    signals[1].Connect(&b, &Crosser::On);
    auto emit = [&](int which) {
        for (int round = 0; round < 3000; ++round)
            signals[which].Emit(round);
    };
    { std::jthread one(emit, 0), two(emit, 1); }
    EXPECT_TRUE(calls >= 0 && !signals[0].Empty() && !signals[1].Empty());
}

} // namespace corekit::test::test_signal
