// Runs that outlive what the Master knows of them: those of deleted Jobs, those whose
// Engine was away, and those of the program before.
#include "master/core/distributor.h"
#include "master/core/jobs.h"
#include "master/core/runs.h"

#include <vorlan/status.h>

#include <algorithm>

namespace farm {

namespace {

// What is older by the time of day when the program starts counts as no older.
constexpr Time k_LongestAge = Time::Days(366);

} // namespace

void Runs::Orphan(Run& run, String const& reason) {
    bool const told = run.stop.has_value();
    run.stop = PendingStop{UserCanceled, reason, StopAction::Cancel, m_farm.steady};
    run.job = nullptr;
    if (!run.engine->Online()) {
        Destroy(run);
        return;
    }
    if (!told)
        SendStop(run);
}

void Runs::DropJob(Run& run) {
    if (m_farm.out.Wanted<FinishedWorkMsg>()) {
        auto message = FinishedWorkMsg::New();
        message->work = run.work;
        message->status = UserCanceled;
        m_farm.out.ToFollowers(message);
    }
    Release(run);
    Orphan(run, "The Job was deleted");
}

void Runs::AdoptOrphan(EngineEntry& engine, UID const& work, unsigned cores, String const& reason) {
    Run& run = Make(m_farm.NextNumber(), work, nullptr, engine, cores);
    Use(run);
    Orphan(run, reason);
}

// Ends a run of which another one's result takes the frames `taken`.
void Runs::Supersede(Run& run, SpanSet const& taken, String const& note) {
    JobEntry& job = *run.job;
    SpanSet left;
    left.Insert(run.frames);
    left.Erase(taken.All());
    job.givenUp[run.work] = {run.number, true};
    Finish(run, Lost, note, m_farm.now, Time(), Outcome::Superseded);
    job.queue.AddFresh(left.All());
    Orphan(run, note);
}

// The frames of a sub-range that are not done, as text; `open` gets those that are in
// the Job's range now. The others count as well: the range may get them back.
String Runs::OpenFrames(JobEntry const& job, String const& subRange, SpanSet& open) {
    FrameRange range;
    FrameRange::Parse(subRange, range);
    open.Insert(job.frames.PositionsOf(range));
    for (SpanSet const* const done : {&job.finished, &job.failed, &job.canceled})
        open.Erase(done->All());
    std::vector<int> frames;
    range.ForEach([&](int frame) {
        auto const position = job.frames.PositionOf(frame);
        if (!position || open.Contains(*position))
            frames.push_back(frame);
    });
    return FrameRange::FromFrames(frames).Text();
}

void Runs::LateResult(JobEntry& job, WorkEnded const& ended, Time at) {
    auto const known = job.givenUp.find(ended.work);
    if (ended.status != Finished || known == job.givenUp.end() || job.settings.IsFinished())
        return;
    auto const past = std::find_if(job.past.begin(), job.past.end(),
                                   [&](PastRun const& run) { return run.number == known->second.number; });
    job.givenUp.erase(known);
    if (past == job.past.end())
        return;
    RunRow row = ReadRunRow(past->row);
    SpanSet taken;
    row.subRange = OpenFrames(job, row.subRange, taken);
    if (row.subRange.Empty())
        return;

    EngineEntry const* const engine = m_farm.FindEngine(row.engine);
    String const note =
        "Finished on " + (engine ? engine->engine->Name() : String("an Engine")) + " while it was away from the Master";
    std::vector<Run*> const runs = job.runs;
    for (Run* const run : runs) {
        if (taken.Intersects(run->frames))
            Supersede(*run, taken, note);
    }
    job.queue.Remove(taken.All());
    job.finished.Insert(taken);

    TellLateRun(job, std::move(row), at, Time(ended.ranMs), note);
    m_farm.jobActions->UnitEnded(job);
}

// The history tells a late result as a run of its own, since the one given up has its
// result.
void Runs::TellLateRun(JobEntry& job, RunRow row, Time ended, Time ran, String const& note) {
    row.work = m_farm.random.NextUID();
    row.outcome = Outcome::Finished;
    std::erase_if(row.elements,
                  [](RunElement const& element) { return element.status != Assigned && element.status != Started; });
    Time const earliest = row.elements.empty() ? m_farm.now : row.elements.back().time;
    bool const isMeasured = ran > Time() && !row.elements.empty() && row.elements.back().status == Started;
    Time const at = isMeasured ? earliest + ran : std::clamp(ended, earliest, std::max(earliest, m_farm.now));
    row.elements.push_back({Finished, at, note});
    row.elements.push_back({Closed, at, String()});
    uint64_t const number = m_farm.NextNumber();
    job.past.push_back({number, WriteRow(row)});
    m_farm.out.Put(RecordKind::History, number, row.work, job.past.back().row, job.number);
    for (RunElement const& element : row.elements)
        TellElement(job, row.work, row.engine, row.subRange, element);
    CountPast(job, row);
}

Run& Runs::MakeFrom(RunRow const& row, JobEntry& job, EngineEntry& engine, uint64_t number) {
    Run& run = Make(number, row.work, &job, engine, row.cores);
    run.subRange = row.subRange;
    run.elements = row.elements;
    if (run.elements.empty())
        run.elements.push_back({Assigned, m_farm.now, String()});
    run.assignedAt = m_farm.Now().SteadyOf(run.Assigned(), k_LongestAge);
    run.startedAt = run.HasStarted() ? m_farm.Now().SteadyOf(run.StartedAt(), k_LongestAge) : Steady();
    FrameRange range;
    FrameRange::Parse(row.subRange, range);
    run.frames = job.frames.PositionsOf(range);
    run.type = job.settings.type;
    run.pool = job.settings.pool;
    run.creator = job.settings.creator;
    job.hasStarted |= run.HasStarted();
    return run;
}

void Runs::RestoreOpen(JobEntry& job, EngineEntry& engine, uint64_t number, RunRow const& row) {
    Run& run = MakeFrom(row, job, engine, number);
    run.stop = row.stop;
    if (run.stop)
        run.stop->asked = m_farm.steady;
    NoteJobStart(job, engine, run.assignedAt);
    Use(run);
    run.unit = MakeUnit(run);
}

void Runs::ApplyStagger(Record const& record) {
    if (record.op == Record::Op::Put)
        m_staggers[record.number] = ReadStaggerRow(record.body);
    else
        m_staggers.erase(record.number);
}

void Runs::ForgetStaggers(UID const& owner) {
    auto at = m_farm.staggerRows.lower_bound({owner, UID::Null});
    while (at != m_farm.staggerRows.end() && at->first.first == owner) {
        m_farm.out.Erase(RecordKind::Stagger, at->second);
        at = m_farm.staggerRows.erase(at);
    }
}

void Runs::RestoreStaggers() {
    for (auto const& [number, row] : std::exchange(m_staggers, {})) {
        m_farm.staggerRows[{row.owner, row.product}] = number;
        EngineEntry* const engine = m_farm.FindEngine(row.owner);
        if (!row.product.IsNull() && !engine)
            continue;
        EngineProduct const* const product = row.product.IsNull() ? nullptr : m_farm.ProductOn(*engine, row.product);
        StaggerRule const rule = row.owner.IsNull()     ? m_farm.policy.globalStagger
                                 : row.product.IsNull() ? m_farm.RuleOfPool(row.owner).stagger
                                 : product              ? product->rule.stagger
                                                        : StaggerRule();
        Stagger& stagger = row.owner.IsNull()     ? m_farm.globalStagger
                           : row.product.IsNull() ? m_farm.poolStaggers[row.owner]
                                                  : engine->productStaggers[row.product];
        for (auto const& [each, time] : row.starts)
            m_farm.distributor->WakeAll(stagger.Note(rule, each, true, m_farm.Now().SteadyOf(time, k_LongestAge)));
    }
}

void Runs::RestoreStarts(JobEntry& job) {
    if (!job.settings.stagger.Active())
        return;
    std::set<UID> engines;
    for (PastRun const& past : job.past) {
        RunRow const row = ReadRunRow(past.row);
        if (row.engine.IsNull() || row.elements.empty())
            continue;
        Steady const at = m_farm.Now().SteadyOf(row.elements.front().time, k_LongestAge);
        bool const isNew = engines.insert(row.engine).second;
        m_farm.distributor->WakeJob(job, job.stagger.Note(job.settings.stagger, row.engine, isNew, at));
    }
}

Run* Runs::TakeBack(EngineEntry& engine, RunState const& state) {
    JobEntry* const job = m_farm.FindJob(state.job);
    if (!job || job->settings.IsFinished() || job->deleting)
        return nullptr;
    auto const known = job->givenUp.find(state.work);
    if (known == job->givenUp.end() || known->second.asked)
        return nullptr;
    auto const past = std::find_if(job->past.begin(), job->past.end(),
                                   [&](PastRun const& run) { return run.number == known->second.number; });
    if (past == job->past.end())
        return nullptr;
    RunRow const row = ReadRunRow(past->row);
    FrameRange range;
    FrameRange::Parse(row.subRange, range);
    Spans const frames = job->frames.PositionsOf(range);
    if (row.engine != engine.id || row.outcome != Outcome::Requeued || CountOf(frames) != range.Count() ||
        !job->queue.ContainsAll(frames))
        return nullptr;

    // A new number: what became of the frames since then came before this.
    Run& run = MakeFrom(row, *job, engine, m_farm.NextNumber());
    m_farm.out.Erase(RecordKind::History, past->number, job->number);
    job->past.erase(past);
    job->givenUp.erase(known);
    job->queue.Remove(frames);
    if (!run.HasStarted())
        run.assignedAt = m_farm.steady;
    if (state.runningMs > 0)
        run.startedAt = m_farm.steady - Time(state.runningMs);
    Use(run);
    run.unit = MakeUnit(run);
    Store(run, Outcome::Open);
    TellUnit(run);
    m_farm.distributor->JobChanged(*job, Distributor::Chance::Same);
    m_farm.distributor->EngineChanged(engine);
    return &run;
}

void Runs::CountPast(JobEntry& job, RunRow const& row) {
    if (!row.engine.IsNull())
        job.workedOn.insert(row.engine);
    auto const started = std::find_if(row.elements.begin(), row.elements.end(),
                                      [](RunElement const& element) { return element.status == Started; });
    job.hasStarted |= started != row.elements.end();
    if (row.outcome != Outcome::Finished || started == row.elements.end())
        return;
    FrameRange range;
    FrameRange::Parse(row.subRange, range);
    ++job.finishedRuns;
    job.finishedFrames += range.Count();
    job.finishedMs += (row.elements.back().time - started->time).Milliseconds();
}

} // namespace farm
