// What the messages about Jobs, Engines, Pools and the Master do to the lists: a row a kind.
// All on the message thread.
#include "farmclient.h"
#include "model/enginelist.h"
#include "model/history.h"
#include "model/joblist.h"
#include "model/pooltable.h"
#include "model/worklist.h"
#include "outside/outside.h"

#include <corekit/log.h>
#include <vorlan/failures.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>

namespace vorlan {

namespace {

void SLogMissingTypeID(String const& text, UID const& type) { LogWarning(text + ": {" + type.ToString() + "}"); }

void UpdateJobValue(JobParameterMsg const& message) {
    if (JobList::Get().UpdateJob(message.job, message.name, message.value))
        return;
    // The value has overtaken its Job.
    auto request = GetJobInfoMsg::New();
    request->AddID(message.job);
    request->wantJob = true;
    request->wantHistory = true;
    JobList::Get().Lists().NoteRequest(false);
    SendToMaster(request);
}

void TakeJobHistory(JobHistoryMsg& message) {
    boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(message.job);
    if (!info)
        return;
    LogStatus("Received full history for Job:  {" + message.job.ToString() + "}  " +
              (info->job ? info->job->Name() : String()));
    info->SwapHistory(message.history);
    // The old one is as long as the new one, and this thread has more to do.
    DeleteHistory const doomed(message.history);
}

void TakeEngineOptions(EngineOptionsMsg const& message) {
    if (!JobFactory::s_JobFactory->GetProduct(message.product))
        SLogMissingTypeID("Received options for unknown Product", message.product);
    for (UID const& id : message.engines) {
        boost::shared_ptr<EngineInfo> const engine = EngineList::Get().FindEngine(id);
        if (!engine) {
            LogWarning("  Cannot set options for unknown Engine: " + id.ToString());
            continue;
        }
        RWLock::Writer const writer(engine->lock);
        engine->options[message.product] = message.options;
    }
}

void ResetEngineFailures(UID const& engine) {
    std::vector<UID> jobs;
    Failures::JobsFailedOnEngine(engine, jobs);
    Failures::ResetEngineFailures(engine);
    EngineList::Get().RefreshEngine(engine);
    for (UID const& job : jobs) {
        JobList::Get().RefreshJob(job);
        // The last thing that was known of a Job that is gone.
        if (!Jobs::FindJobInfo(job))
            Failures::RemoveJob(job);
    }
}

void ForgetEngine(UID const& engine) {
    std::vector<UID> jobs;
    Failures::JobsFailedOnEngine(engine, jobs);
    Failures::RemoveEngine(engine);
    EngineList::Get().RemoveEngine(engine);
    for (UID const& job : WorkList::Get().RemoveEngine(engine)) {
        JobList::Get().NoteWorkEnded(job);
        jobs.push_back(job);
    }
    for (UID const& job : jobs)
        JobList::Get().RefreshJob(job);
}

void ResetJobFailures(UID const& job) {
    std::vector<UID> engines;
    Failures::EnginesFailedOnJob(job, engines);
    Failures::ResetJobFailures(job);
    JobList::Get().RefreshJob(job);
    for (UID const& engine : engines)
        EngineList::Get().RefreshEngine(engine);
}

} // namespace

void FarmClient::HearJobs() {
    On<JobMsg>([](auto& m) { JobList::Get().InsertJob(m.job); });
    On<FinishedJobMsg>([](auto& m) {
        if (!m.job)
            return;
        JobList::Get().InsertJob(m.job);
        FinishedJobEvt(m.job).Trigger();
    });
    On<DeleteJobMsg>([](auto& m) {
        JobList::Get().RemoveJob(m.job);
        WorkList::Get().RemoveJob(m.job);
        Failures::RemoveJob(m.job);
    });
    On<JobParameterMsg>(&UpdateJobValue);
    On<JobHistoryMsg>(&TakeJobHistory);
    On<ResetJobFailuresMsg>([](auto& m) { ResetJobFailures(m.job); });
    // Each Job is taken as it comes. The units come with the Jobs.
    On<StartJobInfoMsg>([](auto&) {});
    On<EndJobInfoMsg>([](auto&) {
        JobList::Get().Lists().NoteAnswer();
        WorkList::Get().Lists().SetAllDirty();
    });
}

void FarmClient::HearEngines() {
    On<EngineMsg>([](auto& m) { EngineList::Get().InsertEngine(m.engine); });
    On<RemoveEngineMsg>([](auto& m) { ForgetEngine(m.engine); });
    On<EngineOptionsMsg>(&TakeEngineOptions);
    On<ResetEngineFailuresMsg>([](auto& m) { ResetEngineFailures(m.engine); });
    On<StartEngineInfoMsg>([](auto&) {});
    On<EndEngineInfoMsg>([](auto&) { EngineList::Get().Lists().NoteAnswer(); });
    On<PoolMsg>([](auto& m) {
        for (auto const& [pool, name] : m.pools)
            ChangePoolEvt(pool, name).Trigger();
    });
    On<DeletePoolMsg>([](auto& m) {
        std::map<UID, String> const pools = PoolTable::Get().All();
        auto const found = pools.find(m.pool);
        bool const known = found != pools.end();
        DeletePoolEvt(m.pool, known ? found->second : m.pool.ToString(), known).Trigger();
    });
}

void FarmClient::HearMaster() {
    On<SetMasterOptionsMsg>([this](auto& m) {
        UID product;
        if (UID::FromString(m.section, product))
            m_master.SetProductOptions(product, m.options);
        else if (m.section == o_Distribution) {
            m_master.MergeOptions(m.options);
            PoolTable::Get().SetUsesWholeSystem(m_master.Option(o_UseWholeSystem).Bool(o_UseWholeSystemDefault));
        }
    });
    On<SetMasterLimitsMsg>([this](auto& m) { m_master.SetLimits(m.limits); });
    On<SetMasterRestrictionsMsg>([this](auto& m) {
        m_master.SetRestrictions(m.restrictions);
        OnRestrictionsChanged();
    });
    On<DispatchResultMsg>([this](auto& m) { ShowReport("Dispatch Report", m.report); });
    On<MasterInfoMsg>([this](auto&) { ResetIdleTime(); });
    // The Master's lines stand among this program's own, so that one log tells it all.
    On<MasterLogsMsg>([](auto& m) {
        for (String const& line : m.lines)
            LogInfo("Master: " + line);
    });
    On<MasterDefaultStartupMsg>([this](auto& m) { TakeDefaultStartup(m); });
}

} // namespace vorlan
