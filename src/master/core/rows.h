#pragma once

// The bodies of the rows in the store.

#include "master/core/entries.h"
#include "master/core/failureledger.h"
#include "master/core/record.h"

#include <vector>

namespace farm {

// One run as it is stored: the history of it, and, while its outcome is open, the
// note of who has the frames.
struct RunRow {
    UID work;
    UID engine;
    String subRange;
    unsigned cores = 0;
    Outcome outcome = Outcome::Open;
    std::vector<RunElement> elements;
    std::optional<PendingStop> stop; // while it is open; when it was asked for is not stored
};

// What a Job is beyond its values and its runs. From those three everything else
// about it follows: a frame is what the latest run that has it made of it, and queued
// when there is none.
struct JobStateRow {
    bool deleting = false;
    uint64_t redividedAt = 0;
    uint64_t failuresResetAt = 0;
    std::vector<UID> engineOfUnit;
    std::map<UID, GoneWait> goneWaits;
};

struct EngineProductRow {
    UID engine; // null: the default Engine
    UID product;
    OptionMap options;
};

struct EngineHistoryRow {
    UID engine;
    EngineHistoryElement element;
};

// The latest starts under one stagger: of the Pool `owner`, of `product` on the Engine
// `owner`, or, with neither, of the farm.
struct StaggerRow {
    UID owner;
    UID product;
    std::vector<std::pair<UID, Time>> starts; // Engine, where they count by Engine, and time of day
};

// Bodies begin with the number of their form. The reading functions throw
// ParseException for a body that is none.
String WriteRow(RunRow const& row);
String WriteRow(JobStateRow const& row);
String WriteRow(EngineProductRow const& row);
String WriteRow(EngineHistoryRow const& row);
String WriteRow(FailureEntry const& entry);
String WriteRow(OptionMap const& options);
String WriteRow(GoneWait const& gone);
String WriteRow(StaggerRow const& row);

RunRow ReadRunRow(String const& body);
JobStateRow ReadJobStateRow(String const& body);
EngineProductRow ReadEngineProductRow(String const& body);
EngineHistoryRow ReadEngineHistoryRow(String const& body);
FailureEntry ReadFailureRow(Record const& record);
OptionMap ReadOptionRow(String const& body);
GoneWait ReadGoneWaitRow(String const& body);
StaggerRow ReadStaggerRow(String const& body);

// The row of a run that is out, or that has just ended.
String RowOf(Run const& run, Outcome outcome);

} // namespace farm
