#include "enginelist.h"

#include "enginewatcher.h"
#include "statusflags.h"

#include <boost/make_shared.hpp>
#include <corekit/callentry.h>
#include <corekit/log.h>
#include <vorlan/events.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>

namespace vorlan {

// Hears the logs of the Engines.
class EngineList::_LogMessageHandler : public HasSlots<> {
public:
    explicit _LogMessageHandler(EngineList& list) : m_list(list) {
        EngineHistoryMsg::s_Signal.Connect(this, &_LogMessageHandler::GotHistory);
        EngineHistoryElementMsg::s_Signal.Connect(this, &_LogMessageHandler::GotElement);
    }
    ~_LogMessageHandler() override { DisconnectAll(); }

private:
    void GotHistory(boost::shared_ptr<EngineHistoryMsg> const& message) {
        boost::shared_ptr<EngineInfo> const info = m_list.FindEngine(message->engine);
        if (!info)
            return;
        {
            RWLock::Writer const writer(info->lock);
            info->history = message->history;
        }
        m_list.m_logChanged.Emit(message->engine);
    }
    void GotElement(boost::shared_ptr<EngineHistoryElementMsg> const& message) {
        boost::shared_ptr<EngineInfo> const info = m_list.FindEngine(message->engine);
        if (!info)
            return;
        unsigned const most = m_list.m_mostLogLines.load(std::memory_order_relaxed)();
        {
            RWLock::Writer const writer(info->lock);
            info->history.Push(message->element, most);
        }
        m_list.m_logChanged.Emit(message->engine);
    }

    EngineList& m_list;
};

EngineList& EngineList::Get() {
    static EngineList s_list;
    return s_list;
}

EngineList::EngineList()
    : m_mostLogLines([] { return o_MaxEngineHistoryItemsDefault; }),
      m_logHandler(std::make_unique<_LogMessageHandler>(*this)) {
    VorlanClientAppCleanupEvt::Signal().Connect(this, &EngineList::OnCleanup);
    // What the Engines follow of the default settings shows in their rows.
    EngineDefaultChangedEvt::Signal().Connect(this, [this](EngineDefaultChangedEvt&) { m_lists.SetAllDirty(); });
}

EngineList::~EngineList() { DisconnectAll(); }

boost::shared_ptr<EngineInfo> EngineList::FindEngine(UID const& id) const {
    RWLock::Reader const reader(m_lock);
    auto const found = m_engines.find(id);
    return found == m_engines.end() ? nullptr : found->second;
}

size_t EngineList::Count() const {
    RWLock::Reader const reader(m_lock);
    return m_engines.size();
}

EngineList::Map EngineList::Snapshot() const {
    RWLock::Reader const reader(m_lock);
    return m_engines;
}

void EngineList::InsertEngine(Engine const& engine) {
    CALL_ENTRY();
    bool isNew = false;
    {
        RWLock::Writer const writer(m_lock);
        boost::shared_ptr<EngineInfo>& entry = m_engines[engine.id];
        isNew = !entry;
        if (isNew) {
            auto info = boost::make_shared<EngineInfo>(engine.id);
            info->Clone(engine);
            entry = std::move(info);
        } else {
            entry->SetSnapshot(engine.Snapshot());
        }
    }
    String const peer = " InfoPeer: " + engine.InfoPeer().ToString();
    if (isNew) {
        LogInfo("Notified of new Engine " + engine.Name() + "  {" + engine.id.ToString() + "} " + peer);
        EngineConnectedEvt(engine).Trigger();
    } else {
        LogInfo("Notified of change to existing Engine " + engine.Name() + peer);
        EngineUpdatedEvt(engine).Trigger();
    }
    RefreshEngine(engine.id);
}

void EngineList::RemoveEngine(UID const& id) {
    CALL_ENTRY();
    boost::shared_ptr<EngineInfo> info;
    {
        RWLock::Writer const writer(m_lock);
        auto const found = m_engines.find(id);
        if (found == m_engines.end())
            return;
        info = found->second;
        m_engines.erase(found);
    }
    LogInfo("Removing Engine: " + info->Name());
    EngineRemovedEvt(*info).Trigger();
    RefreshEngine(id);
}

void EngineList::RefreshEngine(UID const& id) {
    StatusFlags::Mark(StatusFlag::Engines);
    m_lists.SetAllDirty();
    EngineWatcher::UpdateEngine(id);
}

void EngineList::Clear() {
    CALL_ENTRY();
    Map engines;
    {
        RWLock::Writer const writer(m_lock);
        engines.swap(m_engines);
    }
    StatusFlags::Mark(StatusFlag::Engines);
    m_lists.Operate([](ListView& view) { view.OnListCleared(); });
}

} // namespace vorlan
