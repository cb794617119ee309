#include "overviewrows.h"

#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"

#include <algorithm>
#include <tuple>

namespace vorlan {

OverviewRow RowOf(JobInfo const& info) {
    OverviewRow row;
    if (!info.job)
        return row;
    Job const& job = *info.job;
    Job::ReadingScope const scope(job);
    row.id = job.id;
    row.name = job.Name();
    row.product = job.TypeString();
    row.status = info.Status();
    row.statusClass = info.StatusClass();
    row.paused = job.IsPaused();
    row.failed = job.IsFailed();
    row.priority = job.Priority();
    row.percent = std::clamp(job.PercentDone(), 0.0F, 100.0F);
    bool const finished = job.IsFinished();
    row.order = finished ? job.FinishedTime().Milliseconds() : -job.Created().Milliseconds();
    return row;
}

bool OverviewBefore(OverviewRow const& a, OverviewRow const& b) {
    auto const key = [](OverviewRow const& row) {
        bool const finished = row.statusClass == 3;
        return std::tuple(finished, finished ? 0 : -row.priority, -row.order, row.id);
    };
    return key(a) < key(b);
}

OverviewCounts CountOverview() {
    OverviewCounts counts;
    for (auto const& [id, info] : EngineList::Get().Snapshot()) {
        ++counts.engines;
        counts.enginesAvailable += info->Online();
        counts.enginesActive += WorkList::Get().GetEngineCurrentCount(id) != 0;
    }
    Jobs::GetCounts(counts.jobs, counts.jobsActive, counts.jobsFinished);
    counts.work = WorkList::Get().Count();
    return counts;
}

corekit::vector<OverviewRow> CollectOverview() {
    corekit::vector<OverviewRow> rows;
    for (UID const& id : Jobs::GetAllJobs()) {
        boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id);
        if (info && info->job)
            rows.push_back(RowOf(*info));
    }
    size_t const kept = std::min(rows.size(), k_MostOverviewRows);
    std::partial_sort(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(kept), rows.end(), OverviewBefore);
    rows.resize(kept);
    return rows;
}

} // namespace vorlan
