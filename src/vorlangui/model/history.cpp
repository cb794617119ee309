#include "history.h"

#include "jobinfo.h"
#include "joblist.h"

#include <boost/make_shared.hpp>
#include <corekit/callentry.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <corekit/threadpool.h>
#include <corekit/tick.h>

namespace vorlan {

DeleteHistory::DeleteHistory(JobHistory& source) {
    size_t const items = source.size();
    if (!ThreadPool::IsReady() || items < k_LongItems) {
        JobHistory here;
        here.Swap(source);
        return;
    }
    Swap(source);
    LogDebug(SFormat("Pending Deleting history %llu items", static_cast<unsigned long long>(items)));
    auto doomed = boost::make_shared<JobHistory>();
    doomed->Swap(*this);
    // The pool destroys the function on its own thread, and the history with it.
    ThreadPool::ThrottleQueue([doomed = std::move(doomed)]() mutable { doomed.reset(); }, "DeleteHistory", UID(true));
}

HistoryTimer& HistoryTimer::Get() {
    static HistoryTimer s_timer;
    return s_timer;
}

HistoryTimer::HistoryTimer() { Tick::s_Timer0250.Connect(this, &HistoryTimer::OnTick); }

void HistoryTimer::OnTick() {
    CALL_ENTRY();
    Check(Time::CurrentTime());
}

// Asks the Job under the mutex: whoever changes the answer calls Wake afterwards, so that
// one of the two sees what the other has done.
void HistoryTimer::PlaceLocked(JobInfo const& info) {
    if (!info.MayHistoryGo())
        return;
    Time const when = info.HistoryExpires();
    m_jobs[info.job->id] = when;
    m_dues.push({when, info.job->id});
}

void HistoryTimer::Keep(JobInfo const& info) {
    CommonMutex::Lock const lock(m_mutex);
    // One that stands in the queue already is looked at sooner, and put back.
    if (m_jobs.try_emplace(info.job->id, Time()).first->second.IsZero())
        PlaceLocked(info);
}

void HistoryTimer::Wake(JobInfo const& info) {
    CommonMutex::Lock const lock(m_mutex);
    auto const found = m_jobs.find(info.job->id);
    if (found != m_jobs.end() && found->second.IsZero())
        PlaceLocked(info);
}

void HistoryTimer::Forget(UID const& job) {
    CommonMutex::Lock const lock(m_mutex);
    m_jobs.erase(job);
}

// Unless it has been asked for again meanwhile: that sets the time before it calls Keep.
void HistoryTimer::ForgetDropped(JobInfo const& info) {
    CommonMutex::Lock const lock(m_mutex);
    if (info.HistoryExpires().IsZero())
        m_jobs.erase(info.job->id);
}

void HistoryTimer::ForgetAll() {
    CommonMutex::Lock const lock(m_mutex);
    m_jobs.clear();
    m_dues = {};
}

size_t HistoryTimer::Count() const {
    CommonMutex::Lock const lock(m_mutex);
    return m_jobs.size();
}

size_t HistoryTimer::Timed() const {
    CommonMutex::Lock const lock(m_mutex);
    return m_dues.size();
}

UID HistoryTimer::TakeDue(Time now) {
    CommonMutex::Lock const lock(m_mutex);
    while (!m_dues.empty() && m_dues.top().when < now) {
        Due const due = m_dues.top();
        m_dues.pop();
        auto const found = m_jobs.find(due.job);
        if (found == m_jobs.end() || found->second != due.when)
            continue;
        found->second = Time();
        return due.job;
    }
    return UID::Null;
}

void HistoryTimer::Check(Time now) {
    for (UID id = TakeDue(now); !id.IsNull(); id = TakeDue(now)) {
        boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id);
        if (!info)
            Forget(id);
        else if (info->CheckHistory(now))
            ForgetDropped(*info);
        else
            Wake(*info);
    }
}

} // namespace vorlan
