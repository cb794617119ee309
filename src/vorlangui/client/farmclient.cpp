#include "farmclient.h"

#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"
#include "outside.h"
#include "statustext.h"

#include <array>
#include <corekit/callentry.h>
#include <corekit/log.h>
#include <corekit/tick.h>
#include <vorlan/keys.h>

namespace vorlan {

std::atomic<FarmClient*> FarmClient::s_instance{nullptr};

FarmClient::FarmClient() {
    s_instance.store(this, std::memory_order_release);
    // The lists hear messages of their own, ahead of this object's handlers.
    JobList::Get();
    EngineList::Get();
    WorkList::Get();
    Tick::s_Timer0250.Connect(this, &FarmClient::UpdateStatusStrings);
}

FarmClient::~FarmClient() {
    DisconnectAll();
    s_instance.store(nullptr, std::memory_order_release);
}

void FarmClient::ConnectMessages() {
    ChangePoolEvt::Signal().Connect(this, &FarmClient::OnChangePoolEvt);
    DeletePoolEvt::Signal().Connect(this, &FarmClient::OnDeletePoolEvt);
    AssignedWorkMsg::s_Signal.Connect(this, &FarmClient::OnAssignedWorkMsg);
    DeleteJobMsg::s_Signal.Connect(this, &FarmClient::OnDeleteJobMsg);
    DeletePoolMsg::s_Signal.Connect(this, &FarmClient::OnDeletePoolMsg);
    DispatchResultMsg::s_Signal.Connect(this, &FarmClient::OnDispatchResultMsg);
    EndEngineInfoMsg::s_Signal.Connect(this, &FarmClient::OnEndEngineInfoMsg);
    EndJobInfoMsg::s_Signal.Connect(this, &FarmClient::OnEndJobInfoMsg);
    EngineMsg::s_Signal.Connect(this, &FarmClient::OnEngineMsg);
    EngineOptionsMsg::s_Signal.Connect(this, &FarmClient::OnEngineOptionsMsg);
    FinishedJobMsg::s_Signal.Connect(this, &FarmClient::OnFinishedJobMsg);
    FinishedWorkMsg::s_Signal.Connect(this, &FarmClient::OnFinishedWorkMsg);
    JobHistoryMsg::s_Signal.Connect(this, &FarmClient::OnJobHistoryMsg);
    JobMsg::s_Signal.Connect(this, &FarmClient::OnJobMsg);
    JobParameterMsg::s_Signal.Connect(this, &FarmClient::OnJobParameterMsg);
    MasterDefaultStartupMsg::s_Signal.Connect(this, &FarmClient::OnMasterDefaultStartupMsg);
    MasterInfoMsg::s_Signal.Connect(this, &FarmClient::OnMasterInfoMsg);
    PoolMsg::s_Signal.Connect(this, &FarmClient::OnPoolMsg);
    RemoveEngineMsg::s_Signal.Connect(this, &FarmClient::OnRemoveEngineMsg);
    ResetJobFailuresMsg::s_Signal.Connect(this, &FarmClient::OnResetJobFailuresMsg);
    ResetEngineFailuresMsg::s_Signal.Connect(this, &FarmClient::OnResetEngineFailuresMsg);
    SetMasterLimitsMsg::s_Signal.Connect(this, &FarmClient::OnSetMasterLimitsMsg);
    SetMasterOptionsMsg::s_Signal.Connect(this, &FarmClient::OnSetMasterOptionsMsg);
    SetMasterRestrictionsMsg::s_Signal.Connect(this, &FarmClient::OnSetMasterRestrictionsMsg);
    StartedWorkMsg::s_Signal.Connect(this, &FarmClient::OnStartWorkMsg);
    StartEngineInfoMsg::s_Signal.Connect(this, &FarmClient::OnStartEngineInfoMsg);
    StartJobInfoMsg::s_Signal.Connect(this, &FarmClient::OnStartJobInfoMsg);
    WorkHistoryElementMsg::s_Signal.Connect(this, &FarmClient::OnJobHistoryElementMsg);
    WorkParameterChangedMsg::s_Signal.Connect(this, &FarmClient::OnWorkParameterChangedMsg);
}

void FarmClient::ClearLists() {
    CALL_ENTRY();
    LogStatus("Clearing all data");
    EngineList::Get().Clear();
    JobList::Get().Clear();
    WorkList::Get().Clear();
}

void FarmClient::Reload() {
    CALL_ENTRY();
    ClearLists();
    {
        // Nobody tells of those that went away while there was no connection.
        CommonMutex::Lock const lock(m_poolMutex);
        m_pools.clear();
    }
    LogStatus("Requesting all data from Master");
    auto notify = NotifyOnEventMsg::New();
    notify->AddAll();
    notify->AddID(MasterLogsMsg::s_Type);
    notify->AddID(EngineHistoryElementMsg::s_Type);
    SendToMaster(notify);
    SendToMaster(GetMasterOptionsMsg::New());
    SendToMaster(GetMasterLimitsMsg::New());
    SendToMaster(GetMasterRestrictionsMsg::New());
    SendToMaster(GetDefaultEngineMsg::New());
    SendToMaster(GetFailureArchiveMsg::New());
    SendToMaster(GetPoolsMsg::New());
    auto engines = GetEngineInfoMsg::New();
    engines->AddAll();
    engines->wantHistory = true;
    engines->wantOptions = true;
    engines->wantState = true;
    SendToMaster(engines);
    auto jobs = GetJobInfoMsg::New();
    jobs->AddAll();
    jobs->wantJob = true;
    SendToMaster(jobs);
}

Engine const* FarmClient::FindEngineToKeep(UID const& id) const {
    struct Kept {
        std::array<boost::shared_ptr<EngineInfo>, k_KeptEngines> engines;
        size_t next = 0;
    };
    thread_local Kept t_kept;
    boost::shared_ptr<EngineInfo> engine = EngineList::Get().FindEngine(id);
    if (!engine)
        return nullptr;
    boost::shared_ptr<EngineInfo>& place = t_kept.engines[t_kept.next++ % k_KeptEngines];
    place = std::move(engine);
    return place.get();
}

String FarmClient::NameOfPool(UID const& pool) const {
    if (pool.IsNull())
        return m_master.Option(o_UseWholeSystem).Bool(o_UseWholeSystemDefault) ? "Whole System" : "None";
    {
        CommonMutex::Lock const lock(m_poolMutex);
        if (auto const found = m_pools.find(pool); found != m_pools.end())
            return found->second;
    }
    boost::shared_ptr<EngineInfo> const engine = EngineList::Get().FindEngine(pool);
    return engine ? engine->Name() : pool.ToString();
}

std::map<UID, String> FarmClient::Pools() const {
    CommonMutex::Lock const lock(m_poolMutex);
    return m_pools;
}

void FarmClient::OnChangePoolEvt(ChangePoolEvt& event) {
    LogInfo("Added pool " + event.name);
    CommonMutex::Lock const lock(m_poolMutex);
    m_pools[event.pool] = event.name;
}

void FarmClient::OnDeletePoolEvt(DeletePoolEvt& event) {
    LogInfo("Deleted pool " + event.name);
    CommonMutex::Lock const lock(m_poolMutex);
    m_pools.erase(event.pool);
}

void FarmClient::Mark(StatusFlag flag) {
    uint32_t const bit = static_cast<uint32_t>(flag);
    // Most changes find it marked: then nobody's cache line moves.
    if ((m_statusFlags.load(std::memory_order_acquire) & bit) == 0)
        m_statusFlags.fetch_or(bit, std::memory_order_acq_rel);
}

void FarmClient::Tell(StatusFlag flag) {
    if (FarmClient* const mirror = Get())
        mirror->Mark(flag);
}

void FarmClient::UpdateStatusStrings() {
    uint32_t const flags = m_statusFlags.exchange(0, std::memory_order_acq_rel);
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

String FarmClient::StatusText() const { return JoinedStatus(m_engineStatus, m_jobStatus, m_workStatus); }

void FarmClient::ForgetStatus() {
    m_engineStatus = String();
    m_jobStatus = String();
    m_workStatus = String();
    m_statusFlags.store(0, std::memory_order_release);
    UpdateStatusBar();
}

void FarmClient::ShowReport(String const&, String const&) {}

String PoolName(UID const& pool) {
    FarmClient const* const mirror = FarmClient::Get();
    return mirror ? mirror->NameOfPool(pool) : pool.ToString();
}

} // namespace vorlan
