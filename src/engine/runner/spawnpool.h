#pragma once

// Starts processes on several threads at once.

#include "engine/runner/spawn.h"

#include <corekit/commonmutex.h>
#include <corekit/uniquefd.h>

#include <deque>
#include <thread>
#include <vector>

namespace vorlan::runner {

// A few threads that do nothing but start processes: whoever starts one waits until
// the new program is loaded, and one thread alone reaches half of what the machine can.
//
// Owned by the helper, whose one thread makes all calls.
class SpawnPool {
public:
    static constexpr int k_Threads = 4;

    struct Done {
        UID work;
        SpawnResult result;
    };

    SpawnPool();
    ~SpawnPool() { Stop(); }
    SpawnPool(SpawnPool const&) = delete;
    SpawnPool& operator=(SpawnPool const&) = delete;

    void Start(RunSpec spec, String mark, UniqueFd output) CK_EXCLUDES(m_guard);

    // Readable when there is something to take.
    int Descriptor() const { return m_ready.Get(); }
    // What has been started, or could not be, since the last call.
    std::vector<Done> TakeDone() CK_EXCLUDES(m_guard);
    // How many were asked for and not taken yet.
    size_t InFlight() const { return m_inFlight; }

    // Drops what has not begun and waits for the rest, which can still be taken.
    void Stop() CK_EXCLUDES(m_guard);

private:
    struct Order {
        RunSpec spec;
        String mark;
        UniqueFd output;
    };
    void Work() CK_EXCLUDES(m_guard);

    UniqueFd m_ready;
    size_t m_inFlight = 0;
    std::vector<std::thread> m_threads;

    CommonMutex m_guard;
    CommonCondition m_wake;
    std::deque<Order> m_orders CK_GUARDED_BY(m_guard);
    std::vector<Done> m_done CK_GUARDED_BY(m_guard);
    bool m_stopping CK_GUARDED_BY(m_guard) = false;
};

} // namespace vorlan::runner
