#include "joblist.h"

#include "history.h"
#include "jobwatcher.h"
#include "statusflags.h"
#include "worklist.h"

#include <boost/make_shared.hpp>
#include <corekit/callentry.h>
#include <corekit/log.h>
#include <corekit/threadpool.h>
#include <vorlan/events.h>
#include <vorlan/keys.h>

#include <array>
#include <memory>
#include <optional>
#include <utility>

namespace vorlan {

namespace Jobs {

boost::shared_ptr<JobInfo> FindJobInfo(UID const& id) {
    JobList const& list = JobList::Get();
    RWLock::Reader const reader(list.m_lock);
    for (JobList::Map const* map : {&list.m_active, &list.m_finished}) {
        if (auto const found = map->find(id); found != map->end())
            return found->second;
    }
    return nullptr;
}

boost::shared_ptr<Job> GetJobA(UID const& id) {
    boost::shared_ptr<JobInfo> const info = FindJobInfo(id);
    return info ? info->job : nullptr;
}

std::vector<UID> GetAllJobs() {
    JobList const& list = JobList::Get();
    std::vector<UID> ids;
    RWLock::Reader const reader(list.m_lock);
    ids.reserve(list.m_active.size() + list.m_finished.size());
    for (JobList::Map const* map : {&list.m_active, &list.m_finished}) {
        for (auto const& [id, info] : *map)
            ids.push_back(id);
    }
    return ids;
}

std::vector<UID> GetFinishedIDs() {
    JobList const& list = JobList::Get();
    std::vector<UID> ids;
    RWLock::Reader const reader(list.m_lock);
    ids.reserve(list.m_finished.size());
    for (auto const& [id, info] : list.m_finished)
        ids.push_back(id);
    return ids;
}

void GetCounts(size_t& total, size_t& active, size_t& finished) {
    JobList const& list = JobList::Get();
    RWLock::Reader const reader(list.m_lock);
    active = list.m_withWork;
    finished = list.m_finished.size();
    total = list.m_active.size() + finished;
}

} // namespace Jobs

JobList& JobList::Get() {
    static JobList s_list;
    return s_list;
}

JobList::JobList() { VorlanClientAppCleanupEvt::Signal().Connect(this, &JobList::OnCleanup); }

JobList::~JobList() { DisconnectAll(); }

void JobList::InsertJob(boost::shared_ptr<Job> const& job) {
    CALL_ENTRY();
    if (!job)
        return;
    bool const isFinished = job->IsFinished();
    boost::shared_ptr<JobInfo> known;
    boost::shared_ptr<JobInfo> replaced;
    {
        RWLock::Writer const writer(m_lock);
        boost::shared_ptr<JobInfo>& entry = (isFinished ? m_finished : m_active)[job->id];
        if (isFinished) {
            if (auto const former = m_active.find(job->id); former != m_active.end()) {
                replaced = std::exchange(entry, former->second);
                m_withWork -= entry->active.load(std::memory_order_relaxed);
                m_active.erase(former);
                CountMove();
            }
        }
        known = entry;
        // A new one is complete before anybody can see it.
        if (!known) {
            entry = boost::make_shared<JobInfo>(job);
            CountMove();
        }
    }
    if (replaced)
        replaced->DropHistory();
    if (!known) {
        if (Log::IsWanted(LogLevel::Debug))
            LogDebug("Notified of new Job: " + job->Name());
        NewJobEvt(job).Trigger();
    } else {
        if (known->job) {
            known->job->UpdateFrom(*job, false);
            known->CountChange();
            StatusChanged(*known);
        }
        if (Log::IsWanted(LogLevel::Debug))
            LogDebug("Notified of change to existing Job: " + job->Name());
        JobUpdatedEvt(known->job).Trigger();
    }
    TellChange(job->id);
}

void JobList::StatusChanged(JobInfo const& info) {
    // A running Job's history has waited for this.
    if (info.job->IsFinished())
        HistoryTimer::Get().Wake(info);
}

bool JobList::UpdateJob(UID const& id, String const& name, String const& value) {
    CALL_ENTRY();
    boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id);
    if (!info || !info->job)
        return false;
    Job& job = *info->job;
    if (job.SetParameter(name, value)) {
        info->CountChange();
        if (name.CompareNoCase(p_Status) == 0)
            StatusChanged(*info);
        if (Log::IsWanted(LogLevel::Debug))
            LogDebug("Notified of change to " + name + " of Job: " + job.Name());
        JobUpdatedEvt(info->job).Trigger();
    }
    TellChange(id);
    return true;
}

