// What the messages about Jobs, Engines, Pools and the Master do to the lists. All on
// the message thread.
#include "core/enginemode.h"
#include "core/outside.h"
#include "model/enginelist.h"
#include "model/enginewatcher.h"
#include "model/joblist.h"
#include "model/jobwatcher.h"
#include "model/worklist.h"
#include "vorlangui.h"
#include "window/mainwindow.h"

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <vorlan/failures.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <wx/wxvtext.h>

namespace vorlan {

void VorlanGui::OnJobMsg(boost::shared_ptr<JobMsg> const& message) {
    CALL_ENTRY();
    JobList::Get().InsertJob(message->job);
}

void VorlanGui::OnFinishedJobMsg(boost::shared_ptr<FinishedJobMsg> const& message) {
    CALL_ENTRY();
    if (!message->job)
        return;
    JobList::Get().InsertJob(message->job);
    FinishedJobEvt(message->job).Trigger();
}

void VorlanGui::OnDeleteJobMsg(boost::shared_ptr<DeleteJobMsg> const& message) {
    CALL_ENTRY();
    JobList::Get().RemoveJob(message->job);
    WorkList::Get().RemoveJob(message->job);
}

void VorlanGui::OnJobParameterMsg(boost::shared_ptr<JobParameterMsg> const& message) {
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

void VorlanGui::OnJobHistoryMsg(boost::shared_ptr<JobHistoryMsg> const& message) {
    CALL_ENTRY();
    boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(message->job);
    if (!info)
        return;
    LogStatus("Received full history for Job:  {" + message->job.ToString() + "}  " +
              (info->job ? info->job->Name() : String()));
    RWLock::Writer const writer(info->lock);
    // The old one leaves with the message.
    info->history.Swap(message->history);
    JobWatcher::UpdateJob(message->job);
}

void VorlanGui::OnEngineMsg(boost::shared_ptr<EngineMsg> const& message) {
    CALL_ENTRY();
    EngineList::Get().InsertEngine(message->engine);
}

void VorlanGui::OnRemoveEngineMsg(boost::shared_ptr<RemoveEngineMsg> const& message) {
    CALL_ENTRY();
    EngineList::Get().RemoveEngine(message->engine);
    WorkList::Get().RemoveEngine(message->engine);
}

void VorlanGui::OnEngineOptionsMsg(boost::shared_ptr<EngineOptionsMsg> const& message) {
    CALL_ENTRY();
    if (!JobFactory::s_JobFactory->GetProduct(message->product))
        LogWarning("Received options for unknown Product: {" + message->product.ToString() + "}");
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

void VorlanGui::OnResetEngineFailuresMsg(boost::shared_ptr<ResetEngineFailuresMsg> const& message) {
    CALL_ENTRY();
    corekit::vector<UID> jobs;
    Failures::JobsFailedOnEngine(message->engine, jobs);
    Failures::ResetEngineFailures(message->engine);
    EngineList::Get().RefreshEngine(message->engine);
    for (UID const& job : jobs)
        JobList::Get().RefreshJob(job);
}

void VorlanGui::OnResetJobFailuresMsg(boost::shared_ptr<ResetJobFailuresMsg> const& message) {
    CALL_ENTRY();
    corekit::vector<UID> engines;
    Failures::EnginesFailedOnJob(message->job, engines);
    Failures::ResetJobFailures(message->job);
    JobList::Get().RefreshJob(message->job);
    for (UID const& engine : engines)
        EngineList::Get().RefreshEngine(engine);
}

void VorlanGui::OnPoolMsg(boost::shared_ptr<PoolMsg> const& message) {
    CALL_ENTRY();
    for (auto const& [pool, name] : message->pools)
        ChangePoolEvt(pool, name).Trigger();
}

void VorlanGui::OnDeletePoolMsg(boost::shared_ptr<DeletePoolMsg> const& message) {
    CALL_ENTRY();
    corekit::map<UID, String> const pools = Pools();
    auto const found = pools.find(message->pool);
    bool const known = found != pools.end();
    DeletePoolEvt(message->pool, known ? found->second : message->pool.ToString(), known).Trigger();
}

void VorlanGui::OnSetMasterOptionsMsg(boost::shared_ptr<SetMasterOptionsMsg> const& message) {
    CALL_ENTRY();
    if (!m_window)
        return;
    UID product;
    if (UID::FromString(message->section, product))
        m_window->Master().SetProductOptions(product, message->options);
    else if (message->section == o_Distribution)
        m_window->Master().MergeOptions(message->options);
}

void VorlanGui::OnSetMasterLimitsMsg(boost::shared_ptr<SetMasterLimitsMsg> const& message) {
    CALL_ENTRY();
    if (m_window)
        m_window->Master().SetLimits(message->limits);
}

void VorlanGui::OnSetMasterRestrictionsMsg(boost::shared_ptr<SetMasterRestrictionsMsg> const& message) {
    CALL_ENTRY();
    if (!m_window)
        return;
    m_window->Master().SetRestrictions(message->restrictions);
    PostMenu(MainWindow::k_IdRebuildMenus);
}

void VorlanGui::OnDispatchResultMsg(boost::shared_ptr<DispatchResultMsg> const& message) {
    CALL_ENTRY();
    PostMenu(MainWindow::k_IdShowReport, "Dispatch Report|" + message->report);
}

void VorlanGui::OnMasterInfoMsg(boost::shared_ptr<MasterInfoMsg> const&) {
    CALL_ENTRY();
    _EngineModeTimeout::ResetCurrent();
}

void VorlanGui::PostMenu(int id, String const& text) {
    if (!m_window)
        return;
    wxCommandEvent event(wxEVT_MENU, id);
    event.SetString(wxvText(text));
    m_window->GetEventHandler()->AddPendingEvent(event);
}

} // namespace vorlan
