// What becomes of Jobs whose work failed.
#include "master/core/distributor.h"
#include "master/core/engines.h"
#include "master/core/jobs.h"
#include "master/core/runs.h"

#include <corekit/sformat.h>
#include <vorlan/keys.h>
#include <vorlan/status.h>

namespace farm {

void Jobs::OnResetFailures(PeerId peer, ResetJobFailuresMsg const& message) {
    JobEntry* const job = m_farm.FindJob(message.job);
    if (!job) {
        m_farm.out.Refuse(peer, message.job, "The Job is not there any more.");
        return;
    }
    ResetFailures(*job);
    m_farm.distributor->JobChanged(*job, Distributor::Chance::New);
}

void Jobs::ResetFailures(JobEntry& job) {
    job.unitFailures.clear();
    job.failuresResetAt = m_farm.lastNumber;
    StoreState(job);
    for (FailureEntry const& entry : m_farm.failures.ResetJob(job.id)) {
        m_farm.out.Put(RecordKind::Failure, entry.number, job.id, WriteRow(entry));
        if (EngineEntry* const engine = m_farm.FindEngine(entry.item.engine))
            m_farm.engineActions->ShowBarred(*engine);
    }
    ++m_farm.possibilities;
    auto told = ResetJobFailuresMsg::New();
    told->job = job.id;
    m_farm.out.ToFollowers(told);
}

// Failed frames are queued again in place. For everybody who was told that the Job has
// finished it is gone first, and there again.
void Jobs::OnRunAgain(PeerId peer, RunAgainMsg const& message) {
    JobEntry* const job = m_farm.FindJob(message.job);
    if (!job || job->deleting) {
        m_farm.out.Refuse(peer, message.job, "The Job is not there any more.");
        return;
    }
    FrameRange wanted;
    String fault;
    SpanSet failed = job->failed;
    if (!FrameRange::Parse(message.frames, wanted, &fault)) {
        m_farm.out.Refuse(peer, job->id, fault);
        return;
    }
    if (!wanted.Empty()) {
        failed.Clear();
        for (Span const& span : job->frames.PositionsOf(wanted))
            failed.Insert(job->failed.Within(span));
    }
    if (failed.Empty()) {
        m_farm.out.Refuse(peer, job->id, "None of these frames of the Job has failed.");
        return;
    }
    ResetFailures(*job);
    bool const wasFinished = job->settings.IsFinished();
    if (wasFinished) {
        for (uint64_t const number : m_farm.failures.RemoveReset(job->id))
            m_farm.out.Erase(RecordKind::Failure, number);
        auto gone = DeleteJobMsg::New();
        gone->job = job->id;
        m_farm.out.ToFollowers(gone);
        Unschedule(*job);
        auto const changed = Change(*job);
        changed->SetStatus(Queued);
        changed->Clear(p_FinishedTime);
        ReadSettings(*job);
    }
    m_farm.runActions->RunAgain(*job, failed.All());
    ShowProgress(*job);
    StoreJob(*job);
    if (wasFinished)
        TellJob(*job);
    m_farm.distributor->JobChanged(*job, Distributor::Chance::New);
    m_farm.distributor->DependentsChanged(job->id);
}

// A Job that has failed too often as a whole gives up what is still queued. True when
// that has changed something.
bool Jobs::GiveUpAtLimit(JobEntry& job) {
    unsigned const limit = m_farm.policy.maxTotalFailures;
    if (limit == 0 || job.settings.IsFinished() || job.queue.Empty() || m_farm.failures.OfJob(job.id) < limit)
        return false;
    m_farm.runActions->SettleQueued(job, job.queue.Positions().All(), Failed,
                                    SFormat("Given up: the Job has failed %u times, the limit of a Job is %u",
                                            m_farm.failures.OfJob(job.id), limit));
    return true;
}

void Jobs::GiveUpAllAtLimit() {
    std::vector<uint64_t> numbers;
    for (auto const& [number, job] : m_farm.jobs) {
        if (GiveUpAtLimit(*job))
            numbers.push_back(number);
    }
    for (uint64_t const number : numbers) {
        if (JobEntry* const job = m_farm.FindJob(number))
            UnitEnded(*job);
    }
}

} // namespace farm
