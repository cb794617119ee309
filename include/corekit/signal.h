#pragma once

#include <corekit/signalcore.h>

#include <functional>
#include <type_traits>
#include <utility>

namespace corekit {

// Connection is one line from a signal to a slot: the destination object and the
// member function (or other callable) to call.
// Owner: the signal's core; an emission keeps it alive through its call.
template <class... Args>
class Connection : public ConnectionBase {
public:
    using ConnectionBase::ConnectionBase;
    virtual void Call(Args... args) = 0;
};

template <class Object, class Method, class... Args>
class MethodConnection final : public Connection<Args...> {
public:
    MethodConnection(Object* object, Method method)
        : Connection<Args...>(object), m_object(object), m_method(std::move(method)) {}

    void Call(Args... args) override {
        if constexpr (std::is_invocable_v<Method&, Object*, Args...>)
            std::invoke(m_method, m_object, std::forward<Args>(args)...);
        else if constexpr (std::is_invocable_v<Method&, Object*>)
            std::invoke(m_method, m_object);
        else
            std::invoke(m_method, std::forward<Args>(args)...);
    }

private:
    Object* m_object;
    Method m_method;
};

// Signal tells any number of connected objects about an event. Use it by the
// names Signal0, Signal1 and Signal2 below.
// Owner: whoever raises the event; many are static, and one may be used before
// its file's static initialisers have run.
// Works with: HasSlots, the base of every destination.
// Thread: any, by the policy LocalThreaded; one only, by SingleThreaded.
// Always:
// - emissions of one signal follow each other: the signal's lock is held during
//   emission, and a slot may emit the same signal again;
// - slots are called in the order of their connection; one that is connected
//   during an emission is first called by the next one;
// - a slot may disconnect itself or any other, and may destroy its own object;
// - when Disconnect or an object's destructor returns, none of its slots runs on
//   another thread. They wait for that object's call only, not for the rest of
//   the emission, and Connect never waits for a slot.
template <class Policy, class... Args>
class Signal {
public:
    constexpr Signal() = default;
    ~Signal() {
        if (SignalCore* core = m_core.load(std::memory_order_acquire)) {
            core->Close();
            intrusive_ptr_release(core);
        }
    }
    Signal(Signal const&) = delete;
    Signal& operator=(Signal const&) = delete;

    // `method` is a member function of the object that takes the signal's
    // arguments or none, or a callable that takes the arguments; the object
    // must derive from HasSlots and carries the life of the connection.
    template <class Object, class Method>
    void Connect(Object* object, Method method) {
        static_assert(std::is_base_of_v<SlotOwner, Object>, "the destination of a signal derives from HasSlots");
        Core().Add(*object, new MethodConnection<Object, Method, Args...>(object, std::move(method)));
    }

    // Ends all connections to the object. Waits while another thread is inside
    // one of its slots, so hold no lock here that such a slot takes.
    void Disconnect(SlotOwner* object) {
        if (SignalCore* core = m_core.load(std::memory_order_acquire))
            core->Remove(*object);
    }

    // Calls every slot. An exception of a slot ends the emission and passes on.
    void Emit(Args... args) const {
        SignalCore* core = m_core.load(std::memory_order_acquire);
        if (!core)
            return;
        SignalEmission emission(*core);
        while (ConnectionBase* connection = emission.Next())
            static_cast<Connection<Args...>*>(connection)->Call(args...);
    }
    void operator()(Args... args) const { Emit(static_cast<Args>(args)...); }

    // As if it were emitted `count` times, at the cost of one: a slot is called for all of
    // them before the next slot is. `each(i, call)` calls `call` with the arguments of the
    // i-th time, once. Whoever disconnects a slot waits for its calls of all times.
    template <class Each>
    void EmitMany(size_t count, Each const& each) const {
        SignalCore* core = m_core.load(std::memory_order_acquire);
        if (!core)
            return;
        SignalEmission emission(*core);
        while (ConnectionBase* next = emission.Next()) {
            auto& connection = *static_cast<Connection<Args...>*>(next);
            auto const call = [&connection](Args... args) { connection.Call(static_cast<Args>(args)...); };
            for (size_t i = 0; i < count && !connection.HasEnded(); ++i)
                each(i, call);
        }
    }

    // True when nobody is connected.
    bool Empty() const {
        SignalCore* core = m_core.load(std::memory_order_acquire);
        return !core || core->Size() == 0;
    }

private:
    SignalCore& Core() { return SignalCore::Make(m_core, Policy::k_Threaded); }

    // Made by the first Connect; never replaced.
    std::atomic<SignalCore*> m_core{nullptr};
};

template <class Policy = ThreadPolicy::LocalThreaded>
using Signal0 = Signal<Policy>;
template <class Arg, class Policy = ThreadPolicy::LocalThreaded>
using Signal1 = Signal<Policy, Arg>;
template <class Arg1, class Arg2, class Policy = ThreadPolicy::LocalThreaded>
using Signal2 = Signal<Policy, Arg1, Arg2>;
template <class Arg>
using Connection1 = Connection<Arg>;

} // namespace corekit
