#include "farmclient.h"

#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/pooltable.h"
#include "model/worklist.h"
#include "options.h"
#include "outside/outside.h"
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
    EngineList::Get().SetMostLogLines([] { return k_OptionMaxEngineHistoryItems.Get(); });
    WorkList::Get();
    PoolTable::Get().Clear();
    StatusFlags::TakeMarked();
    Tick::s_Timer0250.Connect(this, &FarmClient::UpdateStatusStrings);
}

FarmClient::~FarmClient() {
    DisconnectAll();
    s_instance.store(nullptr, std::memory_order_release);
}

void FarmClient::ConnectMessages() {
    ChangePoolEvt::Signal().Connect(this, &FarmClient::OnChangePoolEvt);
    DeletePoolEvt::Signal().Connect(this, &FarmClient::OnDeletePoolEvt);
    HearJobs();
    HearWork();
    HearEngines();
    HearMaster();
}

void FarmClient::ClearLists() {
    CALL_ENTRY();
    JobList::Get().Lists().ForgetRequests();
    EngineList::Get().Lists().ForgetRequests();
    EmptyLists();
}

void FarmClient::EmptyLists() {
    LogStatus("Clearing all data");
    EngineList::Get().Clear();
    JobList::Get().Clear();
    WorkList::Get().Clear();
}

void FarmClient::Reload() {
    CALL_ENTRY();
    EngineList::Get().Lists().NoteRequest(true);
    JobList::Get().Lists().NoteRequest(true);
    EmptyLists();
    // Nobody tells of what went away while there was no connection, and this may be
    // another Master.
    PoolTable::Get().Clear();
    m_master.Clear();
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

void FarmClient::OnChangePoolEvt(ChangePoolEvt& event) {
    LogInfo("Added pool " + event.name);
    PoolTable::Get().Set(event.pool, event.name);
}

void FarmClient::OnDeletePoolEvt(DeletePoolEvt& event) {
    LogInfo("Deleted pool " + event.name);
    PoolTable::Get().Remove(event.pool);
}

void FarmClient::UpdateStatusStrings() {
    uint32_t const flags = StatusFlags::TakeMarked();
    if (flags == 0)
        return;
    auto marked = [flags](StatusFlag flag) { return (flags & static_cast<uint32_t>(flag)) != 0; };
    // The former counts stay while a load has brought nothing yet.
    bool const jobsCome = JobList::Get().Lists().IsLoading();
    auto const show = [](StatusFlag flag, bool waits, String& status, String text) {
        if (waits && !status.Empty())
            StatusFlags::Mark(flag);
        else
            status = std::move(text);
    };
    if (marked(StatusFlag::Engines)) {
        EngineList::Map const engines = EngineList::Get().Snapshot();
        size_t available = 0;
        size_t active = 0;
        for (auto const& [id, info] : engines) {
            available += info->Online();
            active += WorkList::Get().GetEngineCurrentCount(id) != 0;
        }
        show(StatusFlag::Engines, engines.empty() && EngineList::Get().Lists().IsLoading(), m_engineStatus,
             EngineStatusText(engines.size(), available, active));
    }
    if (marked(StatusFlag::Jobs)) {
        size_t total = 0;
        size_t active = 0;
        size_t finished = 0;
        Jobs::GetCounts(total, active, finished);
        show(StatusFlag::Jobs, total == 0 && jobsCome, m_jobStatus, JobStatusText(total, active, finished));
    }
    if (marked(StatusFlag::Work)) {
        size_t const total = WorkList::Get().Count();
        show(StatusFlag::Work, total == 0 && jobsCome, m_workStatus, WorkStatusText(total));
    }
    UpdateStatusBar();
}

String FarmClient::StatusText() const { return JoinedStatus(m_engineStatus, m_jobStatus, m_workStatus); }

void FarmClient::ForgetStatus() {
    m_engineStatus = String();
    m_jobStatus = String();
    m_workStatus = String();
    StatusFlags::TakeMarked();
    UpdateStatusBar();
}

void FarmClient::ShowReport(String const&, String const&) {}

} // namespace vorlan
