#include <corekit/rwlock.h>

#include <corekit/log.h>

#include <array>
#include <cstdlib>

namespace corekit {

namespace {

// The parts of the state word.
constexpr uint64_t k_Reader = 1;                        // bits 0 to 15: readers inside
constexpr uint64_t k_WaitingReader = uint64_t{1} << 16; // bits 16 to 31
constexpr uint64_t k_WaitingWriter = uint64_t{1} << 32; // bits 32 to 47
constexpr uint64_t k_Writer = uint64_t{1} << 48;        // a writer is inside
// Flips when the waiting readers are let in. One bit will do: it cannot flip
// again before those readers have left.
constexpr uint64_t k_Turn = uint64_t{1} << 49;
constexpr uint64_t k_Readers = 0xffff * k_Reader;
constexpr uint64_t k_WaitingReaders = 0xffff * k_WaitingReader;
constexpr uint64_t k_WaitingWriters = 0xffff * k_WaitingWriter;

// What one thread holds, so that it can take a lock again without waiting.
struct HeldLock {
    RWLock const* lock;
    uint32_t count;
    bool writing;
};

constexpr size_t k_MaxHeld = 64;

struct HeldLocks {
    std::array<HeldLock, k_MaxHeld> entries;
    size_t size;
};

constinit thread_local HeldLocks t_held{};

HeldLock* FindHeld(RWLock const* lock) {
    for (size_t i = t_held.size; i-- > 0;) {
        if (t_held.entries[i].lock == lock)
            return &t_held.entries[i];
    }
    return nullptr;
}

[[noreturn]] void Misuse(char const* text) {
    LogError(text);
    Log::Flush();
    std::abort();
}

void AddHeld(RWLock const* lock, bool writing) {
    if (t_held.size == k_MaxHeld)
        Misuse("A thread holds too many locks");
    t_held.entries[t_held.size++] = {lock, 1, writing};
}

void EraseHeld(HeldLock* held) { *held = t_held.entries[--t_held.size]; }

} // namespace

void RWLock::ReadLock() const {
    if (HeldLock* held = FindHeld(this)) {
        ++held->count;
        return;
    }
    LockOrder::Taking(Rank());
    EnterRead();
    AddHeld(this, false);
}

void RWLock::WriteLock() const {
    if (HeldLock* held = FindHeld(this)) {
        if (!held->writing)
            Misuse("A thread that only reads under a lock asks to write under it");
        ++held->count;
        return;
    }
    LockOrder::Taking(Rank());
    EnterWrite();
    AddHeld(this, true);
}

void RWLock::ReadUnlock() const {
    HeldLock* held = FindHeld(this);
    if (!held)
        Misuse("A thread gives back a lock that it doesn't hold");
    if (--held->count > 0)
        return;
    bool writing = held->writing;
    EraseHeld(held);
    // The rank first: once the lock is free, its owner may be freed too.
    LockOrder::Released(Rank());
    if (writing)
        LeaveWrite();
    else
        LeaveRead();
}

void RWLock::WriteUnlock() const { ReadUnlock(); }

bool RWLock::IsHeld() const { return FindHeld(this) != nullptr; }

bool RWLock::IsHeldForWriting() const {
    HeldLock* held = FindHeld(this);
    return held && held->writing;
}

LockRank RWLock::Rank() const { return static_cast<LockRank>(m_state.load(std::memory_order_relaxed) >> k_RankShift); }

void RWLock::EnterRead() const {
    uint64_t state = m_state.load(std::memory_order_relaxed);
    for (;;) {
        bool free = (state & (k_Writer | k_WaitingWriters)) == 0;
        uint64_t next = state + (free ? k_Reader : k_WaitingReader);
        if (m_state.compare_exchange_weak(state, next, std::memory_order_acquire, std::memory_order_relaxed)) {
            if (!free)
                WaitForTurn(next);
            return;
        }
    }
}

// A waiting reader does not take the lock itself: the writer that leaves turns
// all waiting readers into readers inside, and flips the turn.
void RWLock::WaitForTurn(uint64_t registered) const {
    for (;;) {
        uint32_t gate = m_readersGate.load(std::memory_order_acquire);
        if (((m_state.load(std::memory_order_acquire) ^ registered) & k_Turn) != 0)
            return;
        m_readersGate.wait(gate, std::memory_order_acquire);
    }
}

void RWLock::LeaveRead() const {
    uint64_t state = m_state.fetch_sub(k_Reader, std::memory_order_release) - k_Reader;
    if ((state & k_Readers) == 0 && (state & k_WaitingWriters) != 0) {
        m_writersGate.fetch_add(1, std::memory_order_release);
        m_writersGate.notify_one();
    }
}

void RWLock::EnterWrite() const {
    bool waiting = false;
    for (;;) {
        uint32_t gate = m_writersGate.load(std::memory_order_acquire);
        uint64_t state = m_state.load(std::memory_order_relaxed);
        if ((state & (k_Writer | k_Readers)) == 0) {
            uint64_t next = state + k_Writer - (waiting ? k_WaitingWriter : 0);
            if (m_state.compare_exchange_weak(state, next, std::memory_order_acquire, std::memory_order_relaxed))
                return;
        } else if (!waiting) {
            waiting = m_state.compare_exchange_weak(state, state + k_WaitingWriter, std::memory_order_relaxed);
        } else {
            m_writersGate.wait(gate, std::memory_order_acquire);
        }
    }
}

void RWLock::LeaveWrite() const {
    uint64_t state = m_state.load(std::memory_order_relaxed);
    uint64_t next;
    do {
        next = state - k_Writer;
        if (uint64_t waiting = (state & k_WaitingReaders) / k_WaitingReader)
            next = (next - waiting * k_WaitingReader + waiting * k_Reader) ^ k_Turn;
    } while (!m_state.compare_exchange_weak(state, next, std::memory_order_release, std::memory_order_relaxed));

    if ((state & k_WaitingReaders) != 0) {
        m_readersGate.fetch_add(1, std::memory_order_release);
        m_readersGate.notify_all();
    } else if ((state & k_WaitingWriters) != 0) {
        m_writersGate.fetch_add(1, std::memory_order_release);
        m_writersGate.notify_one();
    }
}

} // namespace corekit
