#include "vorlangui.h"

#include "core/componentcontrol.h"
#include "core/outside.h"
#include "core/statustext.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"
#include "window/mainwindow.h"

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <corekit/threadpool.h>
#include <vorlan/components.h>
#include <vorlan/keys.h>
#include <wx/wxtimed.h>
#include <wx/wxvtext.h>

namespace vorlan {

std::atomic<VorlanGui*> VorlanGui::s_instance{nullptr};

VorlanGui::VorlanGui(Signals signals) : wxVorlanApp(signals) {
    s_instance.store(this, std::memory_order_release);
    // The lists hear messages of their own, ahead of this object's handlers.
    JobList::Get();
    EngineList::Get();
    WorkList::Get();
    wxTimed::s_Timer0250.Connect(this, &VorlanGui::UpdateStatusStrings);
    Bind(wxVORLAN_CONNECT_EVENT, &VorlanGui::OnMessengerNotify, this);
    Bind(wxVORLAN_DISCONNECT_EVENT, &VorlanGui::OnMessengerDisconnectedEvt, this);
}

VorlanGui::~VorlanGui() {
    DisconnectAll();
    s_instance.store(nullptr, std::memory_order_release);
}

bool VorlanGui::Startup(CommandLine& commandLine) {
    CALL_ENTRY();
    m_commandLineInUse = &commandLine;
    ConnectMessages();
    ThreadPool::Initialize();
    return VorlanClientApp::Startup(commandLine);
}

void VorlanGui::ConnectMessages() {
    VorlanAppStartupEvt::Signal().Connect(this, &VorlanGui::OnVorlanAppStartupEvt);
    ChangePoolEvt::Signal().Connect(this, &VorlanGui::OnChangePoolEvt);
    DeletePoolEvt::Signal().Connect(this, &VorlanGui::OnDeletePoolEvt);
    AssignedWorkMsg::s_Signal.Connect(this, &VorlanGui::OnAssignedWorkMsg);
    DeleteJobMsg::s_Signal.Connect(this, &VorlanGui::OnDeleteJobMsg);
    DeletePoolMsg::s_Signal.Connect(this, &VorlanGui::OnDeletePoolMsg);
    DispatchResultMsg::s_Signal.Connect(this, &VorlanGui::OnDispatchResultMsg);
    EndEngineInfoMsg::s_Signal.Connect(this, &VorlanGui::OnEndEngineInfoMsg);
    EndJobInfoMsg::s_Signal.Connect(this, &VorlanGui::OnEndJobInfoMsg);
    EngineMsg::s_Signal.Connect(this, &VorlanGui::OnEngineMsg);
    EngineOptionsMsg::s_Signal.Connect(this, &VorlanGui::OnEngineOptionsMsg);
    FinishedJobMsg::s_Signal.Connect(this, &VorlanGui::OnFinishedJobMsg);
    FinishedWorkMsg::s_Signal.Connect(this, &VorlanGui::OnFinishedWorkMsg);
    JobHistoryMsg::s_Signal.Connect(this, &VorlanGui::OnJobHistoryMsg);
    JobMsg::s_Signal.Connect(this, &VorlanGui::OnJobMsg);
    JobParameterMsg::s_Signal.Connect(this, &VorlanGui::OnJobParameterMsg);
    MasterDefaultStartupMsg::s_Signal.Connect(this, &VorlanGui::OnMasterDefaultStartupMsg);
    MasterInfoMsg::s_Signal.Connect(this, &VorlanGui::OnMasterInfoMsg);
    PoolMsg::s_Signal.Connect(this, &VorlanGui::OnPoolMsg);
    RemoveEngineMsg::s_Signal.Connect(this, &VorlanGui::OnRemoveEngineMsg);
    ResetJobFailuresMsg::s_Signal.Connect(this, &VorlanGui::OnResetJobFailuresMsg);
    ResetEngineFailuresMsg::s_Signal.Connect(this, &VorlanGui::OnResetEngineFailuresMsg);
    SetMasterLimitsMsg::s_Signal.Connect(this, &VorlanGui::OnSetMasterLimitsMsg);
    SetMasterOptionsMsg::s_Signal.Connect(this, &VorlanGui::OnSetMasterOptionsMsg);
    SetMasterRestrictionsMsg::s_Signal.Connect(this, &VorlanGui::OnSetMasterRestrictionsMsg);
    StartedWorkMsg::s_Signal.Connect(this, &VorlanGui::OnStartWorkMsg);
    StartEngineInfoMsg::s_Signal.Connect(this, &VorlanGui::OnStartEngineInfoMsg);
    StartJobInfoMsg::s_Signal.Connect(this, &VorlanGui::OnStartJobInfoMsg);
    WorkHistoryElementMsg::s_Signal.Connect(this, &VorlanGui::OnJobHistoryElementMsg);
    WorkParameterChangedMsg::s_Signal.Connect(this, &VorlanGui::OnWorkParameterChangedMsg);
}

void VorlanGui::Cleanup() {
    CALL_ENTRY();
    for (int const component : k_StopOrder)
        _StopComponent(component);
    {
        CommonMutex::Lock const lock(m_startupMutex);
        m_masterStartup.reset();
    }
    VorlanClientApp::Cleanup();
}

bool VorlanGui::OnException(Exception* exception) {
    CALL_ENTRY();
    DisableMessageProcessing();
    VorlanClientApp::OnException(exception);
    if (m_window)
        m_window->ClearData();
    return false;
}

boost::shared_ptr<Job> VorlanGui::GetJobByID(UID const& id) { return Jobs::GetJobA(id); }

Engine const& VorlanGui::GetEngineByID(UID const& id) {
    thread_local boost::shared_ptr<EngineInfo> t_answered;
    t_answered = EngineList::Get().FindEngine(id);
    return t_answered ? *t_answered : VorlanApp::GetEngineByID(id);
}

corekit::vector<UID> VorlanGui::GetAllJobs() { return Jobs::GetAllJobs(); }

size_t VorlanGui::GetAllEngines(EngineSet& engines) {
    engines.clear();
    for (auto const& [id, info] : EngineList::Get().Snapshot())
        engines.insert(*info);
    return engines.size();
}

String VorlanGui::GetPoolName(UID const& pool) {
    if (pool.IsNull()) {
        String const whole = m_window ? m_window->Master().Option(o_UseWholeSystem) : String();
        return whole.Bool(true) ? "Whole System" : "None";
    }
    {
        CommonMutex::Lock const lock(m_poolMutex);
        if (auto const found = m_pools.find(pool); found != m_pools.end())
            return found->second;
    }
    boost::shared_ptr<EngineInfo> const engine = EngineList::Get().FindEngine(pool);
    return engine ? engine->Name() : pool.ToString();
}

corekit::map<UID, String> VorlanGui::Pools() const {
    CommonMutex::Lock const lock(m_poolMutex);
    return m_pools;
}

void VorlanGui::OnChangePoolEvt(ChangePoolEvt& event) {
    LogInfo("Added pool " + event.name);
    CommonMutex::Lock const lock(m_poolMutex);
    m_pools[event.pool] = event.name;
}

void VorlanGui::OnDeletePoolEvt(DeletePoolEvt& event) {
    LogInfo("Deleted pool " + event.name);
    CommonMutex::Lock const lock(m_poolMutex);
    m_pools.erase(event.pool);
}

void VorlanGui::Mark(StatusFlag flag) {
    CommonMutex::Lock const lock(m_statusMutex);
    m_statusFlags |= static_cast<uint32_t>(flag);
}

void VorlanGui::Tell(StatusFlag flag) {
    if (VorlanGui* const gui = Get())
        gui->Mark(flag);
}

void VorlanGui::UpdateStatusStrings() {
    uint32_t flags = 0;
    {
        CommonMutex::Lock const lock(m_statusMutex);
        flags = std::exchange(m_statusFlags, 0);
    }
    if (flags == 0)
        return;
    auto marked = [flags](StatusFlag flag) { return (flags & static_cast<uint32_t>(flag)) != 0; };
    if (marked(StatusFlag::Engines)) {
        EngineList::Map const engines = EngineList::Get().Snapshot();
        size_t available = 0;
        size_t active = 0;
        for (auto const& [id, info] : engines) {
            available += info->Online();
            active += WorkList::Get().GetEngineCurrentCount(id) != 0;
        }
        m_engineStatus = EngineStatusText(engines.size(), available, active);
    }
    if (marked(StatusFlag::Jobs)) {
        size_t total = 0;
        size_t active = 0;
        size_t finished = 0;
        Jobs::GetCounts(total, active, finished);
        m_jobStatus = JobStatusText(total, active, finished);
    }
    if (marked(StatusFlag::Work))
        m_workStatus = WorkStatusText(WorkList::Get().Count());
    UpdateStatusBar();
}

void VorlanGui::UpdateStatusBar() {
    if (!m_window || !m_window->GetStatusBar())
        return;
    m_window->SetStatusText(wxvText(JoinedStatus(m_engineStatus, m_jobStatus, m_workStatus)), 0);
}

void VorlanGui::OnMessengerNotify(wxCommandEvent& event) {
    CALL_ENTRY();
    event.Skip();
    if (!Executable::Running() || !m_window)
        return;
    m_window->ShowConnection("Connected to " + Outside::Get().MasterMachineName());
    m_window->BuildMenus(true);
    m_window->RefreshData();
    m_window->ShowView(MainWindow::k_ViewMain);
}

void VorlanGui::OnMessengerDisconnectedEvt(wxCommandEvent& event) {
    CALL_ENTRY();
    event.Skip();
    if (!m_window)
        return;
    m_window->ShowConnection(String());
    m_window->BuildMenus(false);
    m_window->ClearData();
    m_window->ShowView(MainWindow::k_ViewSearching);
    m_engineStatus = String();
    m_jobStatus = String();
    m_workStatus = String();
    {
        // What the clearing has marked is nothing to count.
        CommonMutex::Lock const lock(m_statusMutex);
        m_statusFlags = 0;
    }
    UpdateStatusBar();
    Outside::Get().PurgeMessageQueues();
}

String PoolName(UID const& pool) {
    VorlanGui* const gui = VorlanGui::Get();
    return gui ? gui->GetPoolName(pool) : pool.ToString();
}

} // namespace vorlan
