#pragma once

// What the Core knows of each Job, Engine and run.

#include "master/core/framemap.h"
#include "master/core/policy.h"
#include "master/core/stagger.h"
#include "master/core/unitqueue.h"

#include <boost/shared_ptr.hpp>
#include <vorlan/enginehistory.h>
#include <vorlan/job.h>
#include <vorlan/messages_requests.h>
#include <vorlan/product.h>
#include <vorlan/status.h>

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace farm {

struct JobEntry;
struct EngineEntry;
using PeerId = uint64_t;

// One event of a run.
struct RunElement {
    int status = 0;
    Time time;
    String note;
};

// What became of the frames of a run. The numbers are stored.
enum class Outcome : int {
    Open = 0, // an Engine has them
    Requeued = 1,
    Finished = 2,
    FailedForGood = 3,
    Canceled = 4,
    Superseded = 5, // another run's result counts for some of them; the others are queued again
};

// A stop that was asked for and that the Engine has not confirmed yet.
struct PendingStop {
    int status = 0;
    String reason;
    StopAction action = StopAction::Requeue;
    Steady asked;
};

// A work unit that an Engine has.
//
// Owned by the Farm. The frames are positions in its Job's range. A run whose Job
// was deleted has no Job any more and only holds its Engine's cores until the Engine
// says that it has ended.
struct Run {
    uint64_t number = 0;
    UID work;
    JobEntry* job = nullptr;
    EngineEntry* engine = nullptr;
    Spans frames;
    String subRange;
    unsigned cores = 0;
    std::vector<RunElement> elements;
    boost::shared_ptr<Job> unit; // as clients were told last; never changed once told
    std::optional<PendingStop> stop;
    Steady assignedAt; // or when its Engine last said that it prepares it
    Steady startedAt;  // once it has started

    // What it counts for, as it was when it was given out.
    UID type;
    UID pool;
    String creator;

    Time Assigned() const { return elements.empty() ? Time() : elements.front().time; }
    bool HasStarted() const { return elements.size() > 1 && elements[1].status == Started; }
    Time StartedAt() const { return HasStarted() ? elements[1].time : Time(); }
};

// How many units of a group are out, and on how many Engines.
struct Usage {
    unsigned units = 0;
    std::unordered_map<EngineEntry const*, unsigned> engines;

    void Add(EngineEntry const* engine) {
        ++units;
        ++engines[engine];
    }
    void Remove(EngineEntry const* engine) {
        --units;
        auto const at = engines.find(engine);
        if (at != engines.end() && --at->second == 0)
            engines.erase(at);
    }
    // One more unit on this Engine stays within the limit: positive counts units,
    // negative Engines, 0 is none.
    bool Allows(int limit, EngineEntry const* engine) const {
        if (limit > 0)
            return units < static_cast<unsigned>(limit);
        auto const most = static_cast<size_t>(-int64_t{limit});
        return limit == 0 || engines.size() < most || (engines.size() == most && engines.contains(engine));
    }
    // No unit on any Engine is possible.
    bool Exhausted(int limit) const { return limit > 0 && units >= static_cast<unsigned>(limit); }
};

// What the distribution reads of a Job's values, read once at each change.
struct JobSettings {
    UID type;
    UID pool;
    String creator;
    int status = 0;
    int priority = 0;
    int boost = 0;
    int cpus = 1;
    int failureLimit = 0;
    int usageLimit = 0;
    int finishDisposition = 0;
    uint32_t packetSize = 1;
    float overtimeKill = 0;
    StaggerRule stagger;
    std::set<UID> include;
    std::set<UID> exclude;
    std::map<UID, Job::DependencyType> dependencies;
    bool anyEnd = false;  // of the Jobs that it waits for will do
    bool divides = false; // packets may have any number of frames
    bool evenPackets = false;

    bool IsFinished() const { return status > 0; }
    bool IsPaused() const { return status < 0; }
};

// The place of a Job among those that wait for Engines; see WaitIndex.
struct WaitKey {
    int priority = 0;
    bool boosted = false;
    unsigned running = 0; // 0 for all where the first come is the first served
    uint64_t number = 0;

    bool operator<(WaitKey const& other) const {
        if (priority != other.priority)
            return priority > other.priority;
        if (boosted != other.boosted)
            return boosted;
        if (running != other.running)
            return running < other.running;
        return number < other.number;
    }
    bool operator==(WaitKey const&) const = default;
};

// What a Job remembers of one that it waits for and that is deleted.
struct GoneWait {
    String name;
    bool succeeded = false;
    String missing; // the frames that it never finished, as text
};

// What speaks against a unit of a Job.
struct UnitFailures {
    unsigned count = 0;
    std::set<UID> engines; // that failed on it
};

// A run that was given up.
struct GivenUp {
    uint64_t number = 0;
    bool asked = false; // somebody stopped it: it is not taken back
};

// A run that has ended, as it lies in the store.
struct PastRun {
    uint64_t number = 0;
    String row;
};

// Whether any Engine is left that has not failed too often on a Job, as it was found when
// the farm's possibilities had this number.
struct EnginesLeft {
    uint64_t at = 0;
    bool any = true;
};

// A Job.
//
// Owned by the Farm. Always: each position of `frames` is in exactly one of
// `queue`, `finished`, `failed`, `canceled` and the runs.
struct JobEntry {
    uint64_t number = 0;
    UID id;
    boost::shared_ptr<Job> job;               // never changed once told: a change puts a new one in its place
    boost::shared_ptr<Product const> product; // null while nobody knows the type
    JobSettings settings;

    FrameMap frames;
    UnitQueue queue;
    SpanSet finished;
    SpanSet failed;
    SpanSet canceled;
    std::vector<UID> engineOfUnit; // "Once per Engine": who each unit is for

    std::vector<Run*> runs;
    Usage usage;
    std::vector<PastRun> past;
    std::unordered_map<String, UnitFailures> unitFailures; // by sub-range
    std::map<UID, GoneWait> goneWaits;
    std::unordered_map<UID, GivenUp> givenUp; // runs whose Engines may still finish them
    std::set<UID> workedOn;                   // Engines that had runs of it
    Stagger stagger;

    uint64_t given = 0; // packets handed out so far
    uint64_t finishedRuns = 0;
    uint64_t finishedFrames = 0; // of the finished runs
    int64_t finishedMs = 0;
    int toldPermille = 0;
    bool hasStarted = false;      // some run of it has
    bool deleting = false;        // goes when its last run has ended
    uint64_t redividedAt = 0;     // packets of runs up to this number do not hold together
    uint64_t failuresResetAt = 0; // failures of runs up to this number do not count for a unit

    bool waiting = false;
    WaitKey key;
    std::optional<size_t> parkedAt; // the creator limit that alone keeps it from waiting for Engines
    String setApart;                // why it is left alone: handling it failed
    bool mayStand = false;          // Standstills has yet to look at it
    String standstill;              // why nothing of it can run until somebody changes something; as told
    mutable EnginesLeft enginesLeft;
    std::optional<Steady> deleteAt; // none: stays

    uint64_t Total() const { return frames.Count(); }
    uint64_t RunningFrames() const {
        uint64_t count = 0;
        for (Run const* run : runs)
            count += CountOf(run->frames);
        return count;
    }
};

// What the distribution reads of an Engine's settings.
struct EngineSettings {
    bool enabled = false;
    int priority = 0;
    int forceCores = -1;
    unsigned capacity = 0; // cores at this time of its day
    unsigned most = 0;     // cores outside of its restricted times
    bool restricted = false;
    std::vector<UID> pools;
    std::set<UID> disabledProducts;
};

// The options of one Product on one Engine.
struct EngineProduct {
    uint64_t number = 0; // of its row; 0: none
    OptionMap options;
    ProductRule rule;
};

// An Engine.
//
// Owned by the Farm. Always: `used` is the sum of its runs' cores.
struct EngineEntry {
    uint64_t number = 0;
    UID id;
    boost::shared_ptr<Engine const> engine; // as told; its settings are those customised alone
    EngineSettings settings;
    std::map<UID, EngineProduct> products;
    std::unordered_map<UID, Stagger> productStaggers;

    PeerId peer = 0; // 0: not connected
    Steady lastSeen;
    std::optional<Steady> goneSince; // none while connected, and when its runs were given up

    Time clockOffset; // what must be added to its time of day; found when it registers
    unsigned used = 0;
    std::vector<Run*> runs;
    std::unordered_map<UID, unsigned> runsOfProduct;
    std::deque<std::pair<uint64_t, EngineHistoryElement>> history; // with the numbers of their rows

    bool inFree = false; // stands among the free Engines under this place
    int freePriority = 0;
    unsigned freeCores = 0;

    bool Online() const { return peer != 0; }
    unsigned Free() const { return settings.capacity > used ? settings.capacity - used : 0; }
};

} // namespace farm
