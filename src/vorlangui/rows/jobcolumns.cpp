#include "jobcolumns.h"

#include "columntable.h"

#include "model/worklist.h"

#include <corekit/sformat.h>
#include <vorlan/failures.h>
#include <vorlan/keys.h>

#include <array>
#include <cstdlib>

namespace vorlan {

namespace {

using JobColumn = RowColumn<JobInfo>;

std::string_view StoredName(ValueBlock const& values) { return values.Find(Known(p_Name).number); }
std::string_view StoredCreator(ValueBlock const& values) { return values.Find(Known(p_Creator).number); }
std::string_view StoredNote(ValueBlock const& values) { return values.Find(Known(p_Note).number); }

String FailuresText(JobInfo const& info) {
    size_t current = 0;
    size_t reset = 0;
    Failures::JobFailureCounts(info.job->id, current, reset);
    return SFormat("%lu (%lu total)", static_cast<unsigned long>(current), static_cast<unsigned long>(current + reset));
}

SortCode FailuresCode(JobInfo const& info, Time) {
    size_t current = 0;
    size_t reset = 0;
    Failures::JobFailureCounts(info.job->id, current, reset);
    return {current, current + reset};
}

String StaggeringText(Job const& job) {
    if (job.StaggerStart() == 0)
        return "No Job staggering";
    switch (job.StaggerMode()) {
    case 1:
        return job.FormatStringWithParameters("Start $(StaggerCount) on an Engine every $(StaggerStart) seconds");
    case 2:
        return job.FormatStringWithParameters("Start $(StaggerCount) Engines every $(StaggerStart) seconds");
    default:
        return job.FormatStringWithParameters("Start $(StaggerCount) Work every $(StaggerStart) seconds");
    }
}

SortCode StaggeringCode(JobInfo const& info, Time) {
    Job const& job = *info.job;
    uint64_t const mode = static_cast<uint32_t>(job.StaggerMode()) ^ 0x80000000U;
    return {mode << 32 | job.StaggerCount(), OrderedNumber(double{job.StaggerStart()})};
}

// The class of a status stands in the first byte of the code, the rest orders within it.
constexpr unsigned k_ClassShift = 56;

// In the order of the column, lowest first: "Queued" is RankWaiting, "3 Active"
// RankRunning, "Paused" RankIdlePaused and "Paused: 3 Active" RankRunningPaused. The second
// and the third have no order between them (see RowColumn::looseClass).
enum StatusRank : uint8_t {
    RankIdlePaused,
    RankWaiting,
    RankRunningPaused,
    RankRunning,
    RankCompleted,
    RankCanceled,
    RankFailed
};

SortCode InClass(uint8_t rank, uint64_t within = 0) { return {uint64_t{rank} << k_ClassShift | within, 0}; }

SortCode JobStatusCode(JobInfo const& info, Time) {
    Job const& job = *info.job;
    if (job.IsFinished())
        return InClass(job.IsFailed() ? RankFailed : job.IsCanceled() ? RankCanceled : RankCompleted);
    size_t const running = WorkList::Get().GetJobCurrentCount(job.id);
    if (running == 0)
        return InClass(job.IsPaused() ? RankIdlePaused : RankWaiting);
    return InClass(job.IsPaused() ? RankRunningPaused : RankRunning, running);
}

// So it is with no limit and a limit of workers.
enum LimitRank : uint8_t { RankNoLimit, RankWorkers, RankEngines };

SortCode UsageLimitCode(JobInfo const& info, Time) {
    int64_t const limit = info.job->UsageLimit();
    if (limit < 0)
        return InClass(RankEngines, static_cast<uint64_t>(-limit));
    return InClass(limit == 0 ? RankNoLimit : RankWorkers, static_cast<uint64_t>(limit));
}

constexpr std::array k_JobColumns{
    JobColumn{.type = JobColumns::Name,
              .title = "Name",
              .text = [](JobInfo const& info, String const&, Time) { return info.job->Name(); },
              .keyOf = KeyOf::TextNoCase,
              .stored = StoredName,
              .width = ColumnWidth::Name},
    JobColumn{.type = JobColumns::Summary,
              .title = "Summary",
              .text = [](JobInfo const& info, String const&, Time) { return info.Summary(); },
              .needs = KeyNeeds::Names,
              .width = ColumnWidth::Text},
    JobColumn{.type = JobColumns::Priority,
              .title = "Priority",
              .text = [](JobInfo const& info, String const&, Time) { return String::From(info.job->Priority()); },
              .keyOf = KeyOf::Number,
              .code = [](JobInfo const& info, Time) { return CodeOfNumber(info.job->Priority()); },
              .width = ColumnWidth::Number},
    JobColumn{.type = JobColumns::Progress,
              .title = "Progress",
              .text = [](JobInfo const& info, String const&, Time) { return ProgressText(info.job->PercentDone()); },
              .keyOf = KeyOf::Number,
              .code =
                  [](JobInfo const& info, Time) {
                      return SortCode{OrderedNumber(double{info.job->PercentDone()}), 0};
                  }},
    JobColumn{.type = JobColumns::Status,
              .title = "Status",
              .text = [](JobInfo const& info, String const&, Time) { return info.Status(); },
              .keyOf = KeyOf::Number,
              .needs = KeyNeeds::Live,
              .code = JobStatusCode,
              .looseClass = RankWaiting,
              .otherLooseClass = RankRunningPaused},
    JobColumn{.type = JobColumns::Product,
              .title = "Type",
              .text = [](JobInfo const& info, String const&, Time) { return info.job->TypeString(); },
              .needs = KeyNeeds::Names},
    JobColumn{.type = JobColumns::Pool,
              .title = "Pool",
              .text = [](JobInfo const& info, String const&, Time) { return info.Pool(); },
              .needs = KeyNeeds::Names},
    JobColumn{.type = JobColumns::Creator,
              .title = "Creator",
              .text = [](JobInfo const& info, String const&, Time) { return info.job->Creator(); },
              .keyOf = KeyOf::TextNoCase,
              .stored = StoredCreator},
    JobColumn{.type = JobColumns::Created,
              .title = "Created",
              .text = [](JobInfo const& info, String const&, Time) { return DateTimeText(info.job->Created()); },
              .keyOf = KeyOf::Number,
              .code = [](JobInfo const& info, Time) { return CodeOfNumber(info.job->Created().Milliseconds()); },
              .width = ColumnWidth::Time},
    JobColumn{.type = JobColumns::Note,
              .title = "Note",
              .text = [](JobInfo const& info, String const&, Time) { return info.job->Note(); },
              .stored = StoredNote,
              .width = ColumnWidth::Text},
    JobColumn{.type = JobColumns::Failures,
              .title = "Failures",
              .text = [](JobInfo const& info, String const&, Time) { return FailuresText(info); },
              .keyOf = KeyOf::Number,
              .needs = KeyNeeds::Live,
              .code = FailuresCode},
    JobColumn{.type = JobColumns::UsageLimit,
              .title = "Usage Limit",
              .text = [](JobInfo const& info, String const&,
                         Time) { return UsageLimitText(info.job->UsageLimit(), " worker"); },
              .keyOf = KeyOf::Number,
              .code = UsageLimitCode,
              .looseClass = RankNoLimit,
              .otherLooseClass = RankWorkers,
              .menuTitle = "UsageLimit"},
    JobColumn{.type = JobColumns::CPUs,
              .title = "CPUs",
              .text = [](JobInfo const& info, String const&, Time) { return String::From(info.job->CPUs()); },
              .keyOf = KeyOf::Number,
              .code = [](JobInfo const& info, Time) { return CodeOfNumber(info.job->CPUs()); },
              .width = ColumnWidth::Number},
    JobColumn{.type = JobColumns::RAM,
              .title = "RAM",
              .text = [](JobInfo const& info, String const&, Time) { return String::From(info.job->RAM()); },
              .keyOf = KeyOf::Number,
              .code = [](JobInfo const& info, Time) { return CodeOfNumber(info.job->RAM()); },
              .width = ColumnWidth::Number},
    JobColumn{.type = JobColumns::Staggering,
              .title = "Staggering",
              .text = [](JobInfo const& info, String const&, Time) { return StaggeringText(*info.job); },
              .keyOf = KeyOf::Number,
              .code = StaggeringCode,
              .width = ColumnWidth::Text},
    JobColumn{.type = JobColumns::WaitFor,
              .title = "Wait For",
              .text = [](JobInfo const& info, String const&, Time) { return info.WaitForString(); },
              .width = ColumnWidth::Time},
    JobColumn{.type = JobColumns::FinishDisposition,
              .title = "Finish Disposition",
              .text = [](JobInfo const& info, String const&,
                         Time) { return FinishDispositionText(info.job->FinishDisposition()); },
              .width = ColumnWidth::Time},
    JobColumn{.type = JobColumns::Finished,
              .title = "Finished",
              .text = [](JobInfo const& info, String const&, Time) { return DateTimeText(info.job->FinishedTime()); },
              .keyOf = KeyOf::Number,
              .code = [](JobInfo const& info, Time) { return CodeOfNumber(info.job->FinishedTime().Milliseconds()); },
              .width = ColumnWidth::Time},
    JobColumn{.type = JobColumns::Custom,
              .title = "",
              .text = [](JobInfo const& info, String const& custom,
                         Time) { return info.job->FormatStringWithParameters(custom); },
              .needs = KeyNeeds::Names},
};

constexpr int k_JobDefaults[] = {JobColumns::Name,    JobColumns::Summary,  JobColumns::Priority, JobColumns::Progress,
                                 JobColumns::Status,  JobColumns::Failures, JobColumns::Pool,     JobColumns::Creator,
                                 JobColumns::Created, JobColumns::Note};

constexpr float k_AlmostDone = 99.9F;

} // namespace

namespace JobColumns {

std::span<JobColumn const> All() { return k_JobColumns; }

std::span<int const> Defaults() { return k_JobDefaults; }

JobColumn const* Find(int type) { return FindColumn<JobInfo>(k_JobColumns, type); }

String Text(JobInfo const& info, int type, String const& custom, Time now) {
    JobColumn const* const column = Find(type);
    return column && info.job ? column->text(info, custom, now) : String();
}

RowColor Color(JobInfo const& info) {
    if (!info.job)
        return RowColor::Base;
    if (info.job->IsFinished())
        return RowColor::Blue;
    bool const isActive = info.active.load(std::memory_order_relaxed);
    if (info.job->IsPaused())
        return isActive ? RowColor::Cyan : RowColor::Grey;
    return isActive ? RowColor::Green : RowColor::Base;
}

bool IsTinted(JobInfo const& info) { return info.job && vorlan::Failures::JobFailureCount(info.job->id) != 0; }

} // namespace JobColumns

String ProgressText(float percent) {
    if (percent >= k_AlmostDone && percent < 100)
        return "99.9%";
    return SFormat("%.3g%%", static_cast<double>(percent));
}

String ProgressBarText(float percent) {
    if (percent >= k_AlmostDone && percent < 100)
        percent = k_AlmostDone;
    return SFormat("%.*g%%", percent >= 10 ? 3 : 2, static_cast<double>(percent));
}

String FinishDispositionText(int disposition) {
    switch (disposition) {
    case -1:
        return "Let the Master decide";
    case 0:
        return "Keep in the system";
    case 1:
        return "Delete immediately";
    default:
        return String();
    }
}

String UsageLimitText(int limit, char const* unit) {
    int64_t const count = std::abs(int64_t{limit});
    return String::From(count) + (limit < 0 ? " engine" : unit) + (count == 1 ? "" : "s");
}

String DateTimeText(Time const& time) { return time.Format(k_DateTimeNicer, true, true); }

} // namespace vorlan
