#pragma once

#include "rowcolumn.h"

#include "model/jobinfo.h"

#include <span>

namespace vorlan {

// What a Job list shows of a Job, as pure functions of the JobInfo. Any thread.
namespace JobColumns {

// The types, by number: 0 "Name" to 17 "Finished", 19 a custom one. 18 isn't used.
enum Type : int {
    Name,
    Summary,
    Priority,
    Progress,
    Status,
    Product,
    Pool,
    Creator,
    Created,
    Note,
    Failures,
    UsageLimit,
    CPUs,
    RAM,
    Staggering,
    WaitFor,
    FinishDisposition,
    Finished,
    Custom = k_CustomType,
};

std::span<RowColumn<JobInfo> const> All();
// What lists begin with.
std::span<int const> Defaults();
// Null for a type with no entry: its cells are empty, and it sorts as "Name".
RowColumn<JobInfo> const* Find(int type);

String Text(JobInfo const& info, int type, String const& custom, Time now);
RowColor Color(JobInfo const& info);
// Something of the Job has failed.
bool IsTinted(JobInfo const& info);

} // namespace JobColumns

// "12.3%" with three digits, never "100%" before the end.
String ProgressText(float percent);
// The same in the progress bar: two digits below ten percent.
String ProgressBarText(float percent);
// -1 "Let the Master decide", 0 "Keep in the system", 1 "Delete immediately".
String FinishDispositionText(int disposition);
// "3 engines", "1 worker"; `unit` is what positive limits count.
String UsageLimitText(int limit, char const* unit);
String DateTimeText(Time const& time);

} // namespace vorlan
