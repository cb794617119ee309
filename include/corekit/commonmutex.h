#pragma once

#include <corekit/lockorder.h>
#include <corekit/threadannotations.h>

#include <mutex>

namespace corekit {

// CommonMutex is the plain mutex of the system: not recursive, with a place in
// the lock order.
// Owner: whatever it guards. Works with: LockOrder, std::condition_variable_any
// (wait on the Lock object).
// Thread: any.
// Always: a thread that holds it does not take it again.
class CK_CAPABILITY("mutex") CommonMutex {
public:
    explicit CommonMutex(LockRank rank = LockRank::None) : m_rank(rank) {}
    CommonMutex(CommonMutex const&) = delete;
    CommonMutex& operator=(CommonMutex const&) = delete;

    // Lower case, so that the standard library's helpers take it too.
    void lock() CK_ACQUIRE() {
        LockOrder::Taking(m_rank);
        m_mutex.lock();
    }
    void unlock() CK_RELEASE() {
        m_mutex.unlock();
        LockOrder::Released(m_rank);
    }

    // Holds the mutex for a scope.
    class CK_SCOPED_CAPABILITY Lock {
    public:
        explicit Lock(CommonMutex& mutex) CK_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
        ~Lock() CK_RELEASE() {
            if (m_held)
                m_mutex.unlock();
        }
        Lock(Lock const&) = delete;
        Lock& operator=(Lock const&) = delete;

        // Give it up early, or for the length of a call that must not hold it.
        void unlock() CK_RELEASE() {
            m_held = false;
            m_mutex.unlock();
        }
        void lock() CK_ACQUIRE() {
            m_mutex.lock();
            m_held = true;
        }

    private:
        CommonMutex& m_mutex;
        bool m_held = true;
    };

private:
    std::mutex m_mutex;
    LockRank const m_rank;
};

} // namespace corekit
