#pragma once

// What must hold before a unit of a Job goes to an Engine.

#include "master/core/farm.h"

#include <span>

namespace farm {

// The question that a condition answers: may this Engine have a unit of this Job?
// The Engine is null where the question is whether any Engine might.
struct Question {
    Farm const& farm;
    JobEntry const& job;
    EngineEntry const* engine;
};

// One condition.
//
// Pure: the same state gives the same answer, and nothing changes by asking.
struct Condition {
    enum class About {
        Job,    // does not look at the Engine
        Engine, // does not look at the Job
        Bucket, // looks at the Engine and at the Job's Product, Pool and CPUs alone
        Pair,   // looks at both
    };
    char const* name;
    About about;
    // How a refusal ends.
    enum class Ends {
        Itself,   // somebody may wait for it
        ByChange, // somebody must change something
    };
    Ends ends;
    // `why`, unless null, gets a sentence for people when the answer is no.
    bool (*allows)(Question const& question, String* why);
};

// All conditions, in the order in which they are asked and reported.
std::span<Condition const> Conditions();

// Whether all conditions of some kinds allow it.
bool JobAllows(Farm const& farm, JobEntry const& job);
bool EngineAllows(Farm const& farm, EngineEntry const& engine);
bool BucketAllows(Farm const& farm, JobEntry const& anyOfBucket, EngineEntry const& engine);
bool PairAllows(Farm const& farm, JobEntry const& job, EngineEntry const& engine);

// The first condition that does not allow it; null if all do.
Condition const* FirstRefusal(Question const& question, String& why);

// Whether the Engine could take work of the Job at some time, if nobody changed anything.
bool MayEverTake(Farm const& farm, JobEntry const& job, EngineEntry const& engine, String* why);

// Whether the creator of the Job may have nothing more, on whichever Engine.
bool IsCreatorExhausted(Farm const& farm, JobEntry const& job);

// Whether the Engine is one of those that the Job may use at all, online or not.
bool MayUse(Farm const& farm, JobEntry const& job, EngineEntry const& engine);

// Whether a Job of class "Once per Engine" gets a unit for this Engine.
bool TakesPart(Farm const& farm, JobEntry const& job, EngineEntry const& engine);

// Cores that a unit of the Job is to have on the Engine.
unsigned CoresWanted(JobEntry const& job, EngineEntry const& engine);

// Frames of the next packet.
uint32_t PacketSizeOf(Farm const& farm, JobEntry const& job);

// Which positions of a Job may be handed out now to the Engine (null: to any); an
// empty function stands for all.
UnitQueue::Allowed AllowedPositions(Farm const& farm, JobEntry const& job, EngineEntry const* engine);

} // namespace farm
