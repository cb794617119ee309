#pragma once

// The options of the farm as the distribution reads them.

#include "master/core/stagger.h"

#include <corekit/optionmap.h>
#include <vorlan/fwd.h>

#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace farm {

using namespace vorlan;

// One line of the creator limits: a regular expression, and a limit as for
// Job::UsageLimit.
struct CreatorLimit {
    String pattern;
    int limit = 0;
};

// What the Pools page says of one Pool.
struct PoolRule {
    int limit = 0; // positive: units at a time, negative: Engines at a time, 0: none
    StaggerRule stagger;
};

// Section "Distribution" read once, instead of at each decision.
//
// A plain value, made anew at each change of the options. Limits of 0 mean none.
struct Policy {
    bool fifo = true;
    bool ignorePools = false;
    bool zeroIsPaused = false;
    bool packEngine = true;
    bool overload = false;
    bool fewerCPUs = false;
    bool dynamicPackets = false;
    bool wholeSystem = true;
    bool resetCreation = false;
    bool resetFailuresOnDelete = true;
    bool logDispatch = false;
    int globalBoost = 0;
    Time startTimeout;
    Time lostTimeout;
    Time frequency;
    unsigned maxJobFailures = 0;
    unsigned maxTypeFailures = 0;
    unsigned maxTotalFailures = 0;
    int autoDelete = 0;
    Time deleteAfter;
    StaggerRule globalStagger;
    std::vector<CreatorLimit> creatorLimits;
    unsigned maxEngineHistory = 0;

    static Policy Read(OptionMap const& distribution);

    // The rules of all Pools. Keys are the Pool's UID, a blank and an `e_` name.
    static std::map<UID, PoolRule> ReadPools(OptionMap const& section);
};

// The options of one Product on one Engine: a limit and a stagger.
struct ProductRule {
    int limit = 0; // units of it at a time on that Engine
    StaggerRule stagger;

    static ProductRule Read(OptionMap const& options);
};

// Merges the view presets of `change` into those of `section`, preset by preset.
// All other keys of `change` take their place in `section`.
void MergeViewPresets(OptionMap& section, OptionMap const& change);

// Which creator limits a creator falls under. Patterns are compiled once.
class CreatorMatcher {
public:
    CreatorMatcher();
    ~CreatorMatcher();
    CreatorMatcher(CreatorMatcher&&) noexcept;
    CreatorMatcher& operator=(CreatorMatcher&&) noexcept;

    explicit CreatorMatcher(std::vector<CreatorLimit> const& limits);

    // Places in the list of limits. A pattern that is none matches as plain text. Remembers its answers: one thread.
    std::vector<size_t> const& Match(String const& creator) const;

private:
    struct Compiled;
    std::unique_ptr<Compiled> m_compiled;
};

} // namespace farm
