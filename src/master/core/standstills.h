#pragma once

// The Jobs of which nothing can run until somebody changes something.

#include "master/core/farm.h"

#include <map>
#include <tuple>
#include <vector>

namespace farm {

// Finds those Jobs, and tells the reason as a value of theirs.
//
// Owned by the Farm. What passes by itself is none: limits that are used up, staggers,
// Engines that are offline or full. Looks at a Job after each event that changed it, and
// at all of them when something that concerns Engines changed.
class Standstills {
public:
    explicit Standstills(Farm& farm) : m_farm(farm) {}

    // The Job, or what it waits for, changed.
    void Changed(JobEntry& job);

    // At the end of an event.
    void TellChanges();
    // Now and then: when the farm's possibilities have changed, everything.
    void CheckTimes();

    // Empty when something of it runs, may run or may come to run by itself.
    String ReasonOf(JobEntry const& job);

private:
    String ReasonOfWaits(JobEntry const& job) const;
    String ReasonOfEngines(JobEntry const& job);
    String AskEngines(JobEntry const& job) const;

    Farm& m_farm;
    std::vector<uint64_t> m_changed; // numbers of Jobs
    uint64_t m_checkedAt = 0;        // the possibilities with which all were looked at
    // What all Engines say to Jobs of one Pool, Product and CPUs, with these possibilities.
    using Kind = std::tuple<UID, UID, int>;
    std::map<Kind, String> m_answers;
    uint64_t m_answersAt = 0;
};

} // namespace farm
