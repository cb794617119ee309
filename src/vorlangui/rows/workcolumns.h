#pragma once

#include "rowcolumn.h"

#include "model/worklist.h"

#include <span>

namespace vorlan {

// What a work list shows of a unit, as pure functions of the WorkInfo and the time.
// Any thread.
namespace WorkColumns {

// The types, by number: 0 "Work" to 17 "Finish Disposition", 19 a custom one.
enum Type : int {
    Work,
    JobName,
    Elapsed,
    Engine,
    Pool,
    Note,
    Summary,
    Priority,
    Progress,
    Status,
    Product,
    Creator,
    Created,
    UsageLimit,
    CPUs,
    RAM,
    Staggering,
    FinishDisposition,
    Custom = k_CustomType,
};

std::span<RowColumn<WorkInfo> const> All();
// What lists begin with.
std::span<int const> Defaults();
// Null for a type with no entry: its cells are empty, and it sorts as "Work".
RowColumn<WorkInfo> const* Find(int type);

String Text(WorkInfo const& info, int type, String const& custom, Time now);

} // namespace WorkColumns

// "99%" until all is done.
String WorkProgressText(float percent);

} // namespace vorlan
