#include "master/core/conditions.h"

#include "master/core/waits.h"

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
using Ends = Condition::Ends;

bool Refuse(String* why, String const& text) {
    if (why)
        *why = text;
    return false;
}

bool IsNotSetApart(Question const& q, String* why) {
    return q.job.setApart.Empty() || Refuse(why, "The Job was set apart: " + q.job.setApart);
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
        if (type == Job::DependencyType::WholeJob && StateOfWait(q.farm, q.job, id, why) != WaitState::Met)
            return false;
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
    return limit == 0 || q.farm.failures.JobsAgainst(q.job.settings.type, q.engine->id) < limit ||
           Refuse(why,
                  SFormat("The Engine has failed on %u Jobs of the Product, the limit is %u. Reset its failures to "
                          "go on.",
                          q.farm.failures.JobsAgainst(q.job.settings.type, q.engine->id), limit));
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

bool IsLargeEnough(Question const& q, String* why) {
    unsigned const wanted = CoresWanted(q.job, *q.engine);
    return q.engine->settings.most >= wanted || q.farm.policy.fewerCPUs || q.job.settings.cpus <= 0 ||
           Refuse(why, SFormat("The Job wants %u CPUs, the Engine has %u.", wanted, q.engine->settings.most));
}

// The Engine itself, or a Pool that it is in.
bool IsAmong(std::set<UID> const& list, EngineEntry const& engine) {
    auto const& pools = engine.settings.pools;
    return list.contains(engine.id) ||
           std::any_of(pools.begin(), pools.end(), [&list](UID const& pool) { return list.contains(pool); });
}

bool IsIncluded(Question const& q, String* why) {
    auto const& include = q.job.settings.include;
    return include.empty() || IsAmong(include, *q.engine) ||
           Refuse(why, "The Engine is not among the Job's included Engines.");
}

bool IsNotExcluded(Question const& q, String* why) {
    auto const& exclude = q.job.settings.exclude;
    return exclude.empty() || !IsAmong(exclude, *q.engine) || Refuse(why, "The Engine is excluded from the Job.");
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

// Whether an Engine could take the Job that has not failed too often on it.
bool IsAnyEngineLeft(Farm const& farm, JobEntry const& job) {
    EnginesLeft& left = job.enginesLeft;
    if (std::exchange(left.at, farm.possibilities) == farm.possibilities)
        return left.any;
    left.any = std::any_of(farm.engines.begin(), farm.engines.end(), [&](auto const& each) {
        EngineEntry const& engine = *each.second;
        return farm.failures.OnEngine(job.id, engine.id) < farm.policy.maxJobFailures && TakesPart(farm, job, engine) &&
               MayEverTake(farm, job, engine, nullptr);
    });
    return left.any;
}

// The units of a Job that are each for one Engine use up their own tries.
bool IsJobBelowFailures(Question const& q, String* why) {
    unsigned const limit = q.farm.policy.maxJobFailures;
    return limit == 0 || q.farm.failures.OnEngine(q.job.id, q.engine->id) < limit || !q.job.engineOfUnit.empty() ||
           !IsAnyEngineLeft(q.farm, q.job) ||
           Refuse(why, "The Engine has failed too often on the Job, which goes to others. Reset its failures to let it "
                       "try again.");
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
    Condition{"not set apart", About::Job, Ends::ByChange, IsNotSetApart},
    Condition{"not finished", About::Job, Ends::Itself, IsUnfinished},
    Condition{"not paused", About::Job, Ends::Itself, IsNotPaused},
    Condition{"not being deleted", About::Job, Ends::Itself, IsNotDeleting},
    Condition{"Product known", About::Job, Ends::ByChange, IsProductKnown},
    Condition{"queued work", About::Job, Ends::Itself, HasQueuedWork},
    Condition{"dependencies", About::Job, Ends::Itself, AreDependenciesMet},
    Condition{"failures of the Job", About::Job, Ends::Itself, IsBelowTotalFailures},
    Condition{"usage limit", About::Job, Ends::Itself, IsBelowUsageLimit},
    Condition{"Job stagger", About::Job, Ends::Itself, IsWithinJobStagger},
    Condition{"online", About::Engine, Ends::Itself, IsOnline},
    Condition{"enabled", About::Engine, Ends::Itself, IsEnabled},
    Condition{"restricted times", About::Engine, Ends::Itself, IsOutsideRestriction},
    Condition{"Pool", About::Bucket, Ends::ByChange, IsInPool},
    Condition{"included Engines", About::Pair, Ends::ByChange, IsIncluded},
    Condition{"excluded Engines", About::Pair, Ends::ByChange, IsNotExcluded},
    Condition{"unit for the Engine", About::Pair, Ends::ByChange, HasUnitForEngine},
    Condition{"CPUs", About::Bucket, Ends::ByChange, IsLargeEnough},
    Condition{"Product enabled", About::Bucket, Ends::ByChange, IsProductEnabled},
    Condition{"failures on the Job", About::Pair, Ends::Itself, IsJobBelowFailures},
    Condition{"failures on the Product", About::Bucket, Ends::ByChange, IsProductBelowFailures},
    Condition{"usage limit in Engines", About::Pair, Ends::Itself, IsBelowEngineUsageLimit},
    Condition{"Job stagger on the Engine", About::Pair, Ends::Itself, IsWithinEngineStagger},
    Condition{"Product limit on the Engine", About::Bucket, Ends::Itself, IsBelowEngineProductLimit},
    Condition{"Product limit", About::Bucket, Ends::Itself, IsBelowProductLimit},
    Condition{"creator limit", About::Pair, Ends::Itself, IsBelowCreatorLimits},
    Condition{"Pool limit", About::Bucket, Ends::Itself, IsBelowPoolLimit},
    Condition{"global stagger", About::Engine, Ends::Itself, IsWithinGlobalStagger},
    Condition{"room on the Engine", About::Engine, Ends::Itself, HasRoom},
    Condition{"CPUs", About::Bucket, Ends::Itself, HasCores},
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

bool IsCreatorExhausted(Farm const& farm, JobEntry const& job) {
    auto const& limits = farm.creatorMatcher.Match(job.settings.creator);
    return std::any_of(limits.begin(), limits.end(), [&farm](size_t index) {
        return farm.creatorUsage[index].Exhausted(farm.policy.creatorLimits[index].limit);
    });
}

bool MayEverTake(Farm const& farm, JobEntry const& job, EngineEntry const& engine, String* why) {
    Question const question{farm, job, &engine};
    return std::all_of(k_Conditions.begin(), k_Conditions.end(), [&](Condition const& condition) {
        return condition.ends == Ends::Itself || condition.about == About::Job || condition.allows(question, why);
    });
}

bool MayUse(Farm const& farm, JobEntry const& job, EngineEntry const& engine) {
    Question const question{farm, job, &engine};
    return IsInPool(question, nullptr) && IsProductEnabled(question, nullptr) && IsIncluded(question, nullptr) &&
           IsNotExcluded(question, nullptr);
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
    auto mayGo = FramesThatMayGo(farm, job);
    bool const perEngine = engine && !job.engineOfUnit.empty();
    if (!mayGo && !perEngine)
        return {};
    UID const engineID = perEngine ? engine->id : UID::Null;
    return [&job, mayGo = std::move(mayGo), perEngine, engineID](uint32_t position) {
        if (perEngine && job.engineOfUnit[position] != engineID)
            return false;
        return !mayGo || mayGo(job.frames.FrameAt(position));
    };
}

} // namespace farm
