#pragma once

// Who gets which work.

#include "master/core/farm.h"

#include <map>
#include <queue>
#include <set>
#include <vector>

namespace farm {

// Brings waiting Jobs and free Engines together.
//
// Owned by the Farm. The other parts tell it what changed while an event is handled;
// Distribute, at the end of the event, tries only what the changes may have made
// possible. Engines go first by priority, then by free cores; the order of the Jobs is
// WaitIndex's. Always: after Distribute no Engine that changed could take a unit that
// waits, timers apart.
class Distributor {
public:
    explicit Distributor(Farm& farm) : m_farm(farm) {}

    // Cores, settings or the connection of an Engine changed.
    void EngineChanged(EngineEntry& engine);
    // What an Engine that is free already may make of a change of a Job.
    enum class Chance {
        Same, // it may have what it could have had before, if anything
        New,  // it is asked again
    };
    // The Job's values, queue or runs changed.
    void JobChanged(JobEntry& job, Chance chance);
    // Those that wait for this Job may go on.
    void DependentsChanged(UID const& job);
    // Something that concerns all changed: every Job and Engine is looked at.
    void AllChanged() {
        m_all = true;
        ++m_farm.possibilities;
    }

    // The limits of the creators changed; one of them has a unit less.
    void CreatorsChanged();
    void CreatorFreed(size_t index) { m_freedCreators.insert(index); }

    void ForgetJob(JobEntry& job);
    void ForgetEngine(EngineEntry& engine);

    // Staggers: tries again at that time, unless it never comes.
    void WakeJob(JobEntry const& job, Steady at);
    void WakeAll(Steady at);

    void Distribute();

    // Rounds that are due by now.
    void CheckTimes();
    Steady NextTime() const;

private:
    struct Wake {
        Steady at;
        uint64_t job; // 0: all
        bool operator>(Wake const& other) const { return at > other.at; }
    };
    struct Cursor {
        WaitIndex::Bucket::const_iterator at;
        WaitIndex::Bucket::const_iterator end;
    };

    void Refresh(JobEntry& job);
    void Refresh(EngineEntry& engine);
    void Serve(std::vector<EngineEntry*> engines);
    void Offer(JobEntry& job);
    JobEntry* Choose(EngineEntry const& engine);
    JobEntry* ChooseFrom(std::vector<WaitIndex::Buckets const*> const& pools, EngineEntry const& engine);
    bool Park(JobEntry& job);
    void Unpark(JobEntry& job);
    void WakeParked(size_t index, size_t most);
    bool GiveOne(JobEntry& job, EngineEntry& engine);
    WaitKey KeyOf(JobEntry const& job) const;

    Farm& m_farm;
    std::map<uint64_t, Chance> m_dirtyJobs; // by number
    std::set<uint64_t> m_dirtyEngines;      // numbers
    // Jobs that only wait for their creator's limit, by the limit's place, in their order.
    std::vector<WaitIndex::Bucket> m_parked;
    std::set<size_t> m_freedCreators;
    bool m_all = false;
    bool m_serveAll = false;
    Steady m_lastRound;
    std::priority_queue<Wake, std::vector<Wake>, std::greater<>> m_wakes;
};

} // namespace farm
