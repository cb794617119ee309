#pragma once

// The whole state of the farm, and the parts that act on it.

#include "master/core/entries.h"
#include "master/core/failureledger.h"
#include "master/core/outbox.h"
#include "master/core/peers.h"
#include "master/core/waitindex.h"

#include <corekit/time.h>
#include <vorlan/version.h>

#include <deque>
#include <map>
#include <set>
#include <unordered_map>
#include <vector>

namespace farm {

// What the Core must know of its program.
struct CoreConfig {
    uint64_t seed = 1; // of all UIDs it makes; another one at each start of the program
    UID machine;
    String machineName;
    uint16_t port = 0;
    unsigned version = k_VorlanVersion;
    Time releaseDate;
    Time startTime;
    UID historyLog; // the ids under which the Master's logs are given away
    UID dispatchLog;
    std::vector<boost::shared_ptr<Product const>> products; // those that came with the program
    std::map<uint64_t, String> setApart;                    // numbers of Jobs that are left alone, and why
};

// Random numbers that follow from a seed.
class Random {
public:
    explicit Random(uint64_t seed) : m_state(seed) {}
    uint64_t Next();
    UID NextUID();

private:
    uint64_t m_state;
};

// A Product as the farm has it.
struct ProductEntry {
    boost::shared_ptr<Product const> product;
    String text;
    uint64_t number = 0;  // of its row; 0: as shipped
    bool removed = false; // shipped, but a user took it away
    bool shipped = false;
    boost::shared_ptr<Product const> original; // as shipped
};

struct PoolEntry {
    uint64_t number = 0;
    String name;
};

// A Job that is gone.
struct DeletedJob {
    uint64_t number = 0; // of its row
    GoneWait wait;
};

// A section of the options or another setting that is stored as one row.
struct SectionEntry {
    uint64_t number = 0;
    OptionMap options;
};

struct FreeLess {
    bool operator()(EngineEntry const* a, EngineEntry const* b) const {
        if (a->freePriority != b->freePriority)
            return a->freePriority > b->freePriority;
        if (a->freeCores != b->freeCores)
            return a->freeCores > b->freeCores;
        return a->number < b->number;
    }
};

class Settings;
class Jobs;
class Engines;
class Runs;
class Distributor;
class Loader;
class Reporter;
class Relay;
class JobCommands;
class Standstills;

// The state of the farm.
//
// Owned by the Core; one thread. The data is open to the parts below it, each of which
// keeps the invariants of its own tables; nobody else changes it.
struct Farm {
    explicit Farm(CoreConfig coreConfig);
    ~Farm();
    Farm(Farm const&) = delete;
    Farm& operator=(Farm const&) = delete;

    CoreConfig const config;
    Random random;

    // Of the event that is being handled: the time of day, for what people read, and the
    // steady clock, for what is due.
    Time now;
    Steady steady;
    void SetNow(Moment const& moment) {
        now = moment.wall;
        steady = moment.steady;
    }
    Moment Now() const { return {now, steady}; }

    // The number of the Job that is being worked on, for whoever must name it when that fails.
    uint64_t about = 0;

    Peers peers;
    Outbox out{peers};

    // Numbers of rows, ascending and never used twice for one kind.
    uint64_t lastNumber = 0;
    uint64_t NextNumber() { return ++lastNumber; }
    // Up to here they are stored as used, so that none is given twice after a restart.
    uint64_t reservedNumbers = 0;

    // Settings.
    Policy policy;
    CreatorMatcher creatorMatcher;
    std::map<UID, PoolRule> poolRules;
    std::map<String, SectionEntry, String::ciless> sections;
    std::map<UID, int> productLimits;
    std::map<UID, int> productBoosts;
    std::map<String, bool, String::ciless> restrictions;
    std::map<int, int> startup;
    std::vector<std::map<String, String>> translations;
    std::map<String, uint64_t> settingRows; // name of a setting to the number of its row
    std::map<UID, ProductEntry> products;
    std::map<UID, PoolEntry> pools;

    // Jobs and runs.
    std::map<uint64_t, std::unique_ptr<JobEntry>> jobs;
    std::unordered_map<UID, JobEntry*> jobsById;
    std::unordered_map<UID, std::set<uint64_t>> dependents; // Job to the numbers of those that wait for it
    std::map<uint64_t, std::unique_ptr<Run>> runs;
    std::unordered_map<UID, Run*> runsByWork;
    std::set<std::pair<Steady, uint64_t>> deletions; // when, and the number of the Job
    std::unordered_map<UID, DeletedJob> deletedJobs; // of late
    std::set<std::pair<uint64_t, UID>> deletedInOrder;

    // Engines.
    boost::shared_ptr<Engine const> defaultEngine;
    uint64_t defaultEngineNumber = 0;
    std::map<UID, EngineProduct> defaultProducts;
    std::map<uint64_t, std::unique_ptr<EngineEntry>> engines;
    std::unordered_map<UID, EngineEntry*> enginesById;
    std::set<EngineEntry*, FreeLess> freeEngines; // those that could take a unit

    // What is out, by what it counts for.
    std::unordered_map<UID, Usage> productUsage;
    std::unordered_map<UID, Usage> poolUsage;
    std::vector<Usage> creatorUsage; // one for each creator limit
    std::unordered_map<UID, Stagger> poolStaggers;
    Stagger globalStagger;
    std::map<std::pair<UID, UID>, uint64_t> staggerRows; // owner and Product to the number of the row

    FailureLedger failures;
    WaitIndex waiting;

    // Grows with each change of what Engines may take: their settings, connections and
    // failures, the options, Pools and Products. Answers about it hold while it stays.
    uint64_t possibilities = 1;

    // The parts.
    std::unique_ptr<Settings> settings;
    std::unique_ptr<Jobs> jobActions;
    std::unique_ptr<Engines> engineActions;
    std::unique_ptr<Runs> runActions;
    std::unique_ptr<Distributor> distributor;
    std::unique_ptr<Loader> loader;
    std::unique_ptr<Reporter> reporter;
    std::unique_ptr<Relay> relay;
    std::unique_ptr<JobCommands> jobCommands;
    std::unique_ptr<Standstills> standstills;

    JobEntry* FindJob(UID const& id);
    JobEntry* FindJob(uint64_t number);
    EngineEntry* FindEngine(UID const& id);
    Run* FindRun(UID const& work);
    boost::shared_ptr<Product const> FindProduct(UID const& type) const;
    PoolRule const& RuleOfPool(UID const& pool) const;
    int LimitOfProduct(UID const& type) const;
    Usage const& UsageOf(std::unordered_map<UID, Usage> const& usages, UID const& id) const;
    // The options of an Engine for a Product: those for all, those of the default Engine, its own.
    OptionMap OptionsOn(EngineEntry const& engine, UID const& type) const;
    // The options and limits of a Product on an Engine; those of the default Engine
    // where it has none of its own.
    EngineProduct const* ProductOn(EngineEntry const& engine, UID const& type) const;
};

} // namespace farm
