#pragma once

#include <corekit/commonmutex.h>
#include <corekit/signal.h>
#include <corekit/time.h>
#include <corekit/uid.h>
#include <vorlan/jobhistory.h>

#include <queue>
#include <unordered_map>
#include <vector>

namespace vorlan {

class JobInfo;

// DeleteHistory takes a history away from its owner and frees it: a long one on a
// thread of the pool, so that neither the message thread nor the GUI waits.
class DeleteHistory : public JobHistory {
public:
    // From here on a history is long.
    static constexpr size_t k_LongItems = 32;

    // `source` is empty afterwards.
    explicit DeleteHistory(JobHistory& source);
};

// HistoryTimer knows the Jobs with a history in memory, and drops each when its time
// is over.
// Owner: a static of its own, made by the first request for a history.
// Works with: the tick; JobInfo, which knows when its history may go.
// Thread: any; Check on the main thread, by the tick.
// Always: a tick looks at those alone whose time may be over. A history that may not go
// by time (its Job runs, or a display holds it) waits aside until Wake.
class HistoryTimer : public HasSlots<> {
public:
    static HistoryTimer& Get();

    // The history of the Job has an expiry time now, or a later one.
    void Keep(JobInfo const& info);
    // What held the history may have ended: the Job's run, a display.
    void Wake(JobInfo const& info);
    // The Job, or every Job, is gone.
    void Forget(UID const& job);
    void ForgetAll();

    // Drops what has expired before `now`.
    void Check(Time now);

    // Histories in memory.
    size_t Count() const;
    // Those that a tick may come to look at.
    size_t Timed() const;

private:
    struct Due {
        Time when;
        UID job;
        bool operator>(Due const& other) const { return when > other.when; }
    };

    HistoryTimer();
    ~HistoryTimer() override { DisconnectAll(); }
    void OnTick();
    // The next Job whose time may be over, put aside; null for none.
    UID TakeDue(Time now);
    void ForgetDropped(JobInfo const& info);
    void PlaceLocked(JobInfo const& info) CK_REQUIRES(m_mutex);

    mutable CommonMutex m_mutex;
    // The time under which the Job stands in m_dues; zero: aside.
    std::unordered_map<UID, Time> m_jobs CK_GUARDED_BY(m_mutex);
    // One that differs from its Job's time in m_jobs counts no more.
    std::priority_queue<Due, std::vector<Due>, std::greater<>> m_dues CK_GUARDED_BY(m_mutex);
};

} // namespace vorlan
