// What the messages about work units do to the lists. All on the message thread.
#include "farmclient.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/jobwatcher.h"
#include "model/worklist.h"

#include <boost/make_shared.hpp>
#include <corekit/log.h>
#include <vorlan/failures.h>
#include <vorlan/keys.h>

namespace vorlan {

namespace {

// Assigned and started work are taken in alike; the words are those of the log.
struct TakenWork {
    char const* verb;
    bool namesParent; // an unknown Engine is reported under its Job's id
};

void TakeWork(boost::shared_ptr<Job> const& work, UID const& engineID, TakenWork const& kind) {
    if (!work)
        return;
    auto info = boost::make_shared<WorkInfo>();
    info->work = work;
    String const received = "Received work '" + work->Name() + "' for unknown ";
    info->job = Jobs::FindJobInfo(work->parentID);
    if (!info->job)
        LogError(received + "job: " + work->parentID.ToString() + " ... discarding");
    info->engine = EngineList::Get().FindEngine(engineID);
    if (!info->engine) {
        // Assigned work names its Job's id here; people know the line by it.
        LogError(received + "engine: " + (kind.namesParent ? work->parentID : engineID).ToString() + " ... discarding");
        return;
    }
    if (!info->job)
        return;
    LogInfo("Work '" + work->Name() + "' " + (work->IsStarted() ? "" : "not ") + kind.verb + " Engine '" +
            info->engine->Name() + "': " + work->StatusAsString());
    JobList::Get().SetActive(*info->job, true);
    WorkList::Get().InsertWork(info);
    EngineList::Get().RefreshEngine(engineID);
    JobList::Get().RefreshJob(work->parentID);
}

void TakeHistoryElement(WorkHistoryElement const& element) {
    boost::shared_ptr<WorkInfo> const unit =
        WorkList::Get().SetStartTime(element.work, element.status == Started, element.time);
    boost::shared_ptr<JobInfo> const info = unit ? unit->job : Jobs::FindJobInfo(element.job);
    if (!info || !info->job) {
        LogWarning(String("Received history element for unknown Job!") + k_NL +
                   "\tWork ID: " + element.work.ToString() + "  Job ID: " + element.job.ToString() +
                   "  Engine: " + element.engine.ToString());
        return;
    }
    boost::shared_ptr<Job> work = unit ? unit->work : nullptr;
    if (!work) {
        // The unit was over before this client heard of it: one like it in its place.
        work = SDuplicateJob(*info->job, false);
        work->id = element.work;
        work->parentID = info->job->id;
        work->SetName(element.subRange);
        work->SetParameter(p_SubRange, element.subRange);
        work->SetStatus(element.status);
    }
    info->RequestHistory(false);
    {
        RWLock::Writer const writer(info->lock);
        info->history.Append(info->job, work, element.engine, element);
        info->elementWork.insert(element.work);
    }
    JobWatcher::UpdateJob(info->job->id);
}

void EndWork(FinishedWorkMsg const& message) {
    UID jobID;
    UID engineID;
    if (boost::shared_ptr<Job> const work = WorkList::Get().RemoveWork(message.work, jobID, engineID)) {
        work->SetStatus(message.status);
        if (work->IsFailed())
            Failures::Add(*work, engineID);
    }
    JobList::Get().NoteWorkEnded(jobID);
    JobList::Get().RefreshJob(jobID);
    EngineList::Get().RefreshEngine(engineID);
}

} // namespace

void FarmClient::HearWork() {
    On<AssignedWorkMsg>([](auto& m) { TakeWork(m.work, m.engine, {"assigned to", true}); });
    On<StartedWorkMsg>([](auto& m) { TakeWork(m.work, m.engine, {"started on", false}); });
    On<FinishedWorkMsg>(&EndWork);
    On<WorkParameterChangedMsg>([](auto& m) { WorkList::Get().UpdateWork(m.work, m.name, m.value); });
    On<WorkHistoryElementMsg>([](auto& m) { TakeHistoryElement(m.element); });
}

} // namespace vorlan
