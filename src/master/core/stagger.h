#pragma once

// Limits on how many starts there may be in a stretch of time.

#include "master/core/moment.h"

#include <corekit/uid.h>

#include <unordered_map>
#include <vector>

namespace farm {

using corekit::UID;

// What a stagger counts. The numbers are stored and shown.
enum class StaggerMode : int { Units = 0, UnitsOnAnEngine = 1, Engines = 2 };

// "Start no more than `count` every `span`". A plain value.
struct StaggerRule {
    StaggerMode mode = StaggerMode::Units;
    unsigned count = 0;
    Time span;

    bool Active() const { return count > 0 && span > Time(); }
    bool operator==(StaggerRule const&) const = default;
};

// The latest starts under one rule.
//
// Owned by the Job, Pool, Product or farm whose rule it is. One thread. Only starts
// within the last `span` are remembered.
class Stagger {
public:
    bool Allows(StaggerRule const& rule, UID const& engine, bool newEngine, Steady now) const;

    // Notes a start. Gives the time at which the next one is allowed again where the
    // rule is used up now, else Never.
    Steady Note(StaggerRule const& rule, UID const& engine, bool newEngine, Steady now);

    // The starts that it remembers, each with its Engine where starts count by Engine; to be
    // noted again after a restart.
    std::vector<std::pair<UID, Steady>> All() const;

private:
    using Starts = std::vector<Steady>; // at most `count`, the oldest first
    static void Trim(Starts& starts, StaggerRule const& rule, Steady now);
    static bool Full(Starts const& starts, StaggerRule const& rule, Steady now);

    Starts m_starts; // of units, or of Engines
    std::unordered_map<UID, Starts> m_byEngine;
};

} // namespace farm
