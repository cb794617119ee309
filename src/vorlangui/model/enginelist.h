#pragma once

#include "engineinfo.h"
#include "listlist.h"

#include <boost/shared_ptr.hpp>
#include <corekit/signal.h>
#include <map>
#include <memory>

namespace vorlan {

// EngineList is the client's mirror of the Engines that the Master knows.
// Owner: a global object, reached by Get.
// Works with: the message handlers; Engine list controls and watchers.
// Thread: any. Clear and Lists on the GUI thread.
class EngineList : public HasSlots<> {
public:
    using Map = std::map<UID, boost::shared_ptr<EngineInfo>>;

    static EngineList& Get();
    ~EngineList() override;

    // Null if the Engine is not known.
    boost::shared_ptr<EngineInfo> FindEngine(UID const& id) const;
    // All of them, as they stand now.
    Map Snapshot() const;
    size_t Count() const;

    void InsertEngine(Engine const& engine);
    void RemoveEngine(UID const& id);
    void Clear();
    // Something that a row of the Engine shows has changed.
    void RefreshEngine(UID const& id);

    // The log of an Engine has changed. Message thread.
    Signal1<UID const&>& LogChanged() { return m_logChanged; }
    // Asked for each line that comes: how many an Engine's log keeps.
    void SetMostLogLines(unsigned (*most)()) { m_mostLogLines.store(most, std::memory_order_relaxed); }
    _ListList<ListView>& Lists() { return m_lists; }

private:
    class _LogMessageHandler;

    EngineList();
    void OnCleanup() { Clear(); }

    mutable RWLock m_lock{LockRank::EngineList};
    Map m_engines CK_GUARDED_BY(m_lock);
    Signal1<UID const&> m_logChanged;
    std::atomic<unsigned (*)()> m_mostLogLines;
    _ListList<ListView> m_lists;
    std::unique_ptr<_LogMessageHandler> const m_logHandler;
};

} // namespace vorlan
