#include "history.h"

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

HistoryTimer::HistoryTimer() { Tick::s_Timer0250.Connect(this, &HistoryTimer::Check); }

void HistoryTimer::Add(UID const& job) {
    CommonMutex::Lock const lock(m_mutex);
    m_jobs.insert(job);
}

size_t HistoryTimer::Count() const {
    CommonMutex::Lock const lock(m_mutex);
    return m_jobs.size();
}

void HistoryTimer::Check() {
    CALL_ENTRY();
    corekit::set<UID> jobs;
    {
        CommonMutex::Lock const lock(m_mutex);
        if (m_jobs.empty())
            return;
        jobs = m_jobs;
    }
    for (UID const& id : jobs) {
        boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id);
        if (info && !info->CheckHistory())
            continue;
        CommonMutex::Lock const lock(m_mutex);
        m_jobs.erase(id);
    }
}

} // namespace vorlan
