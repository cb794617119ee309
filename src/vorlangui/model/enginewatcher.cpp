#include "enginewatcher.h"

#include <corekit/callentry.h>
#include <corekit/mainthread.h>
#include <corekit/tick.h>
#include <vorlan/events.h>

namespace vorlan {

namespace {
UID IDOfEngine(boost::shared_ptr<EngineInfo> const& info) { return info ? info->id : UID::Null; }
} // namespace

WatcherRegistry<EngineWatcher>& EngineWatcher::Registry() {
    static WatcherRegistry<EngineWatcher> s_registry;
    return s_registry;
}

EngineWatcher::EngineWatcher(boost::shared_ptr<EngineInfo> const& info) : m_info(info) {
    AssertMainThread();
    Registry().Move(this, UID::Null, IDOfEngine(info));
    Tick::s_Timer0250.Connect(this, &EngineWatcher::TriggerUpdate);
    // What an Engine follows of the default settings shows in every display.
    EngineDefaultChangedEvt::Signal().Connect(this, &EngineWatcher::SetDirty);
}

EngineWatcher::~EngineWatcher() {
    DisconnectAll();
    Registry().Move(this, IDOfEngine(m_info), UID::Null);
}

void EngineWatcher::SetToEngine(boost::shared_ptr<EngineInfo> const& info) {
    CALL_ENTRY();
    AssertMainThread();
    Registry().Move(this, IDOfEngine(m_info), IDOfEngine(info));
    m_info = info;
    TriggerUpdate();
}

void EngineWatcher::UpdateEngine(UID const& id) { Registry().Update(id); }

void EngineWatcher::TriggerUpdate() {
    while (m_info && m_dirty.exchange(0, std::memory_order_acq_rel)) {
        boost::shared_ptr<EngineInfo> const info = m_info;
        RWLock::Reader const reader(info->lock);
        Update();
    }
}

} // namespace vorlan
