#pragma once

// The one order in which the system's long-lived locks are taken, and the debug
// check that keeps it. docs/threading.md has the table with the reasons.

#include <cstdint>

namespace corekit {

// A lock's place in the order. A thread takes a lock only while every lock that
// it holds stands before it here. None is for locks at the very end: nothing is
// taken while one is held, so they are not checked.
enum class LockRank : uint8_t {
    None = 0,
    JobInfo = 1,
    JobList,
    EngineList,
    WorkList,
    WatcherRegistry,
    Failures,
    PoolTable,
};

// "JobList" and so on, for the log.
char const* LockRankName(LockRank rank);

// LockOrder counts, for each thread, the ranks that it holds. The locks call it;
// nobody else needs to. In a release build the calls are empty.
// Thread: each thread sees its own counts only.
class LockOrder {
public:
#ifndef NDEBUG
    // Call before waiting for the lock. Logs both ranks and aborts when a lock
    // of this rank or a later one is held.
    static void Taking(LockRank rank);
    static void Released(LockRank rank);
    // True when this thread holds a lock of this rank.
    static bool IsHeld(LockRank rank);
#else
    static void Taking(LockRank) {}
    static void Released(LockRank) {}
    static bool IsHeld(LockRank) { return false; }
#endif
};

} // namespace corekit
