#pragma once

#include "engineinfo.h"
#include "watcher.h"

#include <corekit/signal.h>

namespace vorlan {

// EngineWatcher is the base of a display that shows one Engine.
// Owner: the display. Works with: the Engine list, which sets its flag; the 250 ms
// tick, which turns the flag into one call of Update.
// Thread: UpdateEngine and SetDirty on any, the rest on the GUI thread.
class EngineWatcher : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    explicit EngineWatcher(boost::shared_ptr<EngineInfo> const& info = nullptr);
    ~EngineWatcher() override;

    // Watches that Engine from now on; null: none.
    void SetToEngine(boost::shared_ptr<EngineInfo> const& info);
    boost::shared_ptr<EngineInfo> const& Watched() const { return m_info; }

    // Something about the Engine has changed.
    static void UpdateEngine(UID const& id);
    void SetDirty() { m_dirty.exchange(1, std::memory_order_release); }
    void TriggerUpdate();

protected:
    // The Engine has changed. Called with the EngineInfo locked for reading.
    virtual void Update() = 0;

private:
    static WatcherRegistry<EngineWatcher>& Registry();

    boost::shared_ptr<EngineInfo> m_info;
    std::atomic<unsigned char> m_dirty{0};
};

} // namespace vorlan
