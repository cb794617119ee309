#pragma once

#include <corekit/commonmutex.h>
#include <corekit/containers.h>
#include <corekit/signal.h>
#include <corekit/uid.h>
#include <vorlan/jobhistory.h>

namespace vorlan {

// DeleteHistory takes a history away from its owner and frees it: a long one on a
// thread of the pool, so that neither the message thread nor the GUI waits.
class DeleteHistory : public JobHistory {
public:
    // From here on a history is long.
    static constexpr size_t k_LongItems = 32;

    // `source` is empty afterwards.
    explicit DeleteHistory(JobHistory& source);
};

// HistoryTimer looks at every tick whether a history in memory may go.
// Owner: a static of its own, made by the first request for a history.
// Thread: Add on any; the tick on the GUI thread.
class HistoryTimer : public HasSlots<> {
public:
    static HistoryTimer& Get();

    void Add(UID const& job);
    // One look at all of them.
    void Check();
    size_t Count() const;

private:
    HistoryTimer();
    ~HistoryTimer() override { DisconnectAll(); }

    mutable CommonMutex m_mutex;
    corekit::set<UID> m_jobs; // guarded by m_mutex
};

} // namespace vorlan
