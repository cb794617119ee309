#pragma once

#include <corekit/lockorder.h>
#include <corekit/threadannotations.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace corekit {

// ScopeLock holds a mutex for a scope.
template <class Mutex>
class CK_SCOPED_CAPABILITY ScopeLock {
public:
    explicit ScopeLock(Mutex& mutex) CK_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~ScopeLock() CK_RELEASE() {
        if (m_held)
            m_mutex.unlock();
    }
    ScopeLock(ScopeLock const&) = delete;
    ScopeLock& operator=(ScopeLock const&) = delete;

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
    friend class CommonCondition;
    Mutex& m_mutex;
    bool m_held = true;
};

// CommonMutex is the plain mutex of the system: not recursive, with a place in
// the lock order.
// Owner: whatever it guards. Works with: LockOrder, CommonCondition.
// Thread: any.
// Always: a thread that holds it does not take it again.
class CK_CAPABILITY("mutex") CommonMutex {
public:
    using Lock = ScopeLock<CommonMutex>;

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

private:
    friend class CommonCondition;
    std::mutex m_mutex;
    LockRank const m_rank;
};

// RecursiveMutex may be taken again by the thread that holds it. It has no place in
// the lock order: prefer a CommonMutex.
// Thread: any.
class CK_CAPABILITY("mutex") RecursiveMutex {
public:
    using Lock = ScopeLock<RecursiveMutex>;

    RecursiveMutex() = default;
    RecursiveMutex(RecursiveMutex const&) = delete;
    RecursiveMutex& operator=(RecursiveMutex const&) = delete;

    void lock() CK_ACQUIRE() { m_mutex.lock(); }
    void unlock() CK_RELEASE() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

// CommonCondition is std::condition_variable for a CommonMutex, in the same words. The
// compiler follows no lock into a predicate: write CK_REQUIRES(the mutex) on it.
// Thread: any; who waits holds the lock, which is free meanwhile.
class CommonCondition {
public:
    using Lock = CommonMutex::Lock;
    using Clock = std::chrono::steady_clock;

    void notify_one() { m_condition.notify_one(); }
    void notify_all() { m_condition.notify_all(); }

    void wait(Lock& lock) {
        WithStandardLock(lock, [&](auto& inner) { m_condition.wait(inner); });
    }
    template <class Predicate>
    void wait(Lock& lock, Predicate isReady) CK_NO_THREAD_SAFETY_ANALYSIS {
        while (!isReady())
            wait(lock);
    }
    std::cv_status wait_until(Lock& lock, Clock::time_point until) {
        std::cv_status status{};
        WithStandardLock(lock, [&](auto& inner) { status = m_condition.wait_until(inner, until); });
        return status;
    }
    // False when the time is over and the predicate does not hold.
    template <class Predicate>
    bool wait_until(Lock& lock, Clock::time_point until, Predicate isReady) CK_NO_THREAD_SAFETY_ANALYSIS {
        while (!isReady()) {
            if (wait_until(lock, until) == std::cv_status::timeout)
                return isReady();
        }
        return true;
    }
    template <class Duration, class Predicate>
    bool wait_for(Lock& lock, Duration duration, Predicate isReady) {
        return wait_until(lock, Clock::now() + std::chrono::ceil<Clock::duration>(duration), isReady);
    }

private:
    template <class Wait>
    static void WithStandardLock(Lock& lock, Wait&& wait) {
        CommonMutex& mutex = lock.m_mutex;
        LockOrder::Released(mutex.m_rank);
        std::unique_lock<std::mutex> inner(mutex.m_mutex, std::adopt_lock);
        wait(inner);
        inner.release();
        LockOrder::Taking(mutex.m_rank);
    }

    std::condition_variable m_condition;
};

} // namespace corekit
