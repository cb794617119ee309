#pragma once

// Starts processes on several threads at once.

#include "engine/runner/spawn.h"

#include <corekit/commonmutex.h>
#include <corekit/uniquefd.h>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace vorlan::runner {

// A few threads that do nothing but start processes: whoever starts one waits until
// the new program is loaded, and one thread alone reaches half of what the machine can.
// A folder, a program or a user may be on a share that hangs, and the thread with it:
// then others are started, and at the end those that hang are left behind.
//
// Owned by the helper, whose one thread makes all calls.
class SpawnPool {
public:
    static constexpr size_t k_Threads = 4;
    static constexpr size_t k_MostThreads = 256;
    static constexpr int k_StuckMs = 250; // then another thread is started for those that wait

    struct Done {
        UID work;
        SpawnResult result;
    };
    using IsKnown = std::function<bool(pid_t)>;

    SpawnPool();
    ~SpawnPool();
    SpawnPool(SpawnPool const&) = delete;
    SpawnPool& operator=(SpawnPool const&) = delete;

    void Start(RunSpec spec, String mark, UniqueFd output);

    // Readable when there is something to take.
    int Descriptor() const;
    // What has been started, or could not be, since the last call.
    std::vector<Done> TakeDone();
    // How many were asked for and not taken yet.
    size_t InFlight() const { return m_inFlight; }

    // Starts another thread where one is due. In how many milliseconds it wants to be
    // called again; -1 for never.
    int Tend();

    // Keeps a unit that is being started from running. True: it never will, and is not
    // among those done. Else its process is killed before it is a program, and it is told
    // as any other. `isKnown` says which processes have been taken.
    bool Kill(UID const& work, IsKnown const& isKnown);
    // The same for all of them.
    void Abandon(IsKnown const& isKnown);

private:
    struct Order {
        RunSpec spec;
        String mark;
        UniqueFd output;
    };
    struct Worker {
        enum class Stage { Idle, Looking, Starting };
        pid_t thread = 0;
        UID work;
        Stage stage = Stage::Idle;
        bool canceled = false;
        std::chrono::steady_clock::time_point since;
    };
    // Outlives the pool as long as a thread hangs.
    struct State {
        UniqueFd ready;
        CommonMutex guard;
        CommonCondition wake;
        std::deque<Order> orders CK_GUARDED_BY(guard);
        std::vector<Done> done CK_GUARDED_BY(guard);
        std::vector<std::shared_ptr<Worker>> workers CK_GUARDED_BY(guard);
        bool stopping CK_GUARDED_BY(guard) = false;
    };
    static void Work(std::shared_ptr<State> const& state, std::shared_ptr<Worker> const& worker);
    void AddThread() CK_REQUIRES(m_state->guard);
    bool Cancel(Worker& worker, IsKnown const& isKnown) CK_REQUIRES(m_state->guard);

    std::shared_ptr<State> const m_state = std::make_shared<State>();
    size_t m_inFlight = 0;
};

} // namespace vorlan::runner
