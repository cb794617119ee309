#include "jobwatcher.h"

#include <corekit/callentry.h>
#include <corekit/tick.h>

namespace vorlan {

namespace {
UID IDOfJob(boost::shared_ptr<JobInfo> const& info) { return info && info->job ? info->job->id : UID::Null; }
} // namespace

WatcherRegistry<JobWatcher>& JobWatcher::Registry() {
    static WatcherRegistry<JobWatcher> s_registry;
    return s_registry;
}

JobWatcher::JobWatcher(boost::shared_ptr<JobInfo> const& info) {
    // Before the first tick can call it: the flag is not set, so no Update runs here.
    Registry().Move(this, UID::Null, IDOfJob(info));
    m_info = info;
    Tick::s_Timer0250.Connect(this, &JobWatcher::TriggerUpdate);
}

JobWatcher::~JobWatcher() {
    DisconnectAll();
    Registry().Move(this, IDOfJob(m_info), UID::Null);
}

void JobWatcher::SetJobA(boost::shared_ptr<JobInfo> const& info) {
    CALL_ENTRY();
    Registry().Move(this, IDOfJob(m_info), IDOfJob(info));
    m_info = info;
    TriggerUpdate();
}

void JobWatcher::UpdateJob(UID const& id) { Registry().Update(id); }

void JobWatcher::TriggerUpdate() {
    while (m_info && m_dirty.exchange(0, std::memory_order_acq_rel)) {
        boost::shared_ptr<JobInfo> const info = m_info;
        RWLock::Reader const reader(info->lock);
        Update();
    }
}

} // namespace vorlan
