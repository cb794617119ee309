#include <corekit/signalcore.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace corekit {

// Holds m_guard of a threaded core, and nothing of a single-threaded one.
class CK_SCOPED_CAPABILITY SignalCore::Guard {
public:
    explicit Guard(SignalCore const& core) CK_ACQUIRE(core.m_guard) CK_NO_THREAD_SAFETY_ANALYSIS {
        if (core.m_threaded)
            m_lock.emplace(core.m_guard);
    }
    ~Guard() CK_RELEASE() CK_NO_THREAD_SAFETY_ANALYSIS {}
    CommonMutex::Lock& Lock() { return *m_lock; }

private:
    std::optional<CommonMutex::Lock> m_lock;
};

void intrusive_ptr_add_ref(SignalCore* core) { core->m_uses.fetch_add(1, std::memory_order_relaxed); }

void intrusive_ptr_release(SignalCore* core) {
    if (core->m_uses.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete core;
}

SlotOwner::~SlotOwner() { DisconnectAll(); }

void SlotOwner::DisconnectAll() {
    for (;;) {
        std::vector<boost::intrusive_ptr<SignalCore>> signals;
        {
            CommonMutex::Lock const lock(m_guard);
            signals.swap(m_signals);
        }
        if (signals.empty())
            return;
        // The mutex is free meanwhile: a slot that still runs may connect or
        // disconnect this object. Hence the loop.
        for (auto const& signal : signals)
            signal->Drop(*this);
    }
}

void SlotOwner::Remember(SignalCore& core) {
    CommonMutex::Lock const lock(m_guard);
    // Signals may die first; their cores go when an object connects next.
    std::erase_if(m_signals, [&](auto const& known) { return known.get() == &core || known->m_closed; });
    m_signals.emplace_back(&core);
}

void SlotOwner::Forget(SignalCore& core) {
    CommonMutex::Lock const lock(m_guard);
    std::erase_if(m_signals, [&](auto const& known) { return known.get() == &core; });
}

SignalCore& SignalCore::Make(std::atomic<SignalCore*>& place, bool threaded) {
    SignalCore* core = place.load(std::memory_order_acquire);
    if (core)
        return *core;
    auto* made = new SignalCore(threaded);
    if (place.compare_exchange_strong(core, made, std::memory_order_acq_rel, std::memory_order_acquire))
        return *made;
    delete made;
    return *core;
}

void SignalCore::Add(SlotOwner& owner, ConnectionBase* connection) {
    boost::intrusive_ptr<ConnectionBase> taken(connection);
    {
        Guard guard(*this);
        m_connections.push_back(std::move(taken));
    }
    owner.Remember(*this);
}

void SignalCore::Remove(SlotOwner& owner) {
    // In this order a connection made meanwhile is never left unknown to its owner.
    owner.Forget(*this);
    Drop(owner);
}

void SignalCore::Drop(SlotOwner const& owner) {
    // Freed after the guard: a connection may carry a callable with data.
    std::vector<boost::intrusive_ptr<ConnectionBase>> ended;
    Guard guard(*this);
    for (auto& connection : m_connections) {
        if (connection && connection->Owner() == &owner) {
            connection->m_hasEnded = true;
            ended.emplace_back().swap(connection);
        }
    }
    if (!ended.empty()) {
        m_needsSweep = true;
        Sweep();
    }
    if (!m_threaded)
        return;
    while (m_innermost && m_emitter != std::this_thread::get_id() && IsInside(owner)) {
        ++m_waiting;
        m_stepped.wait(guard.Lock());
        --m_waiting;
    }
}

void SignalCore::Close() {
    m_closed = true;
    std::vector<boost::intrusive_ptr<ConnectionBase>> ended;
    Guard guard(*this);
    ended.reserve(m_connections.size());
    for (auto& connection : m_connections) {
        if (connection)
            connection->m_hasEnded = true;
        ended.emplace_back().swap(connection);
    }
    m_needsSweep = true;
    Sweep();
}

size_t SignalCore::Size() const {
    Guard guard(*this);
    return static_cast<size_t>(
        std::count_if(m_connections.begin(), m_connections.end(), [](auto const& c) { return c != nullptr; }));
}

// The compiler does not know that an emission's core is this one.
bool SignalCore::IsInside(SlotOwner const& owner) const CK_NO_THREAD_SAFETY_ANALYSIS {
    for (SignalEmission const* emission = m_innermost; emission; emission = emission->m_outer) {
        if (emission->m_inside == &owner)
            return true;
    }
    return false;
}

// Emissions walk by position, so ended entries stay until none is under way.
void SignalCore::Sweep() {
    if (!m_needsSweep || m_innermost)
        return;
    std::erase(m_connections, nullptr);
    m_needsSweep = false;
}

SignalEmission::SignalEmission(SignalCore& core) : m_core(&core) {
    if (core.m_threaded)
        core.m_emission.lock();
    SignalCore::Guard guard(core);
    m_outer = core.m_innermost;
    m_end = core.m_connections.size();
    core.m_innermost = this;
    core.m_emitter = std::this_thread::get_id();
}

SignalEmission::~SignalEmission() {
    {
        SignalCore::Guard guard(*m_core);
        m_inside = nullptr;
        m_core->m_innermost = m_outer;
        m_core->Sweep();
        if (m_core->m_waiting)
            m_core->m_stepped.notify_all();
    }
    if (m_core->m_threaded)
        m_core->m_emission.unlock();
}

ConnectionBase* SignalEmission::Next() {
    boost::intrusive_ptr<ConnectionBase> last = std::move(m_current);
    SignalCore::Guard guard(*m_core);
    m_inside = nullptr;
    if (m_core->m_waiting)
        m_core->m_stepped.notify_all();
    while (m_next < m_end) {
        m_current = m_core->m_connections[m_next++];
        if (m_current) {
            m_inside = m_current->Owner();
            return m_current.get();
        }
    }
    return nullptr;
}

} // namespace corekit
