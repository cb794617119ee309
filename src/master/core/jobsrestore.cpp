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

void Jobs::ApplyJob(Record const& record) {
    if (record.op != Record::Op::Put) {
        if (JobEntry* const job = m_farm.FindJob(record.number)) {
            if (m_farm.FindJob(job->id) == job)
                m_farm.jobsById.erase(job->id);
            m_farm.jobs.erase(record.number);
        }
        m_rows.erase(record.number);
        return;
    }
    auto const values = DecodeJob(record.body);
    if (values->id != UIDOfRecord(record))
        throw ParseException("A Job of the store has another id in its values than in its row.");
    std::unique_ptr<JobEntry>& owned = m_farm.jobs[record.number];
    if (!owned)
        owned = std::make_unique<JobEntry>();
    JobEntry& job = *owned;
    job.number = record.number;
    job.id = values->id;
    job.job = values;
    job.toldPermille = values->Has(p_PercentDone) ? -1 : 0; // the row may have an older one
    if (values->Has(p_Standstill))
        values->Set(p_Standstill, String::Null); // found out anew
    m_farm.jobsById[job.id] = &job;
}

void Jobs::ApplyState(Record const& record) {
    JobEntry* const job = m_farm.FindJob(record.job);
    if (!job || record.op != Record::Op::Put)
        return; // it goes with its Job
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

void Jobs::ApplyRun(Record const& record) {
    if (record.op == Record::Op::EraseJob) {
        m_rows.erase(record.job);
    } else if (record.op == Record::Op::Erase) {
        m_rows[record.job].erase(record.number);
    } else {
        ReadRunRow(record.body); // throws where it is none
        m_rows[record.job][record.number] = record.body;
    }
}

// All rows of its runs are in.
void Jobs::ReadRuns(JobEntry& job) {
    for (auto& [number, body] : m_rows[job.number]) {
        RunRow row = ReadRunRow(body);
        job.given += row.engine.IsNull() ? 0 : 1;
        if (row.outcome == Outcome::Open) {
            RestoreOpen(job, number, std::move(row));
            continue;
        }
        Runs::CountPast(job, row);
        if (IsFailedStatus(ResultOf(row)) && number > job.failuresResetAt)
            NoteFailure(job, row.subRange, row.engine);
        if (row.outcome == Outcome::Requeued || row.outcome == Outcome::Superseded)
            job.givenUp[row.work] = {number, row.stop.has_value()};
        job.past.push_back({number, std::move(body)});
    }
    m_rows.erase(job.number);
}

void Jobs::RestoreOpen(JobEntry& job, uint64_t number, RunRow row) {
    if (EngineEntry* const engine = m_farm.FindEngine(row.engine)) {
        m_farm.runActions->RestoreOpen(job, *engine, number, row);
        return;
    }
    // Its Engine was removed: the unit is queued again.
    row.outcome = Outcome::Requeued;
    row.elements.push_back({Lost, m_farm.now, "Its Engine is not known any more"});
    row.elements.push_back({Closed, m_farm.now, String()});
    job.past.push_back({number, WriteRow(row)});
}

void Jobs::NoteFailure(JobEntry& job, String const& subRange, UID const& engine) {
    UnitFailures& failures = job.unitFailures[subRange];
    ++failures.count;
    failures.engines.insert(engine);
}

void Jobs::ApplyDeleted(Record const& record) {
    auto& inOrder = m_farm.deletedInOrder;
    if (record.op != Record::Op::Put) {
        auto const at = inOrder.lower_bound({record.number, UID::Null});
        if (at != inOrder.end() && at->first == record.number) {
            m_farm.deletedJobs.erase(at->second);
            inOrder.erase(at);
        }
        return;
    }
    UID const id = UIDOfRecord(record);
    if (auto const former = m_farm.deletedJobs.find(id); former != m_farm.deletedJobs.end())
        inOrder.erase({former->second.number, id});
    m_farm.deletedJobs[id] = {record.number, ReadGoneWaitRow(record.body)};
    inOrder.insert({record.number, id});
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
    m_rows.clear();
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
    ReadRuns(job);
    m_farm.runActions->RestoreStarts(job);
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
