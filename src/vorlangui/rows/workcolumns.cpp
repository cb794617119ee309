#include "workcolumns.h"

#include "columntable.h"
#include "jobcolumns.h"

#include <corekit/sformat.h>
#include <vorlan/keys.h>

#include <array>

namespace vorlan {

namespace {

using Column = RowColumn<WorkInfo>;

// The unit's Job; the unit itself, which has its values, where there is none.
Job const& JobOf(WorkInfo const& info) { return info.job && info.job->job ? *info.job->job : *info.work; }

SortCode Code(int64_t value) { return {OrderedNumber(value), 0}; }

constexpr std::array k_Columns{
    Column{.type = WorkColumns::Work,
           .title = "Work",
           .text = [](WorkInfo const& info, String const&, Time) { return info.work->Name(); }},
    Column{.type = WorkColumns::JobName,
           .title = "Job",
           .text = [](WorkInfo const& info, String const&,
                      Time) { return info.job && info.job->job ? info.job->job->Name() : String(); }},
    Column{.type = WorkColumns::Elapsed,
           .title = "Elapsed",
           .text =
               [](WorkInfo const& info, String const&, Time now) {
                   return info.Elapsed(now).FormatDuration(Time::k_UnitMinutes + Time::k_ShortForm,
                                                           Time::k_UnitDays + Time::k_ShortForm,
                                                           Time::k_UnitSeconds + Time::k_ShortForm, true, 2, '0');
               },
           .keyOf = KeyOf::Number,
           .code = [](WorkInfo const& info, Time now) { return Code(info.Elapsed(now).Milliseconds()); }},
    Column{
        .type = WorkColumns::Engine,
        .title = "Engine",
        .text = [](WorkInfo const& info, String const&, Time) { return info.engine ? info.engine->Name() : String(); },
        .keyOf = KeyOf::TextNoCase},
    Column{.type = WorkColumns::Pool,
           .title = "Pool",
           .text = [](WorkInfo const& info, String const&, Time) { return info.job ? info.job->Pool() : info.Pool(); }},
    Column{.type = WorkColumns::Note,
           .title = "Note",
           .text = [](WorkInfo const& info, String const&, Time) { return JobOf(info).Note(); }},
    Column{
        .type = WorkColumns::Summary,
        .title = "Summary",
        .text = [](WorkInfo const& info, String const&, Time) { return JobOf(info).GetParameterString(p_JobSummary); }},
    Column{.type = WorkColumns::Priority,
           .title = "Priority",
           .text = [](WorkInfo const& info, String const&, Time) { return SFormat("%d", JobOf(info).Priority()); },
           .keyOf = KeyOf::Number,
           .code = [](WorkInfo const& info, Time) { return Code(JobOf(info).Priority()); }},
    Column{.type = WorkColumns::Progress,
           .title = "Progress",
           .text = [](WorkInfo const& info, String const&, Time) { return WorkProgressText(info.work->PercentDone()); },
           .keyOf = KeyOf::Number,
           .code =
               [](WorkInfo const& info, Time) {
                   return SortCode{OrderedNumber(double{info.work->PercentDone()}), 0};
               }},
    Column{.type = WorkColumns::Status,
           .title = "Status",
           .text = [](WorkInfo const& info, String const&, Time) { return info.work->StatusAsString(); }},
    Column{.type = WorkColumns::Product,
           .title = "Type",
           .text = [](WorkInfo const& info, String const&, Time) { return JobOf(info).TypeString(); }},
    Column{.type = WorkColumns::Creator,
           .title = "Creator",
           .text = [](WorkInfo const& info, String const&, Time) { return JobOf(info).Creator(); }},
    // As text, to the minute.
    Column{.type = WorkColumns::Created,
           .title = "Created",
           .text = [](WorkInfo const& info, String const&, Time) { return DateTimeText(JobOf(info).Created()); }},
    Column{.type = WorkColumns::UsageLimit,
           .title = "Usage Limit",
           .text = [](WorkInfo const& info, String const&,
                      Time) { return UsageLimitText(JobOf(info).UsageLimit(), " work"); },
           .keyOf = KeyOf::Number,
           .code = [](WorkInfo const& info, Time) { return Code(JobOf(info).UsageLimit()); }},
    Column{.type = WorkColumns::CPUs,
           .title = "CPUs",
           .text = [](WorkInfo const& info, String const&, Time) { return String::From(JobOf(info).CPUs()); },
           .keyOf = KeyOf::Number,
           .code = [](WorkInfo const& info, Time) { return Code(JobOf(info).CPUs()); }},
    Column{.type = WorkColumns::RAM,
           .title = "RAM",
           .text = [](WorkInfo const& info, String const&, Time) { return String::From(JobOf(info).RAM()); },
           .keyOf = KeyOf::Number,
           .code = [](WorkInfo const& info, Time) { return Code(JobOf(info).RAM()); }},
    Column{.type = WorkColumns::Staggering,
           .title = "Staggering",
           .text =
               [](WorkInfo const& info, String const&, Time) {
                   return JobOf(info).FormatStringWithParameters("Start $(StaggerCount) every $(StaggerStart) seconds");
               }},
    Column{.type = WorkColumns::FinishDisposition,
           .title = "Finish Disposition",
           .text = [](WorkInfo const& info, String const&,
                      Time) { return FinishDispositionText(JobOf(info).FinishDisposition()); }},
    Column{.type = WorkColumns::Custom,
           .title = "",
           .text = [](WorkInfo const& info, String const& custom,
                      Time) { return JobOf(info).FormatStringWithParameters(custom); }},
};

constexpr int k_Defaults[] = {WorkColumns::Work,   WorkColumns::JobName, WorkColumns::Elapsed,
                              WorkColumns::Engine, WorkColumns::Pool,    WorkColumns::Note};

} // namespace

namespace WorkColumns {

std::span<Column const> All() { return k_Columns; }

std::span<int const> Defaults() { return k_Defaults; }

Column const* Find(int type) { return FindColumn<WorkInfo>(k_Columns, type); }

String Text(WorkInfo const& info, int type, String const& custom, Time now) {
    Column const* const column = Find(type);
    return column && info.work ? column->text(info, custom, now) : String();
}

} // namespace WorkColumns

String WorkProgressText(float percent) {
    if (percent >= 99 && percent < 100)
        return "99%";
    return SFormat("%.0f%%", static_cast<double>(percent));
}

} // namespace vorlan
