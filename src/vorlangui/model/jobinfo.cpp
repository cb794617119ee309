#include "jobinfo.h"

#include "history.h"
#include "joblist.h"
#include "jobwatcher.h"
#include "outside/outside.h"
#include "pooltable.h"
#include "worklist.h"

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>

namespace vorlan {

String JobInfo::Summary() const { return job ? job->GetParameterString(p_JobSummary) : String(); }

String JobInfo::WaitForString() const {
    size_t const count = job ? job->GetDependencies().size() : 0;
    return SFormat("Waiting for %llu job%s", static_cast<unsigned long long>(count), count == 1 ? "" : "s");
}

String JobInfo::Pool() const { return job ? PoolName(job->Pool()) : String(); }

int JobInfo::StatusClass() const {
    if (!job)
        return 0;
    if (active.load(std::memory_order_relaxed))
        return 2;
    if (job->IsFinished())
        return 3;
    return job->IsPaused() ? 1 : 0;
}

String JobInfo::Status() const {
    if (!job)
        return String();
    switch (StatusClass()) {
    case 0:
        return "Queued";
    case 1:
        return "Paused";
    case 2: {
        String text;
        if (job->IsFinished())
            text = job->StatusAsString() + ": ";
        else if (job->IsPaused())
            text = "Paused: ";
        return text + String::From(WorkList::Get().GetJobCurrentCount(job->id)) + " Active";
    }
    case 3:
        return job->StatusAsString();
    default:
        return "Unknown!";
    }
}

namespace {
int64_t ExpiryFromNow() { return Time::CurrentTime().Milliseconds() + JobInfo::k_HistoryMs; }
} // namespace

String JobInfo::HistoryName() const {
    return job ? " history for Job:  {" + job->id.ToString() + "}  " + job->Name() : String(" no job???");
}

void JobInfo::RequestHistory(bool hold) {
    CALL_ENTRY();
    if (!job) {
        LogWarning("Unable to request history for an empty job");
        return;
    }
    if (hold) {
        LogInfo("Locking" + HistoryName());
        m_historyLocked.store(true, std::memory_order_release);
    }
    // The time first: the timer orders by it.
    bool const isThere = m_historyExpires.exchange(ExpiryFromNow(), std::memory_order_acq_rel) != 0;
    HistoryTimer::Get().Keep(*this);
    if (isThere)
        return;
    LogInfo("Requesting" + HistoryName());
    auto request = GetJobInfoMsg::New();
    request->AddID(job->id);
    request->wantHistory = true;
    JobList::Get().Lists().NoteRequest(false);
    SendToMaster(request);
}

void JobInfo::UnlockHistory() {
    CALL_ENTRY();
    LogInfo("Unlocked" + HistoryName());
    m_historyExpires.store(ExpiryFromNow(), std::memory_order_release);
    m_historyLocked.store(false, std::memory_order_release);
    if (job)
        HistoryTimer::Get().Keep(*this);
}

void JobInfo::SwapHistory(JobHistory& other) {
    {
        RWLock::Writer const writer(lock);
        history.Swap(other);
        if (job)
            JobWatcher::UpdateJob(job->id);
    }
    int64_t none = 0;
    if (job && m_historyExpires.compare_exchange_strong(none, ExpiryFromNow(), std::memory_order_acq_rel))
        HistoryTimer::Get().Keep(*this);
}

bool JobInfo::CheckHistory(Time now) {
    int64_t expires = m_historyExpires.load(std::memory_order_acquire);
    if (!MayHistoryGo() || Time(expires) >= now)
        return false;
    // Somebody who wants it at this moment wins.
    if (!m_historyExpires.compare_exchange_strong(expires, 0, std::memory_order_acq_rel))
        return false;
    LogInfo("Deleting" + HistoryName());
    DropHistory();
    return true;
}

void JobInfo::DropHistory() {
    JobHistory taken;
    {
        RWLock::Writer const writer(lock);
        taken.Swap(history);
        elementWork.clear();
    }
    DeleteHistory const doomed(taken);
}

} // namespace vorlan
