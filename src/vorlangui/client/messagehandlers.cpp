// What the messages about Jobs, Engines, Pools and the Master do to the lists. All on
// the message thread.
#include "farmclient.h"
#include "model/enginelist.h"
#include "model/history.h"
#include "model/joblist.h"
#include "model/worklist.h"
#include "outside.h"

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <vorlan/failures.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>

namespace vorlan {

namespace {

void SLogMissingTypeID(String const& text, UID const& type) { LogWarning(text + ": {" + type.ToString() + "}"); }

} // namespace

void FarmClient::OnJobMsg(boost::shared_ptr<JobMsg> const& message) {
    CALL_ENTRY();
    JobList::Get().InsertJob(message->job);
}

void FarmClient::OnFinishedJobMsg(boost::shared_ptr<FinishedJobMsg> const& message) {
    CALL_ENTRY();
    if (!message->job)
        return;
    JobList::Get().InsertJob(message->job);
    FinishedJobEvt(message->job).Trigger();
}

void FarmClient::OnDeleteJobMsg(boost::shared_ptr<DeleteJobMsg> const& message) {
    CALL_ENTRY();
    JobList::Get().RemoveJob(message->job);
    WorkList::Get().RemoveJob(message->job);
}

void FarmClient::OnJobParameterMsg(boost::shared_ptr<JobParameterMsg> const& message) {
    CALL_ENTRY();
    if (JobList::Get().UpdateJob(message->job, message->name, message->value))
        return;
    // The value has overtaken its Job.
    auto request = GetJobInfoMsg::New();
    request->AddID(message->job);
    request->wantJob = true;
    request->wantHistory = true;
    SendToMaster(request);
}

void FarmClient::OnJobHistoryMsg(boost::shared_ptr<JobHistoryMsg> const& message) {
    CALL_ENTRY();
    boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(message->job);
    if (!info)
        return;
    LogStatus("Received full history for Job:  {" + message->job.ToString() + "}  " +
              (info->job ? info->job->Name() : String()));
    info->SwapHistory(message->history);
    // The old one is as long as the new one, and this thread has more to do.
    DeleteHistory const doomed(message->history);
}

void FarmClient::OnEngineMsg(boost::shared_ptr<EngineMsg> const& message) {
    CALL_ENTRY();
    EngineList::Get().InsertEngine(message->engine);
}

void FarmClient::OnRemoveEngineMsg(boost::shared_ptr<RemoveEngineMsg> const& message) {
    CALL_ENTRY();
    EngineList::Get().RemoveEngine(message->engine);
    for (UID const& job : WorkList::Get().RemoveEngine(message->engine)) {
        NoteWorkEnded(job);
        JobList::Get().RefreshJob(job);
    }
}

void FarmClient::OnEngineOptionsMsg(boost::shared_ptr<EngineOptionsMsg> const& message) {
    CALL_ENTRY();
    if (!JobFactory::s_JobFactory->GetProduct(message->product))
        SLogMissingTypeID("Received options for unknown Product", message->product);
    for (UID const& id : message->engines) {
        boost::shared_ptr<EngineInfo> const engine = EngineList::Get().FindEngine(id);
        if (!engine) {
            LogWarning("  Cannot set options for unknown Engine: " + id.ToString());
            continue;
        }
        RWLock::Writer const writer(engine->lock);
        engine->options[message->product] = message->options;
    }
}

void FarmClient::OnResetEngineFailuresMsg(boost::shared_ptr<ResetEngineFailuresMsg> const& message) {
    CALL_ENTRY();
    std::vector<UID> jobs;
    Failures::JobsFailedOnEngine(message->engine, jobs);
    Failures::ResetEngineFailures(message->engine);
    EngineList::Get().RefreshEngine(message->engine);
    for (UID const& job : jobs)
        JobList::Get().RefreshJob(job);
}

void FarmClient::OnResetJobFailuresMsg(boost::shared_ptr<ResetJobFailuresMsg> const& message) {
    CALL_ENTRY();
    std::vector<UID> engines;
    Failures::EnginesFailedOnJob(message->job, engines);
    Failures::ResetJobFailures(message->job);
    JobList::Get().RefreshJob(message->job);
    for (UID const& engine : engines)
        EngineList::Get().RefreshEngine(engine);
}

void FarmClient::OnPoolMsg(boost::shared_ptr<PoolMsg> const& message) {
    CALL_ENTRY();
    for (auto const& [pool, name] : message->pools)
        ChangePoolEvt(pool, name).Trigger();
}

void FarmClient::OnDeletePoolMsg(boost::shared_ptr<DeletePoolMsg> const& message) {
    CALL_ENTRY();
    std::map<UID, String> const pools = Pools();
    auto const found = pools.find(message->pool);
    bool const known = found != pools.end();
    DeletePoolEvt(message->pool, known ? found->second : message->pool.ToString(), known).Trigger();
}

void FarmClient::OnSetMasterOptionsMsg(boost::shared_ptr<SetMasterOptionsMsg> const& message) {
    CALL_ENTRY();
    UID product;
    if (UID::FromString(message->section, product))
        m_master.SetProductOptions(product, message->options);
    else if (message->section == o_Distribution)
        m_master.MergeOptions(message->options);
}

void FarmClient::OnSetMasterLimitsMsg(boost::shared_ptr<SetMasterLimitsMsg> const& message) {
    CALL_ENTRY();
    m_master.SetLimits(message->limits);
}

void FarmClient::OnSetMasterRestrictionsMsg(boost::shared_ptr<SetMasterRestrictionsMsg> const& message) {
    CALL_ENTRY();
    m_master.SetRestrictions(message->restrictions);
    OnRestrictionsChanged();
}

void FarmClient::OnDispatchResultMsg(boost::shared_ptr<DispatchResultMsg> const& message) {
    CALL_ENTRY();
    ShowReport("Dispatch Report", message->report);
}

void FarmClient::OnMasterInfoMsg(boost::shared_ptr<MasterInfoMsg> const&) {
    CALL_ENTRY();
    ResetIdleTime();
}

} // namespace vorlan
