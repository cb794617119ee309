#pragma once

// The events that wait for the Master's working thread.

#include "master/core/event.h"

#include <corekit/commonmutex.h>

#include <chrono>
#include <deque>

namespace farm {

// A peer's queue has room again.
struct PeerDrained {
    PeerId peer = 0;
};

using Incoming = std::variant<Event, PeerDrained>;

// A queue from the network threads to the working thread.
//
// Owned by the Master's shell. Push from any thread, TakeEvents from one. Push waits when
// too much is queued already, which slows the peers down by way of their sockets.
class Inbox {
public:
    static constexpr size_t k_Limit = 100'000;

    void Push(Incoming event);

    // Takes up to `most` events, waiting for the first until `until`. Empty when the
    // time is over or the inbox is closed.
    std::deque<Incoming> TakeEvents(size_t most, std::chrono::steady_clock::time_point until);

    // Lets TakeEvents and Push return at once from now on.
    void Close();
    bool IsClosed() const;

private:
    mutable CommonMutex m_guard;
    CommonCondition m_filled;
    CommonCondition m_emptied;
    std::deque<Incoming> m_events CK_GUARDED_BY(m_guard);
    bool m_closed CK_GUARDED_BY(m_guard) = false;
};

} // namespace farm
