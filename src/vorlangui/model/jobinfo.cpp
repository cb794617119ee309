#include "jobinfo.h"

#include "history.h"
#include "mirror/mirror.h"
#include "mirror/outside.h"
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
    if (active.load(std::memory_order_relaxed))
        return 2;
    if (!job)
        return 0;
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
        m_historyLocked.store(true, std::memory_order_relaxed);
    }
    HistoryTimer::Get().Add(job->id);
    int64_t const expires = Time::CurrentTime().Milliseconds() + k_HistoryMs;
    if (m_historyExpires.exchange(expires, std::memory_order_acq_rel) != 0)
        return;
    LogInfo("Requesting" + HistoryName());
    auto request = GetJobInfoMsg::New();
    request->AddID(job->id);
    request->wantHistory = true;
    SendToMaster(request);
}

void JobInfo::UnlockHistory() {
    LogInfo("Unlocked" + HistoryName());
    m_historyLocked.store(false, std::memory_order_relaxed);
    m_historyExpires.store(Time::CurrentTime().Milliseconds() + k_HistoryMs, std::memory_order_release);
}

bool JobInfo::CheckHistory() {
    bool const over = !job || job->IsFinished();
    int64_t const expires = m_historyExpires.load(std::memory_order_acquire);
    if (!over || IsHistoryHeld() || expires >= Time::CurrentTime().Milliseconds())
        return false;
    LogInfo("Deleting" + HistoryName());
    m_historyExpires.store(0, std::memory_order_release);
    RWLock::Writer const writer(lock);
    DeleteHistory const doomed(history);
    return true;
}

} // namespace vorlan
