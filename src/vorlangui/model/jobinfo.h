#pragma once

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <corekit/rwlock.h>
#include <corekit/time.h>
#include <set>
#include <vorlan/job.h>
#include <vorlan/jobhistory.h>

namespace vorlan {

// JobInfo is a Job with what only the client needs: whether it has running work, and
// its history, which is loaded when something wants it.
// Owner: the JobList, and whoever holds the shared pointer.
// Works with: HistoryTimer, which drops a history that nobody wants any more.
// Thread: any.
class JobInfo {
public:
    explicit JobInfo(boost::shared_ptr<Job> const& ofJob = nullptr) : job(ofJob) {}

    // Constant once the JobInfo stands in the list. May be null.
    boost::shared_ptr<Job> job;
    // Counts what a row of the Job may show differently; see CountChange.
    std::atomic<uint32_t> changes{0};
    // The client knows of work of this Job. The JobList sets it, which counts them.
    std::atomic<bool> active{false};
    mutable RWLock lock{LockRank::JobInfo};
    JobHistory history CK_GUARDED_BY(lock);
    // Work that has come as history elements.
    std::set<UID> elementWork CK_GUARDED_BY(lock);

    // How long a history stays in memory after the last one that wanted it.
    static constexpr int64_t k_HistoryMs = 30'000;

    // Something that a row of the Job shows has changed. After the change itself.
    void CountChange() { changes.fetch_add(1, std::memory_order_release); }

    String Summary() const;
    // "Waiting for 2 jobs".
    String WaitForString() const;
    String Pool() const;
    // 0 queued, 1 paused, 2 active, 3 finished.
    int StatusClass() const;
    // For people: "Queued", "3 Active", "Paused: 3 Active".
    String Status() const;

    // Keeps the history in memory for a while, and asks the Master for it when it is
    // not there. `hold`: until UnlockHistory.
    void RequestHistory(bool hold);
    void UnlockHistory();
    // Drops the history of a finished Job when its time is over before `now`. True: it is
    // gone.
    bool CheckHistory(Time now);
    // Puts a whole one in the place of what there is; `other` gets that. It stays in
    // memory for a while also when nobody has asked for it.
    void SwapHistory(JobHistory& other);
    // Frees what there is, whoever wants it.
    void DropHistory();

    // Nothing but its time keeps the history: the Job is over and no display holds it.
    bool MayHistoryGo() const { return !IsHistoryHeld() && (!job || job->IsFinished()); }
    bool IsHistoryHeld() const { return m_historyLocked.load(std::memory_order_acquire); }
    // When the history may go; zero: there is none.
    Time HistoryExpires() const { return Time(m_historyExpires.load(std::memory_order_acquire)); }

private:
    String HistoryName() const;

    std::atomic<int64_t> m_historyExpires{0};
    std::atomic<bool> m_historyLocked{false};
};

} // namespace vorlan
