#include "master/core/jobs.h"

#include "master/core/conditions.h"
#include "master/core/distributor.h"
#include "master/core/engines.h"
#include "master/core/jobcommands.h"
#include "master/core/runs.h"
#include "master/core/waits.h"

#include <boost/make_shared.hpp>
#include <corekit/sformat.h>
#include <vorlan/jobcheck.h>
#include <vorlan/keys.h>
#include <vorlan/launch.h>
#include <vorlan/status.h>

#include <algorithm>

namespace farm {

namespace {

// A command for one of these that comes late is not taken for a new Job.
constexpr size_t k_MaxRecentlyDeleted = 10'000;
constexpr size_t k_MaxValueLength = size_t{16} << 20;

bool HasFrames(Product const& product) {
    return product.Class() == ProductClass::Sequence || product.Class() == ProductClass::VirtualModule;
}

} // namespace

// The frames of a Job; a text for people if they cannot be told.
String Jobs::CheckRange(Job const& job, Product const& product, FrameMap& frames) const {
    FrameRange range;
    String error;
    if (!FrameRange::Parse(HasFrames(product) ? job.Range(&product) : String("1"), range, &error))
        return error;
    if (range.Empty())
        return "The Job has no frames. Set its Range, for example to 1-100.";
    frames = FrameMap(std::move(range));
    return String();
}

// Why the values as a whole will not do. Each change and each unit adds a few of the
// Master's own to them.
String Jobs::CheckValues(Job const& job, Product const* product) {
    size_t const count = job.Snapshot()->Count();
    size_t const most = ValueBlock::k_MaxValues - k_Values.size();
    if (count > most)
        return SFormat("The Job has %zu values, and %zu are the most. Put long lists into a file.", count, most);
    return CheckScripts(product, job);
}

// One unit for each Engine that may take part now.
void Jobs::FillEngines(JobEntry& job) {
    for (auto const& [number, engine] : m_farm.engines) {
        if (TakesPart(m_farm, job, *engine))
            job.engineOfUnit.push_back(engine->id);
    }
    auto const count = static_cast<int>(job.engineOfUnit.size());
    FrameRange range;
    if (count > 0)
        FrameRange::Parse("1-" + String::From(count), range);
    job.frames = FrameMap(std::move(range));
}

void Jobs::ReadSettings(JobEntry& job) {
    m_farm.about = job.number;
    Job const& values = *job.job;
    VorlanObject::ReadingScope const reading(values);
    JobSettings& s = job.settings;
    s.type = values.Type();
    job.product = m_farm.FindProduct(s.type);
    Product const* const product = job.product.get();
    s.pool = values.Pool(product);
    s.creator = values.Creator();
    s.status = values.Status();
    s.priority = values.Priority(product);
    s.cpus = values.CPUs(product);
    s.failureLimit = values.FailureLimit(product);
    s.usageLimit = values.UsageLimit(product);
    s.finishDisposition = values.FinishDisposition(product);
    s.overtimeKill = values.OvertimeKill(product);
    s.stagger.mode = static_cast<StaggerMode>(std::clamp(values.StaggerMode(product), 0, 2));
    s.stagger.count = values.StaggerCount(product);
    s.stagger.span = Time(static_cast<int64_t>(std::clamp(values.StaggerStart(product), 0.0F, 1e8F) * 1000));
    s.include = values.IncludeEngines(product);
    s.exclude = values.ExcludeEngines(product);
    s.boost = values.PriorityBoost(product);
    s.divides = product && HasFrames(*product);
    s.packetSize = s.divides ? static_cast<uint32_t>(values.PacketSize(product)) : 1;
    s.evenPackets = s.divides && product->NeedsEvenPackets();
    Watch(job, false);
    s.anyEnd = values.WaitsForAnyEnd(product);
    s.dependencies = values.GetDependencies(product);
    s.dependencies.erase(job.id);
    job.enginesLeft = {};
    Watch(job, true);
}

// After a change of its values or of its Product: packets of another size are made anew.
void Jobs::ReadAgain(JobEntry& job) {
    uint32_t const oldPacketSize = job.settings.packetSize;
    ReadSettings(job);
    if (job.settings.packetSize == oldPacketSize)
        return;
    job.queue.Redivide();
    job.redividedAt = m_farm.lastNumber;
    StoreState(job);
}

void Jobs::Watch(JobEntry& job, bool add) {
    for (auto const& [id, type] : job.settings.dependencies) {
        if (add) {
            m_farm.dependents[id].insert(job.number);
            continue;
        }
        auto const at = m_farm.dependents.find(id);
        if (at == m_farm.dependents.end())
            continue;
        at->second.erase(job.number);
        if (at->second.empty())
            m_farm.dependents.erase(at);
    }
}

// The Job as it is to be changed; TellJob or the like must follow. Those who hold the
// old one keep it as it was told.
boost::shared_ptr<Job> Jobs::Change(JobEntry& job) { return job.job = boost::make_shared<Job>(*job.job); }

void Jobs::StoreJob(JobEntry const& job) {
    m_farm.out.Put(RecordKind::Job, job.number, job.id, EncodeJob(*job.job), job.number);
}

void Jobs::StoreState(JobEntry const& job) {
    JobStateRow const row{job.deleting, job.redividedAt, job.failuresResetAt, job.engineOfUnit, job.goneWaits};
    m_farm.out.Put(RecordKind::JobState, job.number, job.id, WriteRow(row), job.number);
}

void Jobs::TellJob(JobEntry const& job) {
    if (m_farm.out.Wanted<JobMsg>())
        m_farm.out.AboutJob(job.number, JobMsg::Create(job.job));
}

bool Jobs::Submit(boost::shared_ptr<Job> const& job, PeerId peer, std::map<UID, GoneWait> goneWaits) {
    return Enqueue(Prepare(job, peer, std::move(goneWaits)));
}

// A Job that can be taken in; null, after telling the peer why, if it cannot.
std::unique_ptr<JobEntry> Jobs::Prepare(boost::shared_ptr<Job> const& job, PeerId peer,
                                        std::map<UID, GoneWait> goneWaits) {
    auto const product = m_farm.FindProduct(job->Type());
    String fault;
    if (job->id.IsNull())
        fault = "The Job has no ID.";
    else if (!product)
        fault = "The Job's Product is not known to the Master. Choose another one, or add the Product in the Product "
                "editor.";
    else
        fault = CheckValues(*job, product.get());
    if (fault.Empty())
        fault = CheckWaits(m_farm, job->id, *job, *product, goneWaits);
    if (!fault.Empty()) {
        m_farm.out.Refuse(peer, job->id, fault);
        return nullptr;
    }
    auto owned = std::make_unique<JobEntry>();
    JobEntry& entry = *owned;
    entry.number = m_farm.NextNumber();
    entry.id = job->id;
    entry.job = boost::make_shared<Job>(*job);
    entry.goneWaits = std::move(goneWaits);
    Job& values = *entry.job;
    values.parentID = UID::Null;
    if (values.Status() != Paused)
        values.SetStatus(Queued);
    if (m_farm.policy.resetCreation || values.Created().IsZero())
        values.SetCreated(m_farm.now);
    for (char const* const name : {p_FinishedTime, p_PercentDone, p_Standstill})
        values.Clear(name);
    ReadSettings(entry);
    if (product->Class() == ProductClass::OncePerEngine) {
        FillEngines(entry);
        if (entry.engineOfUnit.empty())
            fault =
                "No Engine that is online may take this Job. Check its Pool, its included Engines and its Product's "
                "settings.";
    } else {
        fault = CheckRange(values, *product, entry.frames);
    }
    if (!fault.Empty()) {
        Watch(entry, false);
        m_farm.out.Refuse(peer, job->id, fault);
        return nullptr;
    }
    entry.queue.AddFresh(Span{0, entry.frames.Count()});
    return owned;
}

bool Jobs::Enqueue(std::unique_ptr<JobEntry> owned) {
    if (!owned)
        return false;
    JobEntry& entry = *owned;
    m_farm.jobsById[entry.id] = &entry;
    m_farm.jobs.emplace(entry.number, std::move(owned));
    StoreJob(entry);
    if (!entry.engineOfUnit.empty() || !entry.goneWaits.empty())
        StoreState(entry);
    TellJob(entry);
    m_farm.distributor->JobChanged(entry, Distributor::Chance::New);
    m_farm.distributor->DependentsChanged(entry.id);
    return true;
}

void Jobs::OnJob(PeerId peer, JobMsg const& message) {
    if (!message.job)
        return;
    bool const isSubmission = !message.submission.IsNull();
    if (JobEntry* const job = m_farm.FindJob(message.job->id)) {
        // The same submission again, since its answer was lost.
        if (!isSubmission && MayHaveValues(peer, *message.job, job->job.get()))
            Edit(*job, message.job, peer);
        return;
    }
    if (m_farm.deletedJobs.contains(message.job->id)) {
        // Whoever submitted it and got no answer asks again.
        if (!isSubmission)
            m_farm.out.Refuse(peer, message.job->id, "The Job was deleted in the meantime. Submit it as a new one.");
        return;
    }
    if (MayHaveValues(peer, *message.job, nullptr))
        Submit(message.job, peer);
}

// False, after telling the peer, when a value that `former` has not got is none.
bool Jobs::MayHaveValues(PeerId peer, Job const& job, Job const* former) const {
    String const wrong = CheckJobValues(job, m_farm.FindProduct(job.Type()).get(), former);
    if (!wrong.Empty())
        m_farm.out.Refuse(peer, job.id, wrong);
    return wrong.Empty();
}

void Jobs::Edit(JobEntry& job, boost::shared_ptr<Job> const& wanted, PeerId peer) {
    int const status = wanted->Status();
    if (!job.setApart.Empty()) {
        m_farm.out.Refuse(peer, job.id, "The Job was set apart: " + job.setApart);
        return;
    }
    if (job.settings.IsFinished() && (status == Queued || status == Paused)) {
        Reopen(job, wanted, peer);
        return;
    }
    if (wanted->Type() != job.settings.type) {
        m_farm.out.Refuse(peer, job.id, "The Product of a Job cannot be changed. Submit it as a new Job.");
        return;
    }
    auto changed = boost::make_shared<Job>(*job.job);
    changed->UpdateFrom(*wanted, false);
    for (ValueInfo const& value : k_Values) {
        if (value.Has(v_MastersOwn) && job.job->Has(value.name))
            changed->Set(value.name, job.job->Get(value.name, false));
        else if (value.Has(v_MastersOwn))
            changed->Clear(value.name);
    }
    bool const finishes = !job.settings.IsFinished() && IsFinishedStatus(status);
    if (!job.settings.IsFinished() && (status == Queued || status == Paused))
        changed->SetStatus(status);
    if (!TakeRange(job, changed, peer))
        return;
    StoreJob(job);
    if (finishes) {
        Finish(job, status);
        return;
    }
    Runs::JobEdited(job);
    TellJob(job);
    m_farm.distributor->JobChanged(job, Distributor::Chance::New);
    UnitEnded(job);
}

// Puts changed values in place, with the frames divided anew where that is due. False
// when the range is none, or a script could not be run.
bool Jobs::TakeRange(JobEntry& job, boost::shared_ptr<Job> const& changed, PeerId peer) {
    bool const divides = job.product && HasFrames(*job.product);
    bool const newRange = divides && changed->Range(job.product.get()) != job.job->Range(job.product.get());
    FrameMap frames;
    std::map<UID, GoneWait> goneWaits = job.goneWaits;
    String fault = CheckValues(*changed, job.product.get());
    if (fault.Empty() && newRange)
        fault = CheckRange(*changed, *job.product, frames);
    bool const newWaits = job.product && changed->GetDependencies(job.product.get()) != job.settings.dependencies;
    if (fault.Empty() && newWaits)
        fault = CheckWaits(m_farm, job.id, *changed, *job.product, goneWaits);
    if (!fault.Empty()) {
        m_farm.out.Refuse(peer, job.id, fault);
        return false;
    }
    job.job = changed;
    ReadAgain(job);
    if (newWaits) {
        std::erase_if(goneWaits, [&](auto const& gone) { return !job.settings.dependencies.contains(gone.first); });
        job.goneWaits = std::move(goneWaits);
        StoreState(job);
    }
    if (newRange) {
        job.frames = std::move(frames);
        Rebuild(job);
    }
    return true;
}

void Jobs::OnParameter(PeerId peer, JobParameterMsg const& message) {
    JobEntry* const job = m_farm.FindJob(message.job);
    if (!job || !job->setApart.Empty()) {
        m_farm.out.Refuse(peer, message.job,
                          job ? "The Job was set apart: " + job->setApart : String("The Job is not there any more."));
        return;
    }
    if (message.name.CompareNoCase(p_Status) == 0) {
        int const status = static_cast<int>(message.value.Int(INT32_MIN));
        if (job->settings.IsFinished() || !IsJobStatus(status)) {
            m_farm.out.Refuse(peer, job->id, job->settings.IsFinished() ? "The Job is finished." : "No such status.");
            return;
        }
        if (status == job->settings.status)
            return;
        if (IsFinishedStatus(status)) {
            Finish(*job, status);
            return;
        }
        Change(*job)->SetStatus(status);
    } else {
        ValueInfo const* const info = FindValue(message.name);
        if (message.name.Empty() || message.name.size() > NameTable::k_MaxNameLength ||
            message.value.size() > k_MaxValueLength || (info && info->Has(v_MastersOwn))) {
            m_farm.out.Refuse(peer, job->id, "The parameter \"" + message.name.Mid(0, 100) + "\" cannot be set.");
            return;
        }
        if (String const wrong = CheckJobValue(message.name, message.value, job->product.get()); !wrong.Empty()) {
            m_farm.out.Refuse(peer, job->id, wrong);
            return;
        }
        auto const changed = boost::make_shared<Job>(*job->job);
        if (!changed->SetParameter(message.name, message.value) || !TakeRange(*job, changed, peer))
            return;
    }
    ReadSettings(*job);
    StoreJob(*job);
    Runs::JobParameterSet(*job, message.name, job->job->Get(message.name, false));
    if (m_farm.out.Wanted<JobParameterMsg>()) {
        auto told = JobParameterMsg::New();
        told->job = job->id;
        told->name = message.name;
        told->value = job->job->Get(message.name, false);
        m_farm.out.AboutJob(job->number, told);
    }
    m_farm.distributor->JobChanged(*job, Distributor::Chance::New);
    UnitEnded(*job);
}

void Jobs::OnDelete(PeerId peer, DeleteJobMsg const& message) {
    JobEntry* const job = m_farm.FindJob(message.job);
    if (!job) {
        m_farm.out.Refuse(peer, message.job, "The Job is not there any more.");
        return;
    }
    if (message.immediately || job->runs.empty()) {
        Delete(*job);
        return;
    }
    job->deleting = true;
    StoreState(*job);
    m_farm.distributor->JobChanged(*job, Distributor::Chance::Same);
}

void Jobs::Delete(JobEntry& job) {
    bool const wasSettled = job.settings.IsFinished() && job.runs.empty();
    std::vector<Run*> const runs = job.runs;
    for (Run* const run : runs)
        m_farm.runActions->DropJob(*run);
    if (!wasSettled)
        TellGone(job);
    if (m_farm.policy.resetFailuresOnDelete && m_farm.failures.OfJob(job.id) > 0) {
        auto const reset = m_farm.failures.ResetJob(job.id);
        for (FailureEntry const& entry : reset) {
            if (EngineEntry* const engine = m_farm.FindEngine(entry.item.engine))
                m_farm.engineActions->ShowBarred(*engine);
        }
        auto told = ResetJobFailuresMsg::New();
        told->job = job.id;
        m_farm.out.ToFollowers(told);
    }
    for (uint64_t const number : m_farm.failures.RemoveReset(job.id))
        m_farm.out.Erase(RecordKind::Failure, number);
    m_farm.jobCommands->Owe(job, p_DeleteJobEvt);
    m_farm.out.EraseJob(job.number);
    auto told = DeleteJobMsg::New();
    told->job = job.id;
    m_farm.out.ToFollowers(told);

    Watch(job, false);
    Remember(job);
    m_farm.distributor->ForgetJob(job);
    m_farm.distributor->DependentsChanged(job.id);
    Unschedule(job);
    m_farm.jobsById.erase(job.id);
    m_farm.jobs.erase(job.number);
}

// What others must know of a Job that is deleted: those that wait for it, and late
// commands for it.
void Jobs::Remember(JobEntry const& job) {
    GoneWait const gone = WaitOnGone(job);
    if (auto const followers = m_farm.dependents.find(job.id); followers != m_farm.dependents.end()) {
        for (uint64_t const number : followers->second) {
            if (JobEntry* const follower = m_farm.FindJob(number)) {
                follower->goneWaits[job.id] = gone;
                StoreState(*follower);
            }
        }
    }
    uint64_t const row = m_farm.NextNumber();
    GoneWait const brief{gone.name, gone.succeeded, String()};
    m_farm.deletedJobs[job.id] = {row, brief};
    m_farm.deletedInOrder.insert({row, job.id});
    m_farm.out.Put(RecordKind::DeletedJob, row, job.id, WriteRow(brief));
    while (m_farm.deletedInOrder.size() > k_MaxRecentlyDeleted)
        ForgetDeleted(m_farm.deletedInOrder.begin()->second);
}

void Jobs::ForgetDeleted(UID const& id) {
    auto const at = m_farm.deletedJobs.find(id);
    if (at == m_farm.deletedJobs.end())
        return;
    m_farm.out.Erase(RecordKind::DeletedJob, at->second.number);
    m_farm.deletedInOrder.erase({at->second.number, id});
    m_farm.deletedJobs.erase(at);
}

// A finished Job goes on under its own id: for everybody else it is deleted and
// submitted again.
void Jobs::Reopen(JobEntry& job, boost::shared_ptr<Job> const& wanted, PeerId peer) {
    auto const again = boost::make_shared<Job>(*wanted);
    auto entry = Prepare(again, peer, job.goneWaits);
    if (!entry)
        return;
    Delete(job);
    ForgetDeleted(again->id);
    Enqueue(std::move(entry));
}

// True when there is something new to tell.
bool Jobs::ShowProgress(JobEntry& job) {
    uint64_t const total = job.Total();
    int const permille = total == 0 ? 0 : static_cast<int>(job.finished.Count() * 1000 / total);
    if (permille == job.toldPermille)
        return false;
    job.toldPermille = permille;
    Change(job)->Set(p_PercentDone,
                     String::From(permille / 10) + (permille % 10 == 0 ? String() : "." + String::From(permille % 10)));
    return true;
}

void Jobs::UnitEnded(JobEntry& job) {
    m_farm.about = job.number;
    GiveUpAtLimit(job);
    if (ShowProgress(job) && m_farm.out.Wanted<JobParameterMsg>()) {
        auto told = JobParameterMsg::New();
        told->job = job.id;
        told->name = p_PercentDone;
        told->value = job.job->Get(p_PercentDone, false);
        m_farm.out.AboutJob(job.number, told);
    }
    m_farm.distributor->DependentsChanged(job.id);
    if (!job.runs.empty() || (!job.queue.Empty() && !job.deleting && !job.settings.IsFinished())) {
        bool const newChance = job.settings.usageLimit < 0 || !job.engineOfUnit.empty();
        m_farm.distributor->JobChanged(job, newChance ? Distributor::Chance::New : Distributor::Chance::Same);
        return;
    }
    if (job.deleting) {
        Delete(job);
        return;
    }
    if (job.Total() == 0)
        return; // nobody knows its Product, so its frames are not known either
    if (job.settings.IsFinished()) {
        SettleFinished(job);
        return;
    }
    Finish(job, !job.failed.Empty()     ? static_cast<int>(Failed)
                : !job.canceled.Empty() ? static_cast<int>(UserCanceled)
                                        : static_cast<int>(vorlan::Finished));
}

// Ends a Job; its active work goes on, what is queued is canceled.
void Jobs::Finish(JobEntry& job, int status) {
    job.canceled.Insert(job.queue.Positions());
    job.queue.Clear();
    auto const changed = Change(job);
    changed->SetStatus(status);
    changed->SetFinishedTime(m_farm.now);
    ReadSettings(job);
    ShowProgress(job);
    StoreJob(job);
    m_farm.jobCommands->Owe(job, p_JobFinishedEvt);
    if (m_farm.out.Wanted<FinishedJobMsg>()) {
        auto told = FinishedJobMsg::New();
        told->job = job.job;
        m_farm.out.AboutJob(job.number, told);
    }
    m_farm.distributor->JobChanged(job, Distributor::Chance::Same);
    m_farm.distributor->DependentsChanged(job.id);
    job.givenUp.clear();
    if (job.runs.empty())
        SettleFinished(job);
}

// A finished Job has no active work any more.
void Jobs::SettleFinished(JobEntry& job) {
    TellGone(job);
    Schedule(job);
}

// Engines that worked on it may clean up after it.
void Jobs::TellGone(JobEntry const& job) {
    auto gone = JobGoneMsg::New();
    gone->job = job.id;
    for (UID const& id : job.workedOn) {
        if (EngineEntry const* const engine = m_farm.FindEngine(id))
            m_farm.out.To(engine->peer, gone);
    }
}

// Puts down when a finished Job is deleted.
void Jobs::Schedule(JobEntry& job) {
    Unschedule(job);
    if (!job.settings.IsFinished() || !job.runs.empty())
        return;
    int const disposition = job.settings.finishDisposition;
    if (disposition == 0 || (disposition < 0 && m_farm.policy.autoDelete == 0))
        return;
    bool const atOnce = disposition > 0 || m_farm.policy.autoDelete == 1;
    Time const after = atOnce ? Time() : m_farm.policy.deleteAfter;
    job.deleteAt = m_farm.Now().SteadyOf(job.job->FinishedTime(), after) + after;
    m_farm.deletions.insert({*job.deleteAt, job.number});
}

void Jobs::Unschedule(JobEntry& job) {
    if (job.deleteAt)
        m_farm.deletions.erase({*job.deleteAt, job.number});
    job.deleteAt.reset();
}

void Jobs::CheckTimes() {
    while (!m_farm.deletions.empty() && m_farm.deletions.begin()->first <= m_farm.steady) {
        auto const [at, number] = *m_farm.deletions.begin();
        m_farm.deletions.erase(m_farm.deletions.begin());
        if (JobEntry* const job = m_farm.FindJob(number))
            Delete(*job);
    }
}

Steady Jobs::NextTime() const { return m_farm.deletions.empty() ? Steady::Never() : m_farm.deletions.begin()->first; }

void Jobs::SettingsChanged() {
    for (auto const& [number, job] : m_farm.jobs)
        Schedule(*job);
    m_farm.distributor->AllChanged();
}

void Jobs::EngineRemoved(UID const& engine) {
    std::vector<uint64_t> numbers;
    for (auto const& [number, job] : m_farm.jobs) {
        auto const& engines = job->engineOfUnit;
        auto const position =
            static_cast<uint32_t>(std::find(engines.begin(), engines.end(), engine) - engines.begin());
        Spans const unit{{position, position + 1}};
        if (position == engines.size() || !job->queue.Intersects(unit))
            continue;
        m_farm.runActions->SettleQueued(*job, unit, UserCanceled, "Its Engine was removed from the farm");
        numbers.push_back(number);
    }
    for (uint64_t const number : numbers) {
        if (JobEntry* const job = m_farm.FindJob(number))
            UnitEnded(*job);
    }
}

void Jobs::ProductChanged(UID const& type) {
    for (auto const& [number, job] : m_farm.jobs) {
        if (job->settings.type != type)
            continue;
        ReadAgain(*job);
        if (job->Total() == 0 && job->product && CheckRange(*job->job, *job->product, job->frames).Empty())
            Rebuild(*job);
    }
    m_farm.distributor->AllChanged();
}

} // namespace farm
