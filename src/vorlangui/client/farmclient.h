#pragma once

#include "mastersettings.h"

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <corekit/commandline.h>
#include <corekit/commonmutex.h>
#include <corekit/signal.h>
#include <map>
#include <vorlan/engine.h>
#include <vorlan/events.h>
#include <vorlan/messages.h>

namespace vorlan {

// What the status bar must count anew; bits.
enum class StatusFlag : uint32_t { Engines = 1, Jobs = 2, Work = 4 };

// FarmClient is the client without its windows: it hears the Master's messages and keeps
// the lists, the Pools' names and the Master's settings by them.
// Owner: the program; VorlanGui derives from it. One exists.
// Works with: JobList, EngineList, WorkList, Outside, the 250 ms tick.
// Thread: the handlers of messages and events (On...Msg, On...PoolEvt) run on the
// message thread and touch no window; the rest on the main thread, but for what says
// otherwise.
class FarmClient : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    FarmClient();
    ~FarmClient() override;

    // Null before its construction and in programs without one. Any thread.
    static FarmClient* Get() { return s_instance.load(std::memory_order_acquire); }
    // The status bar must count these anew. Any thread; without an instance nothing.
    static void Tell(StatusFlag flag);

    // From now on the handlers are called. Once, before the Messenger starts.
    void ConnectMessages();
    // The program's own, whose switches say what is started. Null: none.
    void SetCommandLine(CommandLine* line) { m_commandLineInUse = line; }

    // Empties the lists.
    void ClearLists();
    // Empties the lists, forgets the Pools and asks the Master for everything.
    void Reload();

    // Any thread.
    MasterSettings& Master() { return m_master; }
    // For people; a Pool, else an Engine, else the id as text. Any thread.
    String NameOfPool(UID const& pool) const;
    std::map<UID, String> Pools() const;
    // Null if it is not known. Lives until the calling thread has asked for
    // k_KeptEngines others. Any thread.
    Engine const* FindEngineToKeep(UID const& id) const;
    static constexpr size_t k_KeptEngines = 16;

    // Any thread.
    void UpdateEngineStatus() { Mark(StatusFlag::Engines); }
    void UpdateJobStatus() { Mark(StatusFlag::Jobs); }
    void UpdateWorkStatus() { Mark(StatusFlag::Work); }
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
    friend class FarmClientTester;

    void Mark(StatusFlag flag);

    void OnChangePoolEvt(ChangePoolEvt& event);
    void OnDeletePoolEvt(DeletePoolEvt& event);

    void OnAssignedWorkMsg(boost::shared_ptr<AssignedWorkMsg> const& message);
    void OnDeleteJobMsg(boost::shared_ptr<DeleteJobMsg> const& message);
    void OnDeletePoolMsg(boost::shared_ptr<DeletePoolMsg> const& message);
    void OnDispatchResultMsg(boost::shared_ptr<DispatchResultMsg> const& message);
    void OnEndEngineInfoMsg(boost::shared_ptr<EndEngineInfoMsg> const&) {}
    void OnEndJobInfoMsg(boost::shared_ptr<EndJobInfoMsg> const&) {}
    void OnEngineMsg(boost::shared_ptr<EngineMsg> const& message);
    void OnEngineOptionsMsg(boost::shared_ptr<EngineOptionsMsg> const& message);
    void OnFinishedJobMsg(boost::shared_ptr<FinishedJobMsg> const& message);
    void OnFinishedWorkMsg(boost::shared_ptr<FinishedWorkMsg> const& message);
    void OnJobHistoryMsg(boost::shared_ptr<JobHistoryMsg> const& message);
    void OnJobMsg(boost::shared_ptr<JobMsg> const& message);
    void OnJobParameterMsg(boost::shared_ptr<JobParameterMsg> const& message);
    void OnMasterDefaultStartupMsg(boost::shared_ptr<MasterDefaultStartupMsg> const& message);
    void OnMasterInfoMsg(boost::shared_ptr<MasterInfoMsg> const& message);
    void OnPoolMsg(boost::shared_ptr<PoolMsg> const& message);
    void OnRemoveEngineMsg(boost::shared_ptr<RemoveEngineMsg> const& message);
    void OnResetJobFailuresMsg(boost::shared_ptr<ResetJobFailuresMsg> const& message);
    void OnResetEngineFailuresMsg(boost::shared_ptr<ResetEngineFailuresMsg> const& message);
    void OnSetMasterLimitsMsg(boost::shared_ptr<SetMasterLimitsMsg> const& message);
    void OnSetMasterOptionsMsg(boost::shared_ptr<SetMasterOptionsMsg> const& message);
    void OnSetMasterRestrictionsMsg(boost::shared_ptr<SetMasterRestrictionsMsg> const& message);
    void OnStartWorkMsg(boost::shared_ptr<StartedWorkMsg> const& message);
    void OnStartEngineInfoMsg(boost::shared_ptr<StartEngineInfoMsg> const&) {}
    void OnStartJobInfoMsg(boost::shared_ptr<StartJobInfoMsg> const&) {}
    void OnJobHistoryElementMsg(boost::shared_ptr<WorkHistoryElementMsg> const& message);
    void OnWorkParameterChangedMsg(boost::shared_ptr<WorkParameterChangedMsg> const& message);

    // Assigned and started work are taken in alike; the words are those of the log.
    struct TakenWork {
        char const* verb;
        bool namesParent; // an unknown Engine is reported under its Job's id
    };
    void TakeWork(boost::shared_ptr<Job> const& work, UID const& engine, TakenWork const& kind);

    // A unit of the Job is gone: it may have been the last one.
    static void NoteWorkEnded(UID const& job);

    static std::atomic<FarmClient*> s_instance;

    MasterSettings m_master;

    mutable CommonMutex m_poolMutex{LockRank::PoolTable};
    std::map<UID, String> m_pools CK_GUARDED_BY(m_poolMutex);

    std::atomic<uint32_t> m_statusFlags{0};

    // Main thread only.
    String m_engineStatus;
    String m_jobStatus;
    String m_workStatus;

    mutable CommonMutex m_startupMutex;
    boost::shared_ptr<MasterDefaultStartupMsg> m_masterStartup CK_GUARDED_BY(m_startupMutex);

    CommandLine* m_commandLineInUse = nullptr; // constant once the messages are connected
};

// The name of a Pool for people; the id as text while there is no FarmClient. Any thread.
String PoolName(UID const& pool);

} // namespace vorlan
