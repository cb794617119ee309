#include "workcolumns.h"

#include "columntable.h"
#include "jobcolumns.h"

#include <corekit/sformat.h>
#include <vorlan/keys.h>

#include <array>

namespace vorlan {

namespace {

using WorkColumn = RowColumn<WorkInfo>;

// The unit's Job; the unit itself, which has its values, where there is none.
Job const& JobOf(WorkInfo const& info) { return info.job && info.job->job ? *info.job->job : *info.work; }

constexpr std::array k_WorkColumns{
    WorkColumn{.type = WorkColumns::Work,
               .title = "Work",
               .text = [](WorkInfo const& info, String const&, Time) { return info.work->Name(); }},
    WorkColumn{.type = WorkColumns::JobName,
               .title = "Job",
               .text = [](WorkInfo const& info, String const&,
                          Time) { return info.job && info.job->job ? info.job->job->Name() : String(); },
               .width = ColumnWidth::Name},
    WorkColumn{.type = WorkColumns::Elapsed,
               .title = "Elapsed",
               .text =
                   [](WorkInfo const& info, String const&, Time now) {
                       return info.Elapsed(now).FormatDuration(Time::k_UnitMinutes + Time::k_ShortForm,
                                                               Time::k_UnitDays + Time::k_ShortForm,
                                                               Time::k_UnitSeconds + Time::k_ShortForm, true, 2, '0');
                   },
               .keyOf = KeyOf::Number,
               .code = [](WorkInfo const& info, Time now) { return CodeOfNumber(info.Elapsed(now).Milliseconds()); }},
    WorkColumn{
        .type = WorkColumns::Engine,
        .title = "Engine",
        .text = [](WorkInfo const& info, String const&, Time) { return info.engine ? info.engine->Name() : String(); },
        .keyOf = KeyOf::TextNoCase,
        .width = ColumnWidth::Time},
    WorkColumn{
        .type = WorkColumns::Pool,
        .title = "Pool",
        .text = [](WorkInfo const& info, String const&, Time) { return info.job ? info.job->Pool() : info.Pool(); }},
    WorkColumn{.type = WorkColumns::Note,
               .title = "Note",
               .text = [](WorkInfo const& info, String const&, Time) { return JobOf(info).Note(); },
               .width = ColumnWidth::Text},
    WorkColumn{
        .type = WorkColumns::Summary,
        .title = "Summary",
        .text = [](WorkInfo const& info, String const&, Time) { return JobOf(info).GetParameterString(p_JobSummary); },
        .width = ColumnWidth::Text},
    WorkColumn{.type = WorkColumns::Priority,
               .title = "Priority",
               .text = [](WorkInfo const& info, String const&, Time) { return SFormat("%d", JobOf(info).Priority()); },
               .keyOf = KeyOf::Number,
               .code = [](WorkInfo const& info, Time) { return CodeOfNumber(JobOf(info).Priority()); },
               .width = ColumnWidth::Number},
    WorkColumn{
        .type = WorkColumns::Progress,
        .title = "Progress",
        .text = [](WorkInfo const& info, String const&, Time) { return WorkProgressText(info.work->PercentDone()); },
        .keyOf = KeyOf::Number,
        .code =
            [](WorkInfo const& info, Time) {
                return SortCode{OrderedNumber(double{info.work->PercentDone()}), 0};
            },
        .width = ColumnWidth::Number},
    WorkColumn{.type = WorkColumns::Status,
               .title = "Status",
               .text = [](WorkInfo const& info, String const&, Time) { return info.work->StatusAsString(); }},
    WorkColumn{.type = WorkColumns::Product,
               .title = "Type",
               .text = [](WorkInfo const& info, String const&, Time) { return JobOf(info).TypeString(); }},
    WorkColumn{.type = WorkColumns::Creator,
               .title = "Creator",
               .text = [](WorkInfo const& info, String const&, Time) { return JobOf(info).Creator(); }},
    // As text, to the minute.
    WorkColumn{.type = WorkColumns::Created,
               .title = "Created",
               .text = [](WorkInfo const& info, String const&, Time) { return DateTimeText(JobOf(info).Created()); },
               .width = ColumnWidth::Time},
    WorkColumn{.type = WorkColumns::UsageLimit,
               .title = "Usage Limit",
               .text = [](WorkInfo const& info, String const&,
                          Time) { return UsageLimitText(JobOf(info).UsageLimit(), " work"); },
               .keyOf = KeyOf::Number,
               .code = [](WorkInfo const& info, Time) { return CodeOfNumber(JobOf(info).UsageLimit()); }},
    WorkColumn{.type = WorkColumns::CPUs,
               .title = "CPUs",
               .text = [](WorkInfo const& info, String const&, Time) { return String::From(JobOf(info).CPUs()); },
               .keyOf = KeyOf::Number,
               .code = [](WorkInfo const& info, Time) { return CodeOfNumber(JobOf(info).CPUs()); },
               .width = ColumnWidth::Number},
    WorkColumn{.type = WorkColumns::RAM,
               .title = "RAM",
               .text = [](WorkInfo const& info, String const&, Time) { return String::From(JobOf(info).RAM()); },
               .keyOf = KeyOf::Number,
               .code = [](WorkInfo const& info, Time) { return CodeOfNumber(JobOf(info).RAM()); },
               .width = ColumnWidth::Number},
    WorkColumn{.type = WorkColumns::Staggering,
               .title = "Staggering",
               .text =
                   [](WorkInfo const& info, String const&, Time) {
                       return JobOf(info).FormatStringWithParameters(
                           "Start $(StaggerCount) every $(StaggerStart) seconds");
                   },
               .width = ColumnWidth::Text},
    WorkColumn{.type = WorkColumns::FinishDisposition,
               .title = "Finish Disposition",
               .text = [](WorkInfo const& info, String const&,
                          Time) { return FinishDispositionText(JobOf(info).FinishDisposition()); },
               .width = ColumnWidth::Time},
    WorkColumn{.type = WorkColumns::Custom,
               .title = "",
               .text = [](WorkInfo const& info, String const& custom,
                          Time) { return JobOf(info).FormatStringWithParameters(custom); }},
};

constexpr int k_WorkDefaults[] = {WorkColumns::Work,   WorkColumns::JobName, WorkColumns::Elapsed,
                                  WorkColumns::Engine, WorkColumns::Pool,    WorkColumns::Note};

} // namespace

namespace WorkColumns {

std::span<WorkColumn const> All() { return k_WorkColumns; }

std::span<int const> Defaults() { return k_WorkDefaults; }

WorkColumn const* Find(int type) { return FindColumn<WorkInfo>(k_WorkColumns, type); }

String Text(WorkInfo const& info, int type, String const& custom, Time now) {
    WorkColumn const* const column = Find(type);
    return column && info.work ? column->text(info, custom, now) : String();
}

} // namespace WorkColumns

String WorkProgressText(float percent) {
    if (percent >= 99 && percent < 100)
        return "99%";
    return SFormat("%.0f%%", static_cast<double>(percent));
}

} // namespace vorlan
