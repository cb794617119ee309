#pragma once

// The bodies of the rows in the store.

#include "master/core/entries.h"
#include "master/core/failureledger.h"

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
};

// What a Job is beyond its values and its runs. From those three everything else
// about it follows: a frame is what the latest run that has it made of it, and queued
// when there is none.
struct JobStateRow {
    bool deleting = false;
    uint64_t redividedAt = 0;
    uint64_t failuresResetAt = 0;
    std::vector<UID> engineOfUnit;
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

// Bodies begin with the number of their form. The reading functions throw
// ParseException for a body that is none.
String WriteRow(RunRow const& row);
String WriteRow(JobStateRow const& row);
String WriteRow(EngineProductRow const& row);
String WriteRow(EngineHistoryRow const& row);
String WriteRow(FailureItem const& item);
String WriteRow(OptionMap const& options);

RunRow ReadRunRow(String const& body);
JobStateRow ReadJobStateRow(String const& body);
EngineProductRow ReadEngineProductRow(String const& body);
EngineHistoryRow ReadEngineHistoryRow(String const& body);
FailureItem ReadFailureRow(String const& body);
OptionMap ReadOptionRow(String const& body);

// The row of a run that is out, or that has just ended.
String RowOf(Run const& run, Outcome outcome);

} // namespace farm
