// What the overview shows, taken from the lists: values in, values out.
#pragma once

#include "model/jobinfo.h"

#include <corekit/containers.h>

namespace vorlan {

struct OverviewRow {
    UID id;
    String name;
    String product;
    String status;
    int statusClass = 0; // as JobInfo::StatusClass
    bool paused = false;
    bool failed = false;
    int priority = 0;
    float percent = 0; // 0 to 100
    int64_t order = 0; // the later, the nearer to the top among its equals

    bool operator==(OverviewRow const&) const = default;
};

struct OverviewCounts {
    size_t engines = 0;
    size_t enginesAvailable = 0;
    size_t enginesActive = 0;
    size_t jobs = 0;
    size_t jobsActive = 0;
    size_t jobsFinished = 0;
    size_t work = 0;

    bool operator==(OverviewCounts const&) const = default;
};

// The most rows that are shown.
inline constexpr size_t k_MostOverviewRows = 500;

OverviewRow RowOf(JobInfo const& info);
// Unfinished Jobs first, by priority and then the oldest first; then the finished
// ones, the last one first.
bool OverviewBefore(OverviewRow const& a, OverviewRow const& b);

OverviewCounts CountOverview();
// At most k_MostOverviewRows, in order.
corekit::vector<OverviewRow> CollectOverview();

} // namespace vorlan
