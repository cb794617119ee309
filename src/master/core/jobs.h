#pragma once

// What happens to Jobs.

#include "master/core/farm.h"
#include "master/core/rows.h"

#include <map>
#include <vector>

namespace farm {

// Takes Jobs in, changes, finishes and deletes them.
//
// Owned by the Farm. Works with Runs, which tells of each unit that ended, and with
// the Distributor. Always: a Job's row is written in the event in which anybody is
// told of the Job.
class Jobs {
public:
    explicit Jobs(Farm& farm) : m_farm(farm) {}

    // Commands of clients; `peer` hears of a refusal.
    void OnJob(PeerId peer, JobMsg const& message);
    void OnParameter(PeerId peer, JobParameterMsg const& message);
    void OnDelete(PeerId peer, DeleteJobMsg const& message);
    void OnResetFailures(PeerId peer, ResetJobFailuresMsg const& message);
    void OnRunAgain(PeerId peer, RunAgainMsg const& message);

    // Takes a new Job in; false, after telling the peer why, if it cannot be.
    bool Submit(boost::shared_ptr<Job> const& job, PeerId peer, std::map<UID, GoneWait> goneWaits = {});
    void Delete(JobEntry& job);

    // A unit has failed on an Engine.
    static void NoteFailure(JobEntry& job, String const& subRange, UID const& engine);

    // A run of the Job has ended and its frames are settled.
    void UnitEnded(JobEntry& job);

    // Jobs that have failed too often give up what is queued of them.
    void GiveUpAllAtLimit();

    // Nobody else may do the units that were for this Engine.
    void EngineRemoved(UID const& engine);

    // The policy, the Products or the limits changed.
    void SettingsChanged();
    void ProductChanged(UID const& type);

    // Deletions that are due.
    void CheckTimes();
    Steady NextTime() const;

    // Rows, before RestoreDone.
    void ApplyJob(Record const& record);
    void ApplyState(Record const& record);
    void ApplyRun(Record const& record);
    void ApplyDeleted(Record const& record);
    // All rows are in, the Engines too: puts the frames where they belong.
    void RestoreDone();
    // In the first event after that: ends the Jobs that have nothing left to do.
    void FinishRestored();

private:
    enum class Redivide { No, Yes };

    bool MayHaveValues(PeerId peer, Job const& job, Job const* former) const;
    std::unique_ptr<JobEntry> Prepare(boost::shared_ptr<Job> const& job, PeerId peer,
                                      std::map<UID, GoneWait> goneWaits);
    bool Enqueue(std::unique_ptr<JobEntry> owned);
    String CheckRange(Job const& job, Product const& product, FrameMap& frames) const;
    static String CheckValues(Job const& job, Product const* product);
    void FillEngines(JobEntry& job);
    void SetApart(JobEntry& job, String const& why);
    void RestoreFrames(JobEntry& job);
    void ReadRuns(JobEntry& job);
    void RestoreOpen(JobEntry& job, uint64_t number, RunRow row);
    void ReadSettings(JobEntry& job);
    void ReadAgain(JobEntry& job);
    void Rebuild(JobEntry& job);
    void ApplyPast(JobEntry& job, uint64_t number, RunRow const& row);
    boost::shared_ptr<Job> Change(JobEntry& job);
    void Edit(JobEntry& job, boost::shared_ptr<Job> const& wanted, PeerId peer);
    bool TakeRange(JobEntry& job, boost::shared_ptr<Job> const& changed, PeerId peer);
    void Finish(JobEntry& job, int status);
    void SettleFinished(JobEntry& job);
    void Reopen(JobEntry& job, boost::shared_ptr<Job> const& wanted, PeerId peer);
    bool ShowProgress(JobEntry& job);
    void TellGone(JobEntry const& job);
    void Remember(JobEntry const& job);
    void ForgetDeleted(UID const& id);
    void ResetFailures(JobEntry& job);
    bool GiveUpAtLimit(JobEntry& job);
    void Schedule(JobEntry& job);
    void Unschedule(JobEntry& job);
    void Watch(JobEntry& job, bool add);
    void StoreJob(JobEntry const& job);
    void StoreState(JobEntry const& job);
    void TellJob(JobEntry const& job);

    Farm& m_farm;
    std::vector<uint64_t> m_unfinished;                    // after restoring: Jobs with nothing left to do
    std::map<uint64_t, std::map<uint64_t, String>> m_rows; // before RestoreDone: of the runs, by Job and number
};

} // namespace farm
