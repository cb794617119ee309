#pragma once

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <corekit/rwlock.h>
#include <corekit/uid.h>
#include <map>
#include <vector>

namespace vorlan {

// WatcherRegistry knows which watchers look at which object.
// Owner: a static per kind of watcher.
// Thread: any. Its lock keeps a watcher alive while its flag is set.
template <class Watcher>
class WatcherRegistry {
public:
    void Move(Watcher* watcher, UID const& from, UID const& to) {
        RWLock::Writer const writer(m_lock);
        if (auto const found = m_watchers.find(from); !from.IsNull() && found != m_watchers.end()) {
            std::erase(found->second, watcher);
            if (found->second.empty())
                m_watchers.erase(found);
        }
        if (!to.IsNull())
            m_watchers[to].push_back(watcher);
    }
    void Update(UID const& id) {
        RWLock::Reader const reader(m_lock);
        auto const found = m_watchers.find(id);
        if (found == m_watchers.end())
            return;
        for (Watcher* watcher : found->second)
            watcher->SetDirty();
    }
    size_t WatchedObjects() const {
        RWLock::Reader const reader(m_lock);
        return m_watchers.size();
    }

private:
    mutable RWLock m_lock{LockRank::WatcherRegistry};
    std::map<UID, std::vector<Watcher*>> m_watchers CK_GUARDED_BY(m_lock);
};

} // namespace vorlan
