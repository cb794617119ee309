#pragma once

#include <corekit/lockorder.h>
#include <corekit/threadannotations.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace corekit {

// RWLock is a lock for many readers or one writer, 16 bytes long, since every
// mirrored Job has one.
// Owner: the list or object whose fields it guards. Works with: LockOrder.
// Thread: any. The thread that took it gives it back.
// Always:
// - a thread that holds it may take it for reading again, also while a writer
//   waits; a writer may read and write again;
// - a waiting writer lets no new reader in, and a writer that leaves lets in
//   first the readers that waited for it, so neither side starves;
// - asking to write while only reading could never end: it logs and aborts;
// - whoever holds it keeps its owner alive until the unlock has returned.
class CK_CAPABILITY("RWLock") RWLock {
public:
    explicit RWLock(LockRank rank = LockRank::None) : m_state(static_cast<uint64_t>(rank) << k_RankShift) {}
    RWLock(RWLock const&) = delete;
    RWLock& operator=(RWLock const&) = delete;

    void ReadLock() const CK_ACQUIRE_SHARED();
    void ReadUnlock() const CK_RELEASE_SHARED();
    void WriteLock() const CK_ACQUIRE();
    void WriteUnlock() const CK_RELEASE();

    // True when the calling thread holds the lock, for reading or for writing.
    bool IsHeld() const;
    // True when the calling thread holds the lock for writing.
    bool IsHeldForWriting() const;

    // Hold the lock for a scope; Unlock gives it up before the scope ends.
    class CK_SCOPED_CAPABILITY Reader {
    public:
        explicit Reader(RWLock const& lock) CK_ACQUIRE_SHARED(lock) : m_lock(&lock) { lock.ReadLock(); }
        ~Reader() CK_RELEASE_GENERIC() {
            if (m_lock)
                m_lock->ReadUnlock();
        }
        Reader(Reader const&) = delete;
        Reader& operator=(Reader const&) = delete;

        void Unlock() CK_RELEASE_GENERIC() {
            m_lock->ReadUnlock();
            m_lock = nullptr;
        }

    private:
        RWLock const* m_lock;
    };

    class CK_SCOPED_CAPABILITY Writer {
    public:
        explicit Writer(RWLock const& lock) CK_ACQUIRE(lock) : m_lock(&lock) { lock.WriteLock(); }
        ~Writer() CK_RELEASE() {
            if (m_lock)
                m_lock->WriteUnlock();
        }
        Writer(Writer const&) = delete;
        Writer& operator=(Writer const&) = delete;

        void Unlock() CK_RELEASE() {
            m_lock->WriteUnlock();
            m_lock = nullptr;
        }

    private:
        RWLock const* m_lock;
    };

private:
    static constexpr unsigned k_RankShift = 56;

    void EnterRead() const;
    void LeaveRead() const;
    void EnterWrite() const;
    void LeaveWrite() const;
    void WaitForTurn(uint64_t registered) const;
    LockRank Rank() const;

    // Counts of readers inside, readers waiting and writers waiting, the
    // writer's bit, the turn's bit and the rank: see rwlock.cpp.
    mutable std::atomic<uint64_t> m_state;
    // Sleepers wait on these two; each grows by one with every wake-up.
    mutable std::atomic<uint32_t> m_readersGate{0};
    mutable std::atomic<uint32_t> m_writersGate{0};
};

static_assert(sizeof(RWLock) == 16, "100,000 Jobs have one each");

} // namespace corekit
