#pragma once

#include "jobinfo.h"
#include "watcher.h"

#include <corekit/signal.h>

namespace vorlan {

// JobWatcher is the base of a display that shows one Job.
// Owner: the display. Works with: the Job list and the work list, which set its flag;
// the 250 ms tick, which turns the flag into one call of Update.
// Thread: UpdateJob and SetDirty on any, the rest on the GUI thread.
class JobWatcher : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    explicit JobWatcher(boost::shared_ptr<JobInfo> const& info = nullptr);
    ~JobWatcher() override;

    // Watches that Job from now on; null: none.
    void SetJobA(boost::shared_ptr<JobInfo> const& info);
    boost::shared_ptr<JobInfo> const& Watched() const { return m_info; }

    // Something about the Job has changed.
    static void UpdateJob(UID const& id);
    void SetDirty() { m_dirty.exchange(1, std::memory_order_release); }
    // Serves the flag, if it is set.
    void TriggerUpdate();

protected:
    // The Job has changed. Called with the JobInfo locked for reading, so it must
    // not ask for the lock for writing.
    virtual void Update() = 0;

private:
    static WatcherRegistry<JobWatcher>& Registry();

    boost::shared_ptr<JobInfo> m_info;
    std::atomic<unsigned char> m_dirty{0};
};

} // namespace vorlan
