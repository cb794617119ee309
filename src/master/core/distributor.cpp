#include "master/core/distributor.h"

#include "master/core/conditions.h"
#include "master/core/reporter.h"
#include "master/core/runs.h"
#include "master/core/standstills.h"

#include <algorithm>

namespace farm {

namespace {

// The shortest time between two rounds over everything.
constexpr Time k_ShortestRound = Time::Seconds(1);

// Jobs that are looked at when their creator may have one more unit. The round looks at the
// others where none of these could use it.
constexpr size_t k_WakeAtOnce = 4;

} // namespace

void Distributor::EngineChanged(EngineEntry& engine) { m_dirtyEngines.insert(engine.number); }

void Distributor::JobChanged(JobEntry& job, Chance chance) {
    Chance& known = m_dirtyJobs.try_emplace(job.number, Chance::Same).first->second;
    known = std::max(known, chance);
}

void Distributor::DependentsChanged(UID const& job) {
    auto const at = m_farm.dependents.find(job);
    if (at == m_farm.dependents.end())
        return;
    for (uint64_t const number : at->second)
        m_dirtyJobs[number] = Chance::New;
}

void Distributor::ForgetJob(JobEntry& job) {
    Unpark(job);
    m_farm.waiting.Remove(job);
    m_dirtyJobs.erase(job.number);
}

void Distributor::ForgetEngine(EngineEntry& engine) {
    if (engine.inFree)
        m_farm.freeEngines.erase(&engine);
    engine.inFree = false;
    m_dirtyEngines.erase(engine.number);
}

void Distributor::WakeJob(JobEntry const& job, Steady at) {
    if (at < Steady::Never())
        m_wakes.push({at, job.number});
}

void Distributor::WakeAll(Steady at) {
    if (at < Steady::Never())
        m_wakes.push({at, 0});
}

WaitKey Distributor::KeyOf(JobEntry const& job) const {
    WaitKey key;
    key.priority = job.settings.priority;
    key.number = job.number;
    int boost = job.settings.boost;
    if (boost == 0) {
        auto const ofProduct = m_farm.productBoosts.find(job.settings.type);
        boost = ofProduct == m_farm.productBoosts.end() ? m_farm.policy.globalBoost : ofProduct->second;
    }
    key.boosted = boost > 0 && job.given < static_cast<uint64_t>(boost);
    key.running = m_farm.policy.fifo ? 0 : static_cast<unsigned>(job.runs.size());
    return key;
}

void Distributor::Refresh(JobEntry& job) {
    m_farm.standstills->Changed(job);
    Unpark(job);
    if (!JobAllows(m_farm, job))
        m_farm.waiting.Remove(job);
    else if (!Park(job))
        m_farm.waiting.Insert(job, KeyOf(job));
}

// A Job whose creator may have nothing more at all is not looked at until that changes.
bool Distributor::Park(JobEntry& job) {
    for (size_t const index : m_farm.creatorMatcher.Match(job.settings.creator)) {
        if (!m_farm.creatorUsage[index].Exhausted(m_farm.policy.creatorLimits[index].limit))
            continue;
        m_farm.waiting.Remove(job);
        job.key = KeyOf(job);
        job.parkedAt = index;
        m_parked.resize(m_farm.creatorUsage.size());
        m_parked[index].insert(&job);
        return true;
    }
    return false;
}

void Distributor::Unpark(JobEntry& job) {
    if (job.parkedAt)
        m_parked[*job.parkedAt].erase(&job);
    job.parkedAt.reset();
}

void Distributor::CreatorsChanged() {
    for (auto const& jobs : m_parked) {
        for (JobEntry* const job : jobs)
            job->parkedAt.reset();
    }
    m_parked.assign(m_farm.creatorUsage.size(), {});
    AllChanged();
}

void Distributor::WakeParked(size_t index, size_t most) {
    if (index >= m_parked.size())
        return;
    for (JobEntry* const job : m_parked[index]) {
        if (most-- == 0)
            return;
        m_dirtyJobs[job->number] = Chance::New;
    }
}

void Distributor::Refresh(EngineEntry& engine) {
    bool const isFree = engine.Online() && engine.settings.enabled && engine.Free() > 0 &&
                        (m_farm.policy.packEngine || engine.runs.empty());
    if (engine.inFree) {
        if (isFree && engine.freeCores == engine.Free() && engine.freePriority == engine.settings.priority)
            return;
        m_farm.freeEngines.erase(&engine);
    }
    engine.inFree = isFree;
    engine.freeCores = engine.Free();
    engine.freePriority = engine.settings.priority;
    if (isFree)
        m_farm.freeEngines.insert(&engine);
}

bool Distributor::GiveOne(JobEntry& job, EngineEntry& engine) {
    m_farm.about = job.number;
    bool const bound = !job.engineOfUnit.empty();
    FrameMap const* const even = job.settings.evenPackets ? &job.frames : nullptr;
    Spans packet =
        job.queue.TakeSpans(PacketSizeOf(m_farm, job), even, AllowedPositions(m_farm, job, bound ? &engine : nullptr));
    if (packet.empty())
        return false;
    Run const& run = m_farm.runActions->Give(job, engine, std::move(packet));
    if (m_farm.policy.logDispatch)
        m_farm.out.LogDispatch(m_farm.now.Format() + "  " + job.job->Name() + ": " + run.subRange + " to " +
                               engine.engine->Name());
    Refresh(job);
    Refresh(engine);
    return true;
}

JobEntry* Distributor::ChooseFrom(std::vector<WaitIndex::Buckets const*> const& pools, EngineEntry const& engine) {
    std::vector<Cursor> cursors;
    std::vector<JobEntry*> exhausted;
    JobEntry* chosen = nullptr;
    for (WaitIndex::Buckets const* const pool : pools) {
        for (auto const& [key, bucket] : *pool) {
            if (BucketAllows(m_farm, **bucket.begin(), engine))
                cursors.push_back({bucket.begin(), bucket.end()});
        }
    }
    while (!cursors.empty()) {
        auto const best = std::min_element(cursors.begin(), cursors.end(), [](Cursor const& a, Cursor const& b) {
            return (*a.at)->key < (*b.at)->key;
        });
        JobEntry* const job = *best->at;
        if (PairAllows(m_farm, *job, engine)) {
            chosen = job;
            break;
        }
        if (IsCreatorExhausted(m_farm, *job))
            exhausted.push_back(job);
        if (++best->at == best->end) {
            *best = cursors.back();
            cursors.pop_back();
        }
    }
    for (JobEntry* const job : exhausted)
        Park(*job);
    return chosen;
}

JobEntry* Distributor::Choose(EngineEntry const& engine) {
    std::vector<WaitIndex::Buckets const*> pools;
    // The Engine's Pools in its order, then the whole system.
    for (UID const& pool : engine.settings.pools) {
        if (WaitIndex::Buckets const* const buckets = m_farm.waiting.OfPool(pool))
            pools.push_back(buckets);
    }
    if (WaitIndex::Buckets const* const buckets = m_farm.waiting.OfPool(UID::Null))
        pools.push_back(buckets);
    if (m_farm.policy.ignorePools)
        return ChooseFrom(pools, engine);
    for (WaitIndex::Buckets const* const pool : pools) {
        if (JobEntry* const job = ChooseFrom({pool}, engine))
            return job;
    }
    return nullptr;
}

// Gives the Engines, the first in order first, a unit each as long as there are any.
void Distributor::Serve(std::vector<EngineEntry*> engines) {
    auto const later = [](EngineEntry const* a, EngineEntry const* b) { return FreeLess()(b, a); };
    std::erase_if(engines, [](EngineEntry const* engine) { return !engine->inFree; });
    std::make_heap(engines.begin(), engines.end(), later);
    while (!engines.empty() && m_farm.waiting.Size() > 0) {
        std::pop_heap(engines.begin(), engines.end(), later);
        EngineEntry& engine = *engines.back();
        JobEntry* const job = EngineAllows(m_farm, engine) ? Choose(engine) : nullptr;
        if (job && GiveOne(*job, engine) && engine.inFree)
            std::push_heap(engines.begin(), engines.end(), later);
        else
            engines.pop_back();
    }
}

// Offers the units of one Job to the free Engines. One unit is all there is as often as
// not: the first that may have it is enough.
void Distributor::Offer(JobEntry& job) {
    auto& free = m_farm.freeEngines;
    for (auto at = free.begin(); at != free.end() && job.waiting;) {
        EngineEntry& engine = **at;
        auto const next = std::next(at);
        bool const given = EngineAllows(m_farm, engine) && BucketAllows(m_farm, job, engine) &&
                           PairAllows(m_farm, job, engine) && GiveOne(job, engine);
        // With fewer free cores it stands further behind, and may be the next again.
        bool const isNext = given && engine.inFree && (next == free.end() || FreeLess()(&engine, *next));
        at = isNext ? free.find(&engine) : next;
    }
}

void Distributor::Distribute() {
    if (m_all) {
        m_all = false;
        m_serveAll = false;
        m_lastRound = m_farm.steady;
        m_dirtyJobs.clear();
        m_dirtyEngines.clear();
        for (auto const& [number, job] : m_farm.jobs)
            Refresh(*job);
        for (auto const& [number, engine] : m_farm.engines)
            Refresh(*engine);
        Serve({m_farm.freeEngines.begin(), m_farm.freeEngines.end()});
        return;
    }
    for (size_t const index : std::exchange(m_freedCreators, {}))
        WakeParked(index, k_WakeAtOnce);
    std::vector<EngineEntry*> engines;
    for (uint64_t const number : std::exchange(m_dirtyEngines, {})) {
        auto const at = m_farm.engines.find(number);
        if (at == m_farm.engines.end())
            continue;
        Refresh(*at->second);
        engines.push_back(at->second.get());
    }
    std::vector<JobEntry*> jobs;
    for (auto const& [number, chance] : std::exchange(m_dirtyJobs, {})) {
        JobEntry* const job = m_farm.FindJob(number);
        if (!job)
            continue;
        bool const wasWaiting = job->waiting;
        Refresh(*job);
        if (job->waiting && (!wasWaiting || chance == Chance::New))
            jobs.push_back(job);
    }
    if (m_serveAll)
        engines.assign(m_farm.freeEngines.begin(), m_farm.freeEngines.end());
    m_serveAll = false;
    Serve(std::move(engines));
    std::sort(jobs.begin(), jobs.end(), [](JobEntry const* a, JobEntry const* b) { return a->key < b->key; });
    for (JobEntry* const job : jobs) {
        if (job->waiting && !m_farm.freeEngines.empty())
            Offer(*job);
    }
    m_dirtyEngines.clear();
    m_dirtyJobs.clear();
}

void Distributor::CheckTimes() {
    while (!m_wakes.empty() && m_wakes.top().at <= m_farm.steady) {
        Wake const wake = m_wakes.top();
        m_wakes.pop();
        if (wake.job != 0)
            m_dirtyJobs[wake.job] = Chance::New;
        else
            m_serveAll = true;
    }
    if (m_lastRound + std::max(m_farm.policy.frequency, k_ShortestRound) > m_farm.steady)
        return;
    // The regular round finds what the changes alone did not, such as limits that
    // another Engine's unit has freed.
    m_lastRound = m_farm.steady;
    m_serveAll = true;
    for (size_t index = 0; index < m_parked.size(); ++index) {
        if (!m_farm.creatorUsage[index].Exhausted(m_farm.policy.creatorLimits[index].limit))
            WakeParked(index, m_parked[index].size());
    }
    if (m_farm.policy.logDispatch)
        m_farm.out.LogDispatch(m_farm.reporter->Round());
}

Steady Distributor::NextTime() const {
    Steady const round = m_lastRound + std::max(m_farm.policy.frequency, k_ShortestRound);
    return m_wakes.empty() ? round : std::min(round, m_wakes.top().at);
}

} // namespace farm
