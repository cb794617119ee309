#pragma once

#include "submit/repeatfile.h"

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <corekit/commonmutex.h>
#include <corekit/containers.h>
#include <corekit/signal.h>
#include <vorlan/events.h>
#include <vorlan/messages.h>
#include <wx/wxvorlanapp.h>

class wxWindow;

namespace vorlan {

class MainWindow;
class JobInfo;

// What the status bar must count anew; bits.
enum class StatusFlag : uint32_t { Engines = 1, Jobs = 2, Work = 4 };

// VorlanGui is the application object of the client: it connects the messages to their
// handlers, makes the MainWindow, and starts and stops the components.
// Owner: the toolkit. One exists.
// Works with: JobList, EngineList, WorkList, MainWindow, Outside.
// Thread: the GUI thread, but for the handlers of messages and events (On...Msg,
// On...PoolEvt), which run on the message thread and touch no window, and what says
// otherwise.
class VorlanGui : public wxVorlanApp, public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    explicit VorlanGui(Signals signals = Signals::Handle);
    ~VorlanGui() override;

    // Null before its construction and in programs without one. Any thread.
    static VorlanGui* Get() { return s_instance.load(std::memory_order_acquire); }
    // The status bar must count these anew. Any thread; without an instance nothing.
    static void Tell(StatusFlag flag);

    bool Startup(CommandLine& commandLine) override;
    void Cleanup() override;
    // The handlers may stop at any moment then, so the lists are emptied.
    bool OnException(Exception* exception) override;

    boost::shared_ptr<Job> GetJobByID(UID const& id) override;
    // The reference holds until the calling thread asks again.
    Engine const& GetEngineByID(UID const& id) override;
    corekit::vector<UID> GetAllJobs() override;
    size_t GetAllEngines(EngineSet& engines) override;
    // For people; a Pool, else an Engine, else the id as text. Any thread.
    String GetPoolName(UID const& pool) override;
    corekit::map<UID, String> Pools() const;
    String GetClientName() override { return "VorlanGui"; }

    void UpdateEngineStatus() { Mark(StatusFlag::Engines); }
    void UpdateJobStatus() { Mark(StatusFlag::Jobs); }
    void UpdateWorkStatus() { Mark(StatusFlag::Work); }
    // Counts what was marked; the tick calls it.
    void UpdateStatusStrings();
    void UpdateStatusBar();

    // By what the command line, the options and the Master say. `masterRequest`: -1
    // for none. Any thread.
    void _StartComponent(int component, int masterRequest);
    // At the end of the program.
    void _StopComponent(int component);
    // The Master's last word on what starts; null before the first.
    boost::shared_ptr<MasterDefaultStartupMsg> MasterDefaultStartup() const;

    vorlan::RepeatFile& RepeatJobs() { return m_repeatFile; }
    MainWindow* Window() const { return m_window; }
    // The window is going.
    void ForgetWindow() { m_window = nullptr; }

    void OnVorlanAppStartupEvt(VorlanAppStartupEvt& event);

private:
    friend class GuiTester;

    void ConnectMessages();
    bool DecideEngineMode();
    void LoadRepeatFile();
    void Mark(StatusFlag flag);

    void OnMessengerNotify(wxCommandEvent& event);
    void OnMessengerDisconnectedEvt(wxCommandEvent& event);

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
    // To the window's commands, on the GUI thread. Any thread.
    void PostMenu(int id, String const& text = String());

    static std::atomic<VorlanGui*> s_instance;

    mutable CommonMutex m_poolMutex{LockRank::PoolTable};
    corekit::map<UID, String> m_pools; // guarded by m_poolMutex

    vorlan::RepeatFile m_repeatFile{20};

    // Set before the Messenger starts and cleared after it has ended.
    MainWindow* m_window = nullptr;

    String m_engineStatus;
    String m_jobStatus;
    String m_workStatus;

    CommonMutex m_statusMutex;
    uint32_t m_statusFlags = 0; // guarded by m_statusMutex

    mutable CommonMutex m_startupMutex;
    boost::shared_ptr<MasterDefaultStartupMsg> m_masterStartup; // guarded by m_startupMutex

    CommandLine* m_commandLineInUse = nullptr; // constant after Startup
};

// The name of a Pool for people; the id as text while there is no application.
String PoolName(UID const& pool);

} // namespace vorlan
