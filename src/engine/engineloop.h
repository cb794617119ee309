#pragma once

// The one thread on which the Engine decides.

#include "engine/runner/runner.h"

#include <corekit/commonmutex.h>
#include <vorlan/fwd.h>

#include <functional>
#include <vector>

namespace vorlan {

// A queue of functions and the loop that runs them, batch by batch.
//
// Owned by the Engine's main part. Post from any thread, Run on one. After Close what
// is posted is dropped.
class EngineLoop {
public:
    static constexpr size_t k_WaitingBytes = size_t{4} << 20;

    void Post(std::function<void()> task) CK_EXCLUDES(m_guard);
    // The same for a function that carries so many bytes: waits while too many of them
    // wait to be run, so that a loud unit is slowed down and not the Engine filled up.
    // Not on the loop's own thread.
    void PostBytes(size_t bytes, std::function<void()> task) CK_EXCLUDES(m_guard);

    // Runs what is posted until Close. After each batch `onTurn` is called, which says
    // in how many milliseconds it wants to be called again at the latest.
    void Run(std::function<int()> const& onTurn) CK_EXCLUDES(m_guard);
    void Close() CK_EXCLUDES(m_guard);

private:
    CommonMutex m_guard;
    CommonCondition m_wake;
    CommonCondition m_room;
    std::vector<std::function<void()>> m_tasks CK_GUARDED_BY(m_guard);
    size_t m_bytes CK_GUARDED_BY(m_guard) = 0;
    bool m_closed CK_GUARDED_BY(m_guard) = false;
};

// Passes what a Runner says on to a listener on the loop's thread.
class LoopListener final : public Runner::Listener {
public:
    explicit LoopListener(EngineLoop& loop) : m_loop(loop) {}
    // Before anything runs; the listener outlives the loop's last turn.
    void SetListener(Runner::Listener* listener) { m_listener = listener; }

    void OnRunStarted(UID const& work, int pid) override;
    void OnRunOutput(UID const& work, std::string_view bytes) override;
    void OnRunEnded(UID const& work, RunEnd const& end) override;

private:
    EngineLoop& m_loop;
    Runner::Listener* m_listener = nullptr;
};

} // namespace vorlan