void JobList::RefreshJob(UID const& id) {
    if (boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id))
        info->CountChange();
    TellChange(id);
}

void JobList::SetActive(JobInfo& info, bool active) {
    if (!info.job || info.active.load(std::memory_order_relaxed) == active)
        return;
    RWLock::Writer const writer(m_lock);
    info.active.store(active, std::memory_order_relaxed);
    auto const found = m_active.find(info.job->id);
    if (found == m_active.end() || found->second.get() != &info)
        return;
    if (active)
        ++m_withWork;
    else
        --m_withWork;
}

void JobList::NoteWorkEnded(UID const& id) {
    if (WorkList::Get().GetJobCurrentCount(id) != 0)
        return;
    if (boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id))
        SetActive(*info, false);
}

void JobList::Visit(Visitor const& visitor) const {
    VisitMap(&JobList::m_active, 0, visitor);
    VisitMap(&JobList::m_finished, 1, visitor);
}

void JobList::VisitMap(Map JobList::*member, uint8_t part, Visitor const& visitor) const {
    std::vector<ListedObject<JobInfo>> some;
    some.reserve(k_VisitedAtOnce);
    std::optional<UID> last;
    for (bool isMore = true; isMore;) {
        some.clear();
        RWLock::Reader const reader(m_lock);
        Map const& map = this->*member;
        auto at = last ? map.upper_bound(*last) : map.begin();
        for (; at != map.end() && some.size() < k_VisitedAtOnce; ++at)
            some.push_back({&at->first, &at->second, part});
        isMore = at != map.end();
        if (some.empty())
            return;
        visitor(some);
        last = *some.back().id;
    }
}

size_t JobList::Count() const {
    RWLock::Reader const reader(m_lock);
    return m_active.size() + m_finished.size();
}

void JobList::TellChange(UID const& id) {
    StatusFlags::Mark(StatusFlag::Jobs);
    m_lists.SetAllDirty();
    JobWatcher::UpdateJob(id);
}

void JobList::RemoveJob(UID const& id) {
    CALL_ENTRY();
    // A Job that came back stands in both maps; the newer one is told of.
    boost::shared_ptr<JobInfo> info;
    boost::shared_ptr<JobInfo> former;
    {
        RWLock::Writer const writer(m_lock);
        for (Map* map : {&m_finished, &m_active}) {
            auto const found = map->find(id);
            if (found == map->end())
                continue;
            former = std::exchange(info, found->second);
            if (map == &m_active)
                m_withWork -= info->active.load(std::memory_order_relaxed);
            map->erase(found);
            CountMove();
        }
    }
    boost::shared_ptr<Job> const job = info ? info->job : nullptr;
    LogInfo("Removing Job: " + (job ? job->Name() : String("*** Unknown Job ***")));
    DeletingJobEvt(job).Trigger();
    TellChange(id);
    HistoryTimer::Get().Forget(id);
    for (auto const& gone : {info, former}) {
        if (gone)
            gone->DropHistory();
    }
}

void JobList::Empty(FreeOn where) {
    CALL_ENTRY();
    HistoryTimer::Get().ForgetAll();
    auto const former = std::make_shared<std::array<Map, 2>>();
    {
        RWLock::Writer const writer(m_lock);
        (*former)[0].swap(m_active);
        (*former)[1].swap(m_finished);
        m_withWork = 0;
        CountMove();
    }
    StatusFlags::Mark(StatusFlag::Jobs);
    m_lists.Operate([](ListView& view) { view.OnListCleared(); });
    auto const free = [former] {
        for (Map& map : *former) {
            for (auto const& [id, info] : map) {
                if (info)
                    info->DropHistory();
            }
            map.clear();
        }
    };
    if (where == FreeOn::ThisThread || !ThreadPool::Queue(free))
        free();
}

bool JobList::AnyJobSelected() {
    bool any = false;
    m_lists.Operate([&any](ListView const& view) { any = any || view.HasSelection(); });
    return any;
}

} // namespace vorlan
