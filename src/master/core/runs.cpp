#include "master/core/runs.h"

#include "master/core/conditions.h"
#include "master/core/distributor.h"
#include "master/core/engines.h"
#include "master/core/jobcommands.h"
#include "master/core/jobs.h"
#include "master/core/loader.h"

#include <boost/make_shared.hpp>
#include <corekit/sformat.h>
#include <vorlan/keys.h>
#include <vorlan/status.h>

#include <algorithm>

namespace farm {

namespace {

// How long an Engine may take to confirm a stop: its own five seconds, and some.
constexpr Time k_StopPatience = Time::Seconds(30);
// No run is longer, whatever its Engine says.
constexpr Time k_LongestRun = Time::Days(3660);
// A unit is compared with the average when that many have finished.
constexpr uint64_t k_FinishedForOvertime = 5;

// The status of a stop must fit what becomes of the unit.
int StatusOfStop(int status, StopAction action) {
    if (action == StopAction::Requeue) {
        switch (status) {
        case UserCanceled:
            return UserAborted;
        case AdministratorCanceled:
            return AdministratorAborted;
        case Failed:
            return Unsuccessful;
        case UserAborted:
        case Unsuccessful:
        case Lost:
        case TimedOut:
        case AdministratorAborted:
            return status;
        default:
            return UserAborted;
        }
    }
    if (status == Failed && action == StopAction::Cancel)
        return Failed;
    return status == AdministratorAborted || status == AdministratorCanceled ? AdministratorCanceled : UserCanceled;
}

Outcome OutcomeOf(int status) {
    if (status == Finished)
        return Outcome::Finished;
    if (status == Failed)
        return Outcome::FailedForGood;
    return IsFinishedStatus(status) ? Outcome::Canceled : Outcome::Requeued;
}

void RemoveRun(std::vector<Run*>& runs, Run const* run) {
    auto const at = std::find(runs.begin(), runs.end(), run);
    if (at != runs.end()) {
        *at = runs.back();
        runs.pop_back();
    }
}

} // namespace

Run& Runs::Make(uint64_t number, UID const& work, JobEntry* job, EngineEntry& engine, unsigned cores) {
    auto owned = std::make_unique<Run>();
    Run& run = *owned;
    run.number = number;
    run.work = work;
    run.job = job;
    run.engine = &engine;
    run.cores = cores;
    m_farm.runsByWork[work] = &run;
    m_farm.runs.emplace(number, std::move(owned));
    return run;
}

boost::shared_ptr<Job> Runs::MakeUnit(Run const& run) const {
    m_farm.about = run.job->number;
    auto unit = boost::make_shared<Job>(run.work);
    unit->parentID = run.job->id;
    auto const values = run.job->job->Snapshot();
    String const status = String::From(static_cast<int>(run.HasStarted() ? Started : Assigned));
    String const cores = String::From(run.cores);
    String const jobName = run.job->job->Name(); // for the Engine's log: the unit's own is its packet
    ValueBlockBuilder builder;
    builder.Reserve(values->Count() + 5);
    builder.AddAll(*values);
    builder.Add(Known(p_JobName).number, jobName);
    builder.Add(Known(p_Name).number, run.subRange);
    builder.Add(Known(p_SubRange).number, run.subRange);
    builder.Add(Known(p_Status).number, status);
    builder.Add(Known(p_DispatchCPUs).number, cores);
    builder.Remove(Known(p_PercentDone).number);
    builder.Remove(Known(p_Standstill).number);
    unit->SetSnapshot(builder.Build());
    unit->SetCreated(run.HasStarted() ? run.StartedAt() : run.Assigned());
    return unit;
}

void Runs::Use(Run& run) {
    EngineEntry& engine = *run.engine;
    engine.used += run.cores;
    engine.runs.push_back(&run);
    JobEntry* const job = run.job;
    if (!job)
        return;
    run.type = job->settings.type;
    run.pool = job->settings.pool;
    run.creator = job->settings.creator;
    ++engine.runsOfProduct[run.type];
    job->runs.push_back(&run);
    job->usage.Add(&engine);
    job->workedOn.insert(engine.id);
    m_farm.productUsage[run.type].Add(&engine);
    m_farm.poolUsage[run.pool].Add(&engine);
    for (size_t const index : m_farm.creatorMatcher.Match(run.creator))
        m_farm.creatorUsage[index].Add(&engine);
}

// Takes the run out of all that counts it for its Job; the Engine's cores stay in use.
void Runs::Release(Run& run) {
    EngineEntry& engine = *run.engine;
    auto const ofProduct = engine.runsOfProduct.find(run.type);
    if (ofProduct != engine.runsOfProduct.end() && --ofProduct->second == 0)
        engine.runsOfProduct.erase(ofProduct);
    RemoveRun(run.job->runs, &run);
    run.job->usage.Remove(&engine);
    m_farm.productUsage[run.type].Remove(&engine);
    m_farm.poolUsage[run.pool].Remove(&engine);
    for (size_t const index : m_farm.creatorMatcher.Match(run.creator)) {
        m_farm.creatorUsage[index].Remove(&engine);
        m_farm.distributor->CreatorFreed(index);
    }
}

void Runs::Destroy(Run& run) {
    EngineEntry& engine = *run.engine;
    engine.used -= run.cores;
    RemoveRun(engine.runs, &run);
    m_farm.runsByWork.erase(run.work);
    m_farm.runs.erase(run.number);
    m_farm.distributor->EngineChanged(engine);
}

void Runs::NoteStart(Run& run) {
    EngineEntry& engine = *run.engine;
    NoteJobStart(*run.job, engine, run.assignedAt);
    PoolRule const& pool = m_farm.RuleOfPool(run.pool);
    bool const isNew = !m_farm.UsageOf(m_farm.poolUsage, run.pool).engines.contains(&engine);
    NoteStart(m_farm.poolStaggers[run.pool], pool.stagger, {run.pool, UID::Null}, engine, isNew);
    if (EngineProduct const* const product = m_farm.ProductOn(engine, run.type))
        NoteStart(engine.productStaggers[run.type], product->rule.stagger, {engine.id, run.type}, engine, false);
    NoteStart(m_farm.globalStagger, m_farm.policy.globalStagger, {UID::Null, UID::Null}, engine, false);
}

void Runs::NoteJobStart(JobEntry& job, EngineEntry& engine, Steady at) {
    bool const isNew = !job.usage.engines.contains(&engine);
    m_farm.distributor->WakeJob(job, job.stagger.Note(job.settings.stagger, engine.id, isNew, at));
}

void Runs::NoteStart(Stagger& stagger, StaggerRule const& rule, std::pair<UID, UID> const& owner,
                     EngineEntry const& engine, bool isNew) {
    if (!rule.Active())
        return;
    m_farm.distributor->WakeAll(stagger.Note(rule, engine.id, isNew, m_farm.steady));
    uint64_t& number = m_farm.staggerRows[owner];
    if (number == 0)
        number = m_farm.NextNumber();
    StaggerRow row{owner.first, owner.second, {}};
    for (auto const& [each, at] : stagger.All())
        row.starts.emplace_back(each, m_farm.now - (m_farm.steady - at));
    m_farm.out.Put(RecordKind::Stagger, number, owner.first, WriteRow(row));
}

Run& Runs::Give(JobEntry& job, EngineEntry& engine, Spans packet) {
    unsigned const wanted = CoresWanted(job, engine);
    unsigned const cores = m_farm.policy.overload && m_farm.policy.fewerCPUs ? wanted : std::min(wanted, engine.Free());
    Run& run = Make(m_farm.NextNumber(), m_farm.random.NextUID(), &job, engine, cores);
    run.frames = std::move(packet);
    run.subRange = job.frames.TextOf(run.frames);
    run.elements.push_back({Assigned, m_farm.now, String()});
    run.assignedAt = m_farm.steady;
    run.type = job.settings.type;
    run.pool = job.settings.pool;
    run.creator = job.settings.creator;
    NoteStart(run);
    Use(run);
    ++job.given;
    run.unit = MakeUnit(run);
    Store(run, Outcome::Open);

    auto order = RunWorkMsg::New();
    order->work = run.unit;
    order->engineOptions = m_farm.OptionsOn(engine, run.type);
    m_farm.out.To(engine.peer, order);
    m_farm.jobCommands->Owe(job, p_JobAssignWorkEvt, &engine);
    TellUnit(run);
    TellElement(job, run.work, engine.id, run.subRange, run.elements.back());
    return run;
}

void Runs::Begin(Run& run, Time ago) {
    if (!run.job || run.HasStarted())
        return;
    ago = std::clamp(ago, Time(), m_farm.steady - run.assignedAt);
    run.startedAt = m_farm.steady - ago;
    // Behind the assignment: a run that was taken back has its loss in its history.
    run.elements.insert(run.elements.begin() + 1, {Started, std::max(m_farm.now - ago, run.Assigned()), String()});
    if (!std::exchange(run.job->hasStarted, true))
        m_farm.jobCommands->Owe(*run.job, p_JobFirstStartedEvt, run.engine);
    Store(run, Outcome::Open);
    auto unit = boost::make_shared<Job>(*run.unit);
    unit->SetStatus(Started);
    unit->SetCreated(run.StartedAt());
    run.unit = unit;
    TellUnit(run);
    TellElement(*run.job, run.work, run.engine->id, run.subRange, run.elements[1]);
}

void Runs::SetValues(Run& run, OptionMap const& values) {
    if (!run.job)
        return;
    constexpr std::array k_Fixed{p_ID, p_ParentID, p_Name, p_Type, p_Status, p_SubRange, p_Created};
    OptionMap allowed;
    for (auto const& [name, value] : values) {
        bool const isFixed = std::any_of(k_Fixed.begin(), k_Fixed.end(),
                                         [&name = name](char const* fixed) { return name.CompareNoCase(fixed) == 0; });
        if (!name.Empty() && name.size() <= NameTable::k_MaxNameLength && !isFixed)
            allowed[name] = value;
    }
    auto unit = boost::make_shared<Job>(*run.unit);
    if (!unit->SetValues(allowed))
        return;
    run.unit = unit;
    if (!m_farm.out.Wanted<WorkParameterChangedMsg>())
        return;
    for (auto const& [name, value] : allowed) {
        auto message = WorkParameterChangedMsg::New();
        message->work = run.work;
        message->name = name;
        message->value = value;
        m_farm.out.AboutRun(run.number, message);
    }
}

void Runs::JobEdited(JobEntry& job) {
    for (Run* const run : job.runs) {
        auto unit = boost::make_shared<Job>(*run->unit);
        unit->UpdateFromParent(*job.job);
        run->unit = unit;
    }
}

void Runs::JobParameterSet(JobEntry& job, String const& name, String const& value) {
    if (!job.product || !job.product->GetParam(name) || !Job::FollowsParent(name, job.product.get()))
        return;
    for (Run* const run : job.runs) {
        auto unit = boost::make_shared<Job>(*run->unit);
        unit->SetParameter(name, value);
        run->unit = unit;
    }
}

// Counts a failure and gives the status, which a limit may have turned into the end of
// the unit.
int Runs::CountFailure(Run const& run, int status, String const& note) {
    if (!IsFailedStatus(status))
        return status;
    JobEntry& job = *run.job;
    Jobs::NoteFailure(job, run.subRange, run.engine->id);
    unsigned const failures = job.unitFailures[run.subRange].count;
    bool const isNew = !m_farm.failures.Has(job.id, run.engine->id);
    FailureEntry const& entry =
        m_farm.failures.Add(job.id, run.engine->id, run.type, m_farm.now, note, isNew ? m_farm.NextNumber() : 0);
    m_farm.out.Put(RecordKind::Failure, entry.number, job.id, WriteRow(entry));
    ++m_farm.possibilities;
    m_farm.engineActions->ShowBarred(*run.engine);
    unsigned const total = m_farm.policy.maxTotalFailures;
    bool const atLimit =
        (job.settings.failureLimit > 0 && failures >= static_cast<unsigned>(job.settings.failureLimit)) ||
        (total > 0 && m_farm.failures.OfJob(job.id) >= total);
    return atLimit ? static_cast<int>(Failed) : status;
}

// A success speaks against those Engines that failed on the same unit, and for this one
// where other Jobs failed on it.
void Runs::CountSuccess(Run const& run) {
    JobEntry& job = *run.job;
    auto const store = [this](FailureEntry const& entry) {
        m_farm.out.Put(RecordKind::Failure, entry.number, entry.item.job, WriteRow(entry));
        if (EngineEntry* const engine = m_farm.FindEngine(entry.item.engine))
            m_farm.engineActions->ShowBarred(*engine);
    };
    if (auto const failed = job.unitFailures.find(run.subRange); failed != job.unitFailures.end()) {
        for (UID const& engine : failed->second.engines) {
            FailureEntry const* const entry =
                engine == run.engine->id ? nullptr : m_farm.failures.NoteFinishedElsewhere(job.id, engine);
            if (entry)
                store(*entry);
        }
    }
    for (FailureEntry const& entry : m_farm.failures.NoteSuccess(job.id, run.engine->id, run.type))
        store(entry);
}

// Closes the history of a run and takes its frames from it.
void Runs::Finish(Run& run, int status, String const& note, Time at, Time ran, Outcome outcome) {
    JobEntry& job = *run.job;
    if (run.HasStarted()) {
        // The length is what is known best: clocks differ, and are set.
        ran = std::clamp(ran.IsZero() ? m_farm.steady - run.startedAt : ran, Time(), k_LongestRun);
        at = run.StartedAt() + ran;
    } else {
        Time const earliest = run.Assigned();
        at = std::clamp(at.IsZero() ? m_farm.now : at, earliest, std::max(earliest, m_farm.now));
    }
    run.elements.push_back({status, at, note});
    run.elements.push_back({Closed, at, String()});
    job.past.push_back({run.number, RowOf(run, outcome)});
    m_farm.out.Put(RecordKind::History, run.number, run.work, job.past.back().row, job.number);
    if (outcome == Outcome::Finished && run.HasStarted()) {
        ++job.finishedRuns;
        job.finishedFrames += CountOf(run.frames);
        job.finishedMs += ran.Milliseconds();
    }
    for (size_t i = run.elements.size() - 2; i < run.elements.size(); ++i)
        TellElement(job, run.work, run.engine->id, run.subRange, run.elements[i]);
    if (m_farm.out.Wanted<FinishedWorkMsg>()) {
        auto message = FinishedWorkMsg::New();
        message->work = run.work;
        message->status = status;
        m_farm.out.ToFollowers(message);
    }
    Release(run);
}

void Runs::End(Run& run, int status, String const& note, Time at, Time ran) {
    if (!run.job) {
        Destroy(run);
        return;
    }
    JobEntry& job = *run.job;
    // It started while nobody could hear of it.
    if (!ran.IsZero())
        Begin(run, std::max(m_farm.now - at, Time()) + ran);
    String text = note;
    StopAction const action = run.stop ? run.stop->action : StopAction::Requeue;
    if (status != Finished && run.stop) {
        status = run.stop->status;
        text = run.stop->reason;
    }
    StatusInfo const* const info = FindStatus(status);
    if (!info || info->active || info->held || status == Queued || status == Closed)
        status = Unsuccessful;
    status = CountFailure(run, status, text);
    if (status == Finished)
        CountSuccess(run);
    Outcome outcome = OutcomeOf(status);
    if (outcome == Outcome::Requeued && job.settings.IsFinished())
        outcome = Outcome::Canceled;

    Spans frames = run.frames;
    String const subRange = run.subRange;
    Finish(run, status, text, at, ran, outcome);
    Destroy(run);
    switch (outcome) {
    case Outcome::Finished:
        job.finished.Insert(frames);
        break;
    case Outcome::FailedForGood:
        job.failed.Insert(frames);
        break;
    case Outcome::Canceled:
        job.canceled.Insert(frames);
        break;
    default:
        job.queue.PutBack(std::move(frames), IsFailedStatus(status) ? UnitQueue::Place::Back : UnitQueue::Place::Front);
        break;
    }
    if (action == StopAction::SubmitAsNew && outcome == Outcome::Canceled)
        SubmitAsNew(job, subRange);
    m_farm.jobActions->UnitEnded(job);
}

void Runs::GiveUp(Run& run, int status, String const& note) {
    if (run.job)
        run.job->givenUp[run.work] = {run.number, false};
    run.stop.reset();
    End(run, status, note, m_farm.now, Time());
}

void Runs::EndUnconfirmed(Run& run) {
    if (run.job)
        run.job->givenUp[run.work] = {run.number, true};
    PendingStop const stop = run.stop.value_or(PendingStop{});
    End(run, stop.status, stop.reason, m_farm.now, Time());
}

void Runs::Stop(Run& run, int status, String const& reason, StopAction action) {
    run.stop = PendingStop{StatusOfStop(status, action), reason, action, m_farm.steady};
    if (!run.engine->Online()) {
        // Nobody will confirm it. When the Engine comes back it is told to end the run.
        EndUnconfirmed(run);
        return;
    }
    if (run.job)
        Store(run, Outcome::Open);
    SendStop(run);
}

void Runs::SendStop(Run const& run) {
    auto message = EndWorkMsg::New();
    message->work = run.work;
    message->status = run.stop->status;
    message->reason = run.stop->reason;
    m_farm.out.To(run.engine->peer, message);
}

void Runs::SettleQueued(JobEntry& job, Spans const& frames, int status, String const& note) {
    Outcome const outcome = OutcomeOf(status);
    RunRow row;
    row.work = m_farm.random.NextUID();
    row.subRange = job.frames.TextOf(frames);
    row.outcome = outcome;
    row.elements = {{status, m_farm.now, note}, {Closed, m_farm.now, String()}};
    uint64_t const number = m_farm.NextNumber();
    job.past.push_back({number, WriteRow(row)});
    m_farm.out.Put(RecordKind::History, number, row.work, job.past.back().row, job.number);
    for (RunElement const& element : row.elements)
        TellElement(job, row.work, UID::Null, row.subRange, element);
    job.queue.Remove(frames);
    (outcome == Outcome::FailedForGood ? job.failed : job.canceled).Insert(frames);
}

// A row without elements, and so without a line in the history: it tells the frames alone.
void Runs::RunAgain(JobEntry& job, Spans const& frames) {
    RunRow row;
    row.work = m_farm.random.NextUID();
    row.subRange = job.frames.TextOf(frames);
    row.outcome = Outcome::Requeued;
    uint64_t const number = m_farm.NextNumber();
    job.past.push_back({number, WriteRow(row)});
    m_farm.out.Put(RecordKind::History, number, row.work, job.past.back().row, job.number);
    job.failed.Erase(frames);
    job.queue.AddFresh(frames);
}

void Runs::SubmitAsNew(JobEntry const& job, String const& subRange) {
    auto copy = boost::make_shared<Job>(*job.job);
    copy->id = m_farm.random.NextUID();
    for (char const* const name : {p_FinishedTime, p_PercentDone, p_Standstill, p_Status})
        copy->Clear(name);
    copy->SetStatus(Queued);
    copy->SetCreated(m_farm.now);
    copy->SetName(job.job->Name() + " " + subRange);
    if (job.product &&
        (job.product->Class() == ProductClass::Sequence || job.product->Class() == ProductClass::VirtualModule))
        copy->Set(p_Range, subRange);
    m_farm.jobActions->Submit(copy, 0, job.goneWaits);
}

void Runs::CheckTimes() {
    std::vector<Run*> late;
    for (auto const& [number, run] : m_farm.runs) {
        if (run->stop
                ? run->stop->asked + k_StopPatience <= m_farm.steady
                : run->job && run->engine->Online() && !run->HasStarted() && m_farm.policy.startTimeout > Time() &&
                      run->assignedAt + m_farm.policy.startTimeout <= m_farm.steady) {
            late.push_back(run.get());
            continue;
        }
        JobEntry const* const job = run->job;
        if (!job || run->stop || !run->HasStarted() || job->settings.overtimeKill <= 0 ||
            job->finishedRuns < k_FinishedForOvertime || job->finishedFrames == 0)
            continue;
        double const average = static_cast<double>(job->finishedMs) / static_cast<double>(job->finishedFrames) *
                               static_cast<double>(CountOf(run->frames));
        if (static_cast<double>((m_farm.steady - run->startedAt).Milliseconds()) > average * job->settings.overtimeKill)
            late.push_back(run.get());
    }
    for (Run* const run : late) {
        if (!run->job) {
            Destroy(*run);
        } else if (run->stop) {
            EndUnconfirmed(*run);
        } else if (run->HasStarted()) {
            Stop(*run, TimedOut, SFormat("Took longer than %g times the average", run->job->settings.overtimeKill),
                 StopAction::Requeue);
        } else {
            // The order may have been lost or the Engine be stuck: it is told to end the
            // run, and its cores stay in use until it says so.
            String const reason = SFormat("Did not start within %g seconds",
                                          static_cast<double>(m_farm.policy.startTimeout.Milliseconds()) / 1000);
            EngineEntry& engine = *run->engine;
            UID const work = run->work;
            unsigned const cores = run->cores;
            GiveUp(*run, TimedOut, reason);
            AdoptOrphan(engine, work, cores, reason);
        }
    }
}

void Runs::CountCreators() {
    m_farm.creatorMatcher = CreatorMatcher(m_farm.policy.creatorLimits);
    m_farm.creatorUsage.assign(m_farm.policy.creatorLimits.size(), Usage());
    for (auto const& [number, run] : m_farm.runs) {
        if (!run->job)
            continue;
        for (size_t const index : m_farm.creatorMatcher.Match(run->creator))
            m_farm.creatorUsage[index].Add(run->engine);
    }
    m_farm.distributor->CreatorsChanged();
}

void Runs::Store(Run const& run, Outcome outcome) {
    m_farm.out.Put(RecordKind::History, run.number, run.work, RowOf(run, outcome), run.job->number);
}

void Runs::TellElement(JobEntry const& job, UID const& work, UID const& engine, String const& subRange,
                       RunElement const& element) {
    if (!m_farm.out.Wanted<WorkHistoryElementMsg>())
        return;
    auto message = WorkHistoryElementMsg::New();
    message->element = {element.status, element.time, element.note, subRange, work, job.id, engine};
    m_farm.out.AboutJob(job.number, message);
}

void Runs::TellUnit(Run const& run) {
    if (run.HasStarted() ? m_farm.out.Wanted<StartedWorkMsg>() : m_farm.out.Wanted<AssignedWorkMsg>())
        m_farm.out.AboutRun(run.number, Loader::UnitMessage(run));
}

} // namespace farm
