#include "master/core/conditions.h"

#include <corekit/sformat.h>
#include <vorlan/status.h>

#include <algorithm>
#include <array>

namespace farm {

namespace {

// Target of the variable packet size: a packet takes about a minute, and is never more
// than eight times as big as the Job says.
constexpr double k_PacketTargetMs = 60'000;
constexpr uint32_t k_PacketGrowth = 8;

using About = Condition::About;

bool Refuse(String* why, String const& text) {
    if (why)
        *why = text;
    return false;
}

bool IsUnfinished(Question const& q, String* why) {
    return !q.job.settings.IsFinished() || Refuse(why, "The Job is finished.");
}

bool IsNotPaused(Question const& q, String* why) {
    if (q.job.settings.IsPaused())
        return Refuse(why, "The Job is paused.");
    if (q.farm.policy.zeroIsPaused && q.job.settings.priority == 0)
        return Refuse(why, "The Job's priority is 0, which counts as paused.");
    return true;
}

bool IsNotDeleting(Question const& q, String* why) {
    return !q.job.deleting || Refuse(why, "The Job is deleted as soon as its active work has ended.");
}

bool IsProductKnown(Question const& q, String* why) {
    return q.job.product || Refuse(why, "The Job's Product is not installed on the Master.");
}

bool HasQueuedWork(Question const& q, String* why) {
    return !q.job.queue.Empty() || Refuse(why, "All of the Job's work is active or done.");
}

bool AreDependenciesMet(Question const& q, String* why) {
    if (q.job.settings.dependencies.empty())
        return true;
    for (auto const& [id, type] : q.job.settings.dependencies) {
        auto const other = q.farm.jobsById.find(id);
        if (type == Job::DependencyType::WholeJob && other != q.farm.jobsById.end() &&
            !other->second->settings.IsFinished())
            return Refuse(why, "The Job waits for the Job \"" + other->second->job->Name() + "\" to finish.");
    }
    FrameMap const* const even = q.job.settings.evenPackets ? &q.job.frames : nullptr;
    if (!q.job.queue.HasNext(PacketSizeOf(q.farm, q.job), even, AllowedPositions(q.farm, q.job, nullptr)))
        return Refuse(why, "No packet of the Job has all its frames finished in the Job that it waits for.");
    return true;
}

bool IsBelowTotalFailures(Question const& q, String* why) {
    unsigned const limit = q.farm.policy.maxTotalFailures;
    return limit == 0 || q.farm.failures.OfJob(q.job.id) < limit ||
           Refuse(why, SFormat("The Job has failed %u times, the limit of a Job is %u. Reset its failures to go on.",
                               q.farm.failures.OfJob(q.job.id), limit));
}

bool IsBelowUsageLimit(Question const& q, String* why) {
    return !q.job.usage.Exhausted(q.job.settings.usageLimit) ||
           Refuse(why, SFormat("The Job's usage limit of %d units at a time is reached.", q.job.settings.usageLimit));
}

bool IsWithinJobStagger(Question const& q, String* why) {
    StaggerRule const& rule = q.job.settings.stagger;
    return rule.mode != StaggerMode::Units || q.job.stagger.Allows(rule, UID::Null, false, q.farm.steady) ||
           Refuse(why, "The Job's stagger allows no further start yet.");
}

bool IsWithinGlobalStagger(Question const& q, String* why) {
    return q.farm.globalStagger.Allows(q.farm.policy.globalStagger, UID::Null, false, q.farm.steady) ||
           Refuse(why, "The global stagger allows no further start yet.");
}

bool IsOnline(Question const& q, String* why) { return q.engine->Online() || Refuse(why, "The Engine is offline."); }

bool IsEnabled(Question const& q, String* why) {
    return q.engine->settings.enabled || Refuse(why, "The Engine is disabled.");
}

bool IsOutsideRestriction(Question const& q, String* why) {
    if (q.engine->settings.capacity > 0)
        return true;
    return Refuse(why, q.engine->settings.restricted ? "The Engine is within its restricted times."
                                                     : "The Engine has no cores for work.");
}

bool HasRoom(Question const& q, String* why) {
    if (!q.farm.policy.packEngine && !q.engine->runs.empty())
        return Refuse(why, "The Engine works already, and gets one work unit at a time.");
    return q.engine->Free() > 0 || Refuse(why, "All cores of the Engine are in use.");
}

bool IsInPool(Question const& q, String* why) {
    UID const& pool = q.job.settings.pool;
    if (pool.IsNull())
        return q.farm.policy.wholeSystem || Refuse(why, "The Job has no Pool, and the 'Whole System' Pool is off.");
    auto const& pools = q.engine->settings.pools;
    return std::find(pools.begin(), pools.end(), pool) != pools.end() ||
           Refuse(why, "The Engine is not in the Job's Pool.");
}

bool IsProductEnabled(Question const& q, String* why) {
    return !q.engine->settings.disabledProducts.contains(q.job.settings.type) ||
           Refuse(why, "The Product is disabled on the Engine.");
}

bool IsProductBelowFailures(Question const& q, String* why) {
    unsigned const limit = q.farm.policy.maxTypeFailures;
    return limit == 0 || q.farm.failures.OfProductOn(q.job.settings.type, q.engine->id) < limit ||
           Refuse(why, "The Engine has failed too often on the Product. Reset its failures to go on.");
}

bool IsBelowEngineProductLimit(Question const& q, String* why) {
    EngineProduct const* const product = q.farm.ProductOn(*q.engine, q.job.settings.type);
    if (!product)
        return true;
    if (product->rule.limit > 0) {
        auto const running = q.engine->runsOfProduct.find(q.job.settings.type);
        if (running != q.engine->runsOfProduct.end() && running->second >= static_cast<unsigned>(product->rule.limit))
            return Refuse(why, "The Engine's limit for the Product is reached.");
    }
    auto const stagger = q.engine->productStaggers.find(q.job.settings.type);
    return stagger == q.engine->productStaggers.end() ||
           stagger->second.Allows(product->rule.stagger, q.engine->id, false, q.farm.steady) ||
           Refuse(why, "The Engine's stagger for the Product allows no further start yet.");
}

bool IsBelowProductLimit(Question const& q, String* why) {
    UID const& type = q.job.settings.type;
    return q.farm.UsageOf(q.farm.productUsage, type).Allows(q.farm.LimitOfProduct(type), q.engine) ||
           Refuse(why, "The limit of the Product is reached.");
}

bool IsBelowPoolLimit(Question const& q, String* why) {
    UID const& pool = q.job.settings.pool;
    PoolRule const& rule = q.farm.RuleOfPool(pool);
    Usage const& usage = q.farm.UsageOf(q.farm.poolUsage, pool);
    if (!usage.Allows(rule.limit, q.engine))
        return Refuse(why, "The limit of the Pool is reached.");
    auto const stagger = q.farm.poolStaggers.find(pool);
    return stagger == q.farm.poolStaggers.end() ||
           stagger->second.Allows(rule.stagger, q.engine->id, !usage.engines.contains(q.engine), q.farm.steady) ||
           Refuse(why, "The stagger of the Pool allows no further start yet.");
}

bool HasCores(Question const& q, String* why) {
    unsigned const wanted = CoresWanted(q.job, *q.engine);
    return q.engine->Free() >= wanted || q.farm.policy.fewerCPUs ||
           Refuse(why, SFormat("The Job wants %u CPUs, the Engine has %u free.", wanted, q.engine->Free()));
}

bool IsIncluded(Question const& q, String* why) {
    auto const& include = q.job.settings.include;
    return include.empty() || include.contains(q.engine->id) ||
           Refuse(why, "The Engine is not among the Job's included Engines.");
}

bool IsNotExcluded(Question const& q, String* why) {
    return !q.job.settings.exclude.contains(q.engine->id) || Refuse(why, "The Engine is excluded from the Job.");
}

bool HasUnitForEngine(Question const& q, String* why) {
    if (q.job.engineOfUnit.empty())
        return true;
    auto const& engines = q.job.engineOfUnit;
    auto const at = std::find(engines.begin(), engines.end(), q.engine->id);
    if (at != engines.end()) {
        auto const position = static_cast<uint32_t>(at - engines.begin());
        if (q.job.queue.Intersects(Spans{{position, position + 1}}))
            return true;
    }
    return Refuse(why, "The Job has no unit for this Engine.");
}

bool IsJobBelowFailures(Question const& q, String* why) {
    unsigned const limit = q.farm.policy.maxJobFailures;
    return limit == 0 || q.farm.failures.OnEngine(q.job.id, q.engine->id) < limit ||
           Refuse(why, "The Engine has failed too often on the Job. Reset its failures to go on.");
}

bool IsBelowEngineUsageLimit(Question const& q, String* why) {
    return q.job.usage.Allows(q.job.settings.usageLimit, q.engine) ||
           Refuse(why,
                  SFormat("The Job's usage limit of %d Engines at a time is reached.", -q.job.settings.usageLimit));
}

bool IsWithinEngineStagger(Question const& q, String* why) {
    StaggerRule const& rule = q.job.settings.stagger;
    return rule.mode == StaggerMode::Units ||
           q.job.stagger.Allows(rule, q.engine->id, !q.job.usage.engines.contains(q.engine), q.farm.steady) ||
           Refuse(why, "The Job's stagger allows no further start on this Engine yet.");
}

bool IsBelowCreatorLimits(Question const& q, String* why) {
    if (q.farm.policy.creatorLimits.empty())
        return true;
    for (size_t const index : q.farm.creatorMatcher.Match(q.job.settings.creator)) {
        CreatorLimit const& limit = q.farm.policy.creatorLimits[index];
        if (!q.farm.creatorUsage[index].Allows(limit.limit, q.engine))
            return Refuse(why, "The limit of the creators \"" + limit.pattern + "\" is reached.");
    }
    return true;
}

constexpr std::array k_Conditions{
    Condition{"not finished", About::Job, IsUnfinished},
    Condition{"not paused", About::Job, IsNotPaused},
    Condition{"not being deleted", About::Job, IsNotDeleting},
    Condition{"Product known", About::Job, IsProductKnown},
    Condition{"queued work", About::Job, HasQueuedWork},
    Condition{"dependencies", About::Job, AreDependenciesMet},
    Condition{"failures of the Job", About::Job, IsBelowTotalFailures},
    Condition{"usage limit", About::Job, IsBelowUsageLimit},
    Condition{"Job stagger", About::Job, IsWithinJobStagger},
    Condition{"online", About::Engine, IsOnline},
    Condition{"enabled", About::Engine, IsEnabled},
    Condition{"restricted times", About::Engine, IsOutsideRestriction},
    Condition{"Pool", About::Bucket, IsInPool},
    Condition{"included Engines", About::Pair, IsIncluded},
    Condition{"excluded Engines", About::Pair, IsNotExcluded},
    Condition{"unit for the Engine", About::Pair, HasUnitForEngine},
    Condition{"Product enabled", About::Bucket, IsProductEnabled},
    Condition{"failures on the Job", About::Pair, IsJobBelowFailures},
    Condition{"failures on the Product", About::Bucket, IsProductBelowFailures},
    Condition{"usage limit in Engines", About::Pair, IsBelowEngineUsageLimit},
    Condition{"Job stagger on the Engine", About::Pair, IsWithinEngineStagger},
    Condition{"Product limit on the Engine", About::Bucket, IsBelowEngineProductLimit},
    Condition{"Product limit", About::Bucket, IsBelowProductLimit},
    Condition{"creator limit", About::Pair, IsBelowCreatorLimits},
    Condition{"Pool limit", About::Bucket, IsBelowPoolLimit},
    Condition{"global stagger", About::Engine, IsWithinGlobalStagger},
    Condition{"room on the Engine", About::Engine, HasRoom},
    Condition{"CPUs", About::Bucket, HasCores},
};

template <class Wanted>
bool AllAllow(Question const& question, Wanted wanted) {
    return std::all_of(k_Conditions.begin(), k_Conditions.end(), [&](Condition const& condition) {
        return !wanted(condition.about) || condition.allows(question, nullptr);
    });
}

} // namespace

std::span<Condition const> Conditions() { return k_Conditions; }

bool JobAllows(Farm const& farm, JobEntry const& job) {
    return AllAllow({farm, job, nullptr}, [](About about) { return about == About::Job; });
}

bool EngineAllows(Farm const& farm, EngineEntry const& engine) {
    static JobEntry const s_anyJob;
    return AllAllow({farm, s_anyJob, &engine}, [](About about) { return about == About::Engine; });
}

bool BucketAllows(Farm const& farm, JobEntry const& anyOfBucket, EngineEntry const& engine) {
    return AllAllow({farm, anyOfBucket, &engine}, [](About about) { return about == About::Bucket; });
}

bool PairAllows(Farm const& farm, JobEntry const& job, EngineEntry const& engine) {
    if (!AllAllow({farm, job, &engine}, [](About about) { return about == About::Pair; }))
        return false;
    // A Job that waits frame by frame may have packets that only some Engine gets.
    if (job.settings.dependencies.empty() || job.engineOfUnit.empty())
        return true;
    return job.queue.HasNext(1, nullptr, AllowedPositions(farm, job, &engine));
}

Condition const* FirstRefusal(Question const& question, String& why) {
    for (Condition const& condition : k_Conditions) {
        if (!condition.allows(question, &why))
            return &condition;
    }
    return nullptr;
}

bool TakesPart(Farm const& farm, JobEntry const& job, EngineEntry const& engine) {
    Question const question{farm, job, &engine};
    return IsOnline(question, nullptr) && IsEnabled(question, nullptr) && IsInPool(question, nullptr) &&
           IsIncluded(question, nullptr) && IsNotExcluded(question, nullptr) && IsProductEnabled(question, nullptr);
}

unsigned CoresWanted(JobEntry const& job, EngineEntry const& engine) {
    int const wanted = engine.settings.forceCores >= 0 ? engine.settings.forceCores : job.settings.cpus;
    return wanted > 0 ? static_cast<unsigned>(wanted) : std::max(engine.settings.capacity, 1U);
}

uint32_t PacketSizeOf(Farm const& farm, JobEntry const& job) {
    uint32_t const asked = std::max(job.settings.packetSize, 1U);
    if (!farm.policy.dynamicPackets || !job.settings.divides || job.finishedFrames == 0)
        return asked;
    double const frameMs =
        std::max<double>(static_cast<double>(job.finishedMs), 1) / static_cast<double>(job.finishedFrames);
    double const most = static_cast<double>(asked) * k_PacketGrowth;
    return static_cast<uint32_t>(std::clamp(k_PacketTargetMs / frameMs, 1.0, most));
}

UnitQueue::Allowed AllowedPositions(Farm const& farm, JobEntry const& job, EngineEntry const* engine) {
    std::vector<JobEntry const*> waitedFor;
    for (auto const& [id, type] : job.settings.dependencies) {
        auto const other = farm.jobsById.find(id);
        if (type == Job::DependencyType::Frame && other != farm.jobsById.end() && !other->second->settings.IsFinished())
            waitedFor.push_back(other->second);
    }
    bool const perEngine = engine && !job.engineOfUnit.empty();
    if (waitedFor.empty() && !perEngine)
        return {};
    UID const engineID = perEngine ? engine->id : UID::Null;
    return [&job, waitedFor = std::move(waitedFor), perEngine, engineID](uint32_t position) {
        if (perEngine && job.engineOfUnit[position] != engineID)
            return false;
        int const frame = job.frames.FrameAt(position);
        return std::all_of(waitedFor.begin(), waitedFor.end(), [frame](JobEntry const* other) {
            auto const same = other->frames.PositionOf(frame);
            return !same || other->finished.Contains(*same);
        });
    };
}

} // namespace farm
