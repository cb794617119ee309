#pragma once

// What every signal shares whatever its arguments are: the list of connections,
// the locks, and the destinations' side. Include corekit/signal.h instead.

#include <corekit/commonmutex.h>

#include <atomic>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace corekit {

class SignalCore;
class SignalEmission;
class SlotOwner;

// How a signal locks.
struct ThreadPolicy {
    // A mutex per signal, held during emission: any thread may use it.
    struct LocalThreaded {
        static constexpr bool k_Threaded = true;
    };
    // No lock: the signal and its destinations live on one thread.
    struct SingleThreaded {
        static constexpr bool k_Threaded = false;
    };
};

void intrusive_ptr_add_ref(SignalCore* core);
void intrusive_ptr_release(SignalCore* core);

// The untyped part of a connection.
class ConnectionBase {
public:
    explicit ConnectionBase(SlotOwner* owner) : m_owner(owner) {}
    virtual ~ConnectionBase() = default;
    ConnectionBase(ConnectionBase const&) = delete;
    ConnectionBase& operator=(ConnectionBase const&) = delete;

    SlotOwner* Owner() const { return m_owner; }
    // No new call any more.
    bool HasEnded() const { return m_hasEnded.load(std::memory_order_relaxed); }

private:
    friend class SignalCore;
    friend void intrusive_ptr_add_ref(ConnectionBase* connection) {
        connection->m_uses.fetch_add(1, std::memory_order_relaxed);
    }
    friend void intrusive_ptr_release(ConnectionBase* connection) {
        if (connection->m_uses.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete connection;
    }

    SlotOwner* const m_owner;
    std::atomic<bool> m_hasEnded{false};
    std::atomic<uint32_t> m_uses{0};
};

// SlotOwner is the destinations' side: it remembers the signals that its object
// is connected to and ends those connections when the object dies.
// Owner: it is a base of the destination, by way of HasSlots.
// Thread: any. Its mutex is held for a look at the list alone, never while
// another lock is taken, so it has no place in any order.
class SlotOwner {
public:
    // A copy starts without connections, and assignment leaves them alone: the
    // signals know the one object only.
    SlotOwner(SlotOwner const&) {}
    SlotOwner& operator=(SlotOwner const&) { return *this; }
    virtual ~SlotOwner();

protected:
    SlotOwner() = default;

    // Ends all connections; waits while another thread is inside one of this
    // object's slots. A class whose slots run on other threads calls it first in
    // its destructor, while its own fields still stand.
    void DisconnectAll();

private:
    friend class SignalCore;
    void Remember(SignalCore& core);
    void Forget(SignalCore& core);

    CommonMutex m_guard;
    std::vector<boost::intrusive_ptr<SignalCore>> m_signals CK_GUARDED_BY(m_guard);
};

// HasSlots is the base of every class that is the destination of signals. The policy says on
// which threads its slots may be called; the object itself connects to signals
// of either kind.
template <class Policy = ThreadPolicy::LocalThreaded>
class HasSlots : public SlotOwner {
protected:
    HasSlots() = default;
};

// SignalCore holds the connections of one signal.
// Owner: its Signal, every connected object and every running emission, by
// count; so each of them may die first.
// Thread: any, when threaded. m_emission is held through an emission; m_guard
// for the moments in which the fields are looked at, never during a call.
class SignalCore {
public:
    // The core behind `place`; the first call makes it.
    static SignalCore& Make(std::atomic<SignalCore*>& place, bool threaded);

    // Takes over the connection.
    void Add(SlotOwner& owner, ConnectionBase* connection);
    // Ends the owner's connections, and waits until no other thread is inside
    // one of its slots.
    void Remove(SlotOwner& owner);
    // The signal has died: nobody is called any more.
    void Close();
    size_t Size() const;

private:
    friend class SignalEmission;
    friend class SlotOwner;
    friend void intrusive_ptr_add_ref(SignalCore* core);
    friend void intrusive_ptr_release(SignalCore* core);
    class Guard;

    explicit SignalCore(bool threaded) : m_threaded(threaded) {}
    // Remove without telling the owner, which is dying or knows.
    void Drop(SlotOwner const& owner);
    bool IsInside(SlotOwner const& owner) const CK_REQUIRES(m_guard);
    void Sweep() CK_REQUIRES(m_guard);

    // Constant after construction.
    bool const m_threaded;

    std::atomic<uint32_t> m_uses{1};
    std::atomic<bool> m_closed{false};
    RecursiveMutex m_emission;

    mutable CommonMutex m_guard;
    CommonCondition m_stepped; // an emission has left a slot
    // Null: ended while an emission walks.
    std::vector<boost::intrusive_ptr<ConnectionBase>> m_connections CK_GUARDED_BY(m_guard);
    SignalEmission* m_innermost CK_GUARDED_BY(m_guard) = nullptr;
    std::thread::id m_emitter CK_GUARDED_BY(m_guard);
    unsigned m_waiting CK_GUARDED_BY(m_guard) = 0;
    bool m_needsSweep CK_GUARDED_BY(m_guard) = false;
};

// SignalEmission is one walk over a signal's connections.
// Owner: the stack frame of Emit.
class SignalEmission {
public:
    explicit SignalEmission(SignalCore& core);
    ~SignalEmission();
    SignalEmission(SignalEmission const&) = delete;
    SignalEmission& operator=(SignalEmission const&) = delete;

    // Steps on and gives the connection to call now; null at the end.
    ConnectionBase* Next();

private:
    friend class SignalCore;

    boost::intrusive_ptr<SignalCore> m_core;
    boost::intrusive_ptr<ConnectionBase> m_current;
    SlotOwner const* m_inside CK_GUARDED_BY(m_core->m_guard) = nullptr;
    SignalEmission* m_outer = nullptr; // the emission that this one is nested in
    size_t m_next = 0;
    size_t m_end = 0;
};

} // namespace corekit
