// The frames of a Job from its rows: after a start, and when its range changes.
#include "master/core/distributor.h"
#include "master/core/jobs.h"
#include "master/core/runs.h"

#include <corekit/exception.h>
#include <vorlan/keys.h>
#include <vorlan/status.h>

#include <algorithm>

namespace farm {

namespace {

int ResultOf(RunRow const& row) {
    for (auto at = row.elements.rbegin(); at != row.elements.rend(); ++at) {
        if (at->status != Closed)
            return at->status;
    }
    return Queued;
}

} // namespace

void Jobs::RestoreJob(Record const& record) {
    auto owned = std::make_unique<JobEntry>();
    JobEntry& job = *owned;
    job.number = record.number;
    job.job = DecodeJob(record.body);
    job.id = job.job->id;
    if (job.job->Has(p_PercentDone))
        job.toldPermille = -1; // the row may have an older one
    job.job->Clear(p_Standstill);
    if (job.id != UIDOfRecord(record))
        throw ParseException("A Job of the store has another id in its values than in its row.");
    m_farm.jobsById[job.id] = &job;
    m_farm.jobs.emplace(job.number, std::move(owned));
}

void Jobs::RestoreState(Record const& record) {
    JobEntry* const job = m_farm.FindJob(record.job);
    if (!job)
        return;
    JobStateRow row = ReadJobStateRow(record.body);
    job->deleting = row.deleting;
    job->redividedAt = row.redividedAt;
    job->failuresResetAt = row.failuresResetAt;
    job->engineOfUnit = std::move(row.engineOfUnit);
    job->goneWaits = std::move(row.goneWaits);
    if (!job->engineOfUnit.empty()) {
        FrameRange range;
        FrameRange::Parse("1-" + String::From(job->engineOfUnit.size()), range);
        job->frames = FrameMap(std::move(range));
    }
}

void Jobs::RestoreRun(Record const& record) {
    JobEntry* const job = m_farm.FindJob(record.job);
    if (!job)
        return;
    RunRow row = ReadRunRow(record.body);
    job->given += row.engine.IsNull() ? 0 : 1;
    if (row.outcome == Outcome::Open) {
        m_open[job->number].emplace_back(record.number, std::move(row));
        return;
    }
    Runs::CountPast(*job, row);
    int const result = ResultOf(row);
    if (IsFailedStatus(result) && record.number > job->failuresResetAt)
        NoteFailure(*job, row.subRange, row.engine);
    if (row.outcome == Outcome::Requeued || row.outcome == Outcome::Superseded)
        job->givenUp[row.work] = {record.number, row.stop.has_value()};
    job->past.push_back({record.number, record.body});
}

void Jobs::NoteFailure(JobEntry& job, String const& subRange, UID const& engine) {
    UnitFailures& failures = job.unitFailures[subRange];
    ++failures.count;
    failures.engines.insert(engine);
}

void Jobs::RestoreDeleted(Record const& record) {
    UID const id = UIDOfRecord(record);
    m_farm.deletedJobs[id] = {record.number, ReadGoneWaitRow(record.body)};
    m_farm.deletedInOrder.insert({record.number, id});
}

// What an ended run made of its frames, the later run deciding.
void Jobs::ApplyPast(JobEntry& job, uint64_t number, RunRow const& row) {
    FrameRange range;
    FrameRange::Parse(row.subRange, range);
    Spans const frames = job.frames.PositionsOf(range);
    job.queue.Remove(frames);
    for (SpanSet* const done : {&job.finished, &job.failed, &job.canceled})
        done->Erase(frames);
    switch (row.outcome) {
    case Outcome::Finished:
        job.finished.Insert(frames);
        return;
    case Outcome::FailedForGood:
        job.failed.Insert(frames);
        return;
    case Outcome::Canceled:
        job.canceled.Insert(frames);
        return;
    default:
        break;
    }
    bool const whole = CountOf(frames) == range.Count() && !frames.empty() && !row.engine.IsNull();
    if (row.outcome == Outcome::Requeued && whole && number > job.redividedAt)
        job.queue.PutBack(frames, IsFailedStatus(ResultOf(row)) ? UnitQueue::Place::Back : UnitQueue::Place::Front);
    else
        job.queue.AddFresh(frames);
}

void Jobs::Rebuild(JobEntry& job) {
    job.queue.Clear();
    for (SpanSet* const done : {&job.finished, &job.failed, &job.canceled})
        done->Clear();
    job.queue.AddFresh(Span{0, job.frames.Count()});
    std::sort(job.past.begin(), job.past.end(), [](PastRun const& a, PastRun const& b) { return a.number < b.number; });
    for (PastRun const& past : job.past)
        ApplyPast(job, past.number, ReadRunRow(past.row));
    for (Run* const run : job.runs) {
        FrameRange range;
        FrameRange::Parse(run->subRange, range);
        run->frames = job.frames.PositionsOf(range);
        job.queue.Remove(run->frames);
        for (SpanSet* const done : {&job.finished, &job.failed, &job.canceled})
            done->Erase(run->frames);
    }
    if (job.settings.IsFinished()) {
        job.canceled.Insert(job.queue.Positions());
        job.queue.Clear();
    }
}

// A Job that cannot be handled must not keep the Master from handling the others.
void Jobs::SetApart(JobEntry& job, String const& why) {
    job.setApart = why;
    std::vector<Run*> const runs = job.runs;
    for (Run* const run : runs)
        m_farm.runActions->DropJob(*run);
    job.queue.Clear();
    for (SpanSet* const done : {&job.finished, &job.failed, &job.canceled})
        done->Clear();
    job.frames = FrameMap();
}

void Jobs::RestoreDone() {
    // Not before: the Products come after the Jobs.
    auto const each = [this](auto const& restore) {
        for (auto const& [number, job] : m_farm.jobs) {
            if (!job->setApart.Empty())
                continue;
            try {
                restore(*job);
            } catch (std::exception const& problem) {
                SetApart(*job, problem.what());
            }
        }
    };
    for (auto const& [number, why] : m_farm.config.setApart) {
        if (JobEntry* const job = m_farm.FindJob(number))
            SetApart(*job, why);
    }
    each([this](JobEntry& job) {
        ReadSettings(job);
        if (job.product && job.product->Class() != ProductClass::OncePerEngine)
            CheckRange(*job.job, *job.product, job.frames);
    });
    each([this](JobEntry& job) { RestoreFrames(job); });
    m_open.clear();
    // What the end of the program cut short.
    std::vector<uint64_t> numbers;
    for (auto const& [number, job] : m_farm.jobs) {
        bool const isAtLimit =
            m_farm.policy.maxTotalFailures > 0 && m_farm.failures.OfJob(job->id) >= m_farm.policy.maxTotalFailures;
        if ((isAtLimit || (job->runs.empty() && (job->queue.Empty() || job->deleting))) && !job->settings.IsFinished())
            numbers.push_back(number);
    }
    m_unfinished = std::move(numbers);
    m_farm.distributor->AllChanged();
}

void Jobs::RestoreFrames(JobEntry& job) {
    m_farm.runActions->RestoreStarts(job);
    auto const open = m_open.find(job.number);
    if (open != m_open.end()) {
        for (auto const& [runNumber, row] : open->second) {
            if (EngineEntry* const engine = m_farm.FindEngine(row.engine)) {
                m_farm.runActions->RestoreOpen(job, *engine, runNumber, row);
                continue;
            }
            // Its Engine was removed: the unit is queued again.
            RunRow lost = row;
            lost.outcome = Outcome::Requeued;
            lost.elements.push_back({Lost, m_farm.now, "Its Engine is not known any more"});
            lost.elements.push_back({Closed, m_farm.now, String()});
            job.past.push_back({runNumber, WriteRow(lost)});
        }
    }
    Rebuild(job);
    ShowProgress(job);
    if (job.settings.IsFinished())
        job.givenUp.clear();
    Schedule(job);
}

void Jobs::FinishRestored() {
    for (uint64_t const number : std::exchange(m_unfinished, {})) {
        if (JobEntry* const job = m_farm.FindJob(number))
            UnitEnded(*job);
    }
}

} // namespace farm
