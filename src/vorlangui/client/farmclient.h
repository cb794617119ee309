#pragma once

#include "mastersettings.h"
#include "model/statusflags.h"

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <corekit/callentry.h>
#include <corekit/commandline.h>
#include <corekit/commonmutex.h>
#include <corekit/signal.h>
#include <vorlan/engine.h>
#include <vorlan/events.h>
#include <vorlan/messages.h>

namespace vorlan {

// FarmClient is the client without its windows: it hears the Master's messages and keeps
// the lists, the Pools' names and the Master's settings by them.
// Owner: the program; VorlanGui derives from it. One exists.
// Works with: JobList, EngineList, WorkList, PoolTable, Outside, the 250 ms tick.
// Thread: the handlers of messages and events run on the message thread and touch no window; the rest on the main
// thread, but for what says otherwise.
class FarmClient : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    FarmClient();
    ~FarmClient() override;

    // Null before its construction and in programs without one. Any thread.
    static FarmClient* Get() { return s_instance.load(std::memory_order_acquire); }

    // From now on the handlers are called. Once, before the Messenger starts.
    void ConnectMessages();
    // The program's own, whose switches say what is started. Null: none.
    void SetCommandLine(CommandLine* line) { m_commandLineInUse = line; }

    // Empties the lists. Nothing is on its way to them.
    void ClearLists();
    // Empties the lists, forgets the Pools and asks the Master for everything. What is seen
    // of the lists goes from what was in them to what comes.
    void Reload();

    // Any thread.
    MasterSettings& Master() { return m_master; }
    // Null if it is not known. Lives until the calling thread has asked for
    // k_KeptEngines others. Any thread.
    Engine const* FindEngineToKeep(UID const& id) const;
    static constexpr size_t k_KeptEngines = 16;

    // Any thread.
    void UpdateEngineStatus() { StatusFlags::Mark(StatusFlag::Engines); }
    void UpdateJobStatus() { StatusFlags::Mark(StatusFlag::Jobs); }
    void UpdateWorkStatus() { StatusFlags::Mark(StatusFlag::Work); }
    // Counts what was marked; the tick calls it.
    void UpdateStatusStrings();
    // The counts, as the status bar shows them.
    String StatusText() const;
    // There is nothing to count any more.
    void ForgetStatus();

    // By what the command line, the options and the Master say. `masterRequest`: -1
    // for none. Any thread.
    void _StartComponent(int component, int masterRequest);
    // At the end of the program.
    void _StopComponent(int component);
    // The Master's last word on what starts; null before the first. Any thread.
    boost::shared_ptr<MasterDefaultStartupMsg> MasterDefaultStartup() const;
    void ForgetMasterDefaultStartup();

protected:
    // What a program with windows does beside. The first runs on the main thread, the
    // others on the message thread.
    virtual void UpdateStatusBar() {}
    // The Master was heard of: whoever is idle starts to wait anew.
    virtual void ResetIdleTime() {}
    virtual void OnRestrictionsChanged() {}
    virtual void ShowReport(String const& title, String const& text);

private:
    static void EmptyLists();

    void OnChangePoolEvt(ChangePoolEvt& event);
    void OnDeletePoolEvt(DeletePoolEvt& event);

    // Calls `handle` with each message of the kind T, on the message thread.
    template <class T, class Handle>
    void On(Handle handle) {
        static_assert((T::k_Ways & ToClients) != 0, "nobody sends this to a client");
        T::s_Signal.Connect(this, [handle](boost::shared_ptr<T> const& message) {
            _CallEntry const entry(T::k_Name, __FILE__, __LINE__);
            handle(*message);
        });
    }
    // The tables of what is heard.
    void HearJobs();
    void HearWork();
    void HearEngines();
    void HearMaster();

    void TakeDefaultStartup(MasterDefaultStartupMsg const& message);

    static std::atomic<FarmClient*> s_instance;

    MasterSettings m_master;

    // Main thread only.
    String m_engineStatus;
    String m_jobStatus;
    String m_workStatus;

    mutable CommonMutex m_startupMutex;
    boost::shared_ptr<MasterDefaultStartupMsg> m_masterStartup CK_GUARDED_BY(m_startupMutex);

    CommandLine* m_commandLineInUse = nullptr; // constant once the messages are connected
};

} // namespace vorlan
