#pragma once

// The life of a work unit that an Engine has.

#include "master/core/farm.h"
#include "master/core/rows.h"

namespace farm {

// Gives units out, follows them and settles what becomes of their frames.
//
// Owned by the Farm. Works with Jobs, which learns of each end, and with the
// Distributor, which learns of freed cores. Always: the row of a run is written in
// the same event in which anybody is told of it.
class Runs {
public:
    explicit Runs(Farm& farm) : m_farm(farm) {}

    // Gives a packet, just taken from the Job's queue, to a connected Engine.
    Run& Give(JobEntry& job, EngineEntry& engine, Spans packet);

    // It has started: so long ago.
    void Begin(Run& run, Time ago);
    void SetValues(Run& run, OptionMap const& values);

    // The run has ended: its Engine said so. `at` is when by the Master's time of day, and
    // `ran` how long it ran by the Engine's steady clock; zero where that is not known.
    void End(Run& run, int status, String const& note, Time at, Time ran);

    // Ends a run that its Engine did not end; the unit goes back to the queue. A
    // result that comes later still counts as long as the unit has not been given out
    // again and finished.
    void GiveUp(Run& run, int status, String const& note);

    // Ends a run whose stop the Engine did not confirm.
    void EndUnconfirmed(Run& run);

    // Asks the Engine to stop; what becomes of the unit is settled when it has.
    void Stop(Run& run, int status, String const& reason, StopAction action);
    // Tells the Engine of a stop again.
    void SendStop(Run const& run);

    // A result of a run that was given up. Does nothing for any other.
    void LateResult(JobEntry& job, WorkEnded const& ended, Time at);

    // An Engine that was away has a run still: it goes on where its frames are all queued
    // and nobody asked for its end. Null where that is not so.
    Run* TakeBack(EngineEntry& engine, RunState const& state);

    // Frames that are queued end without a run, with a line in the history.
    void SettleQueued(JobEntry& job, Spans const& frames, int status, String const& note);
    // Frames that failed for good are queued again.
    void RunAgain(JobEntry& job, Spans const& frames);

    // The Job of the run is gone: its Engine is to end it, and its cores stay in use
    // until it has.
    void Orphan(Run& run, String const& reason);
    // The Job of the run is being deleted.
    void DropJob(Run& run);
    // A run that the Master knows nothing of and that an Engine has all the same.
    void AdoptOrphan(EngineEntry& engine, UID const& work, unsigned cores, String const& reason);

    // Active units take over what their Job was changed to, as they do at the clients
    // that hear of the change.
    static void JobEdited(JobEntry& job);
    static void JobParameterSet(JobEntry& job, String const& name, String const& value);

    // The Pool or Engine is gone.
    void ForgetStaggers(UID const& owner);

    // Time-outs of all runs.
    void CheckTimes();

    // Restoring.
    void RestoreOpen(JobEntry& job, EngineEntry& engine, uint64_t number, RunRow const& row);
    void ApplyStagger(Record const& record);
    // All rows are in, the time is known.
    void RestoreStaggers();
    // The starts of ended runs of a Job.
    void RestoreStarts(JobEntry& job);
    // Takes the figures of an ended run into the Job's.
    static void CountPast(JobEntry& job, RunRow const& row);

    // All usage by creator anew, after the limits changed.
    void CountCreators();

private:
    Run& Make(uint64_t number, UID const& work, JobEntry* job, EngineEntry& engine, unsigned cores);
    boost::shared_ptr<Job> MakeUnit(Run const& run) const;
    void Use(Run& run);
    void Release(Run& run);
    void Destroy(Run& run);
    void Finish(Run& run, int status, String const& note, Time at, Time ran, Outcome outcome);
    int CountFailure(Run const& run, int status, String const& note);
    void CountSuccess(Run const& run);
    void NoteStart(Run& run);
    void NoteJobStart(JobEntry& job, EngineEntry& engine, Steady at);
    void NoteStart(Stagger& stagger, StaggerRule const& rule, std::pair<UID, UID> const& owner,
                   EngineEntry const& engine, bool isNew);
    void TellElement(JobEntry const& job, UID const& work, UID const& engine, String const& subRange,
                     RunElement const& element);
    void TellUnit(Run const& run);
    Run& MakeFrom(RunRow const& row, JobEntry& job, EngineEntry& engine, uint64_t number);
    void SubmitAsNew(JobEntry const& job, String const& subRange);
    void Store(Run const& run, Outcome outcome);
    static String OpenFrames(JobEntry const& job, String const& subRange, SpanSet& open);
    void TellLateRun(JobEntry& job, RunRow row, Time ended, Time ran, String const& note);
    void Supersede(Run& run, SpanSet const& taken, String const& note);

    Farm& m_farm;
    std::map<uint64_t, StaggerRow> m_staggers; // before RestoreDone, by the number of the row
};

} // namespace farm
