#pragma once

// What clients and tools ask of the Master.

#include <vorlan/messagetable.h>

#include <set>

namespace vorlan {

class RequestMessages;
#define VORLAN_MESSAGE_GROUP RequestMessages

// clang-format off: a line per field
// The fields of requests about all things of a kind or some of them.
struct FollowJobMsg {
    VORLAN_FIELDS(FollowJobMsg, NoFields, (bool, all, "All", "all that there are"),
                  (std::set<UID>, ids, "IDs", "those with these ids"))

    void AddAll() { all = true; }
    void AddID(UID const& id) { ids.insert(id); }
};

VORLAN_MESSAGE_ON(
    FollowJobMsg, NotifyOnEventMsg, FromClients, k_V300,
    "Tell me of all events, and of the kinds of messages with these ids, which go only to those who ask.");

VORLAN_MESSAGE_ON(FollowJobMsg, GetEngineInfoMsg, FromClients, k_V300, "Send Engines.",
                  (bool, wantEngine, "WantEngine", "the Engine anew, though it is known"),
                  (bool, wantHistory, "WantHistory", "its log"),
                  (bool, wantOptions, "WantOptions", "its options for each Product"),
                  (bool, wantState, "WantState", "the Engine with its state"));

VORLAN_MESSAGE_ON(FollowJobMsg, GetJobInfoMsg, FromClients, k_V300, "Send Jobs.", (bool, wantJob, "WantJob", "the Job"),
                  (bool, wantHistory, "WantHistory", "its work history"));

VORLAN_MESSAGE(GetMasterOptionsMsg, FromClients, k_V300, "Send all options.");
VORLAN_MESSAGE(GetMasterLimitsMsg, FromClients, k_V300, "Send the limits of the Products.");
VORLAN_MESSAGE(GetMasterRestrictionsMsg, FromClients, k_V300, "Send the restrictions.");
VORLAN_MESSAGE(GetDefaultEngineMsg, FromClients, k_V300, "Send the default Engine.");
VORLAN_MESSAGE(GetFailureArchiveMsg, FromClients, k_V300, "Send the failures.");
VORLAN_MESSAGE(GetPoolsMsg, FromClients, k_V300, "Send the Pools.");
VORLAN_MESSAGE(GetZjobsMsg, FromClients, k_V300, "Send the archived Jobs.");

// What becomes of a unit that is stopped. The numbers travel.
enum class StopAction : int { Requeue = 0, Cancel = 1, SubmitAsNew = 2 };

VORLAN_MESSAGE_FIELDS(NoFields, StopWorkMsg, FromClients, k_V300, "Stop a running work unit.",
                      (UID, work, "Work", "the run"), (int, status, "Status", "the result it gets"),
                      (String, reason, "Reason", "text for people, the note of the result"),
                      (int, action, "Action", "what becomes of the unit: 0 requeue, 1 cancel, 2 submit as a new Job"));
struct StopWorkMsg : MessageOf<StopWorkMsg> {
    // The action follows from the status: one that finishes the unit cancels it.
    static boost::shared_ptr<StopWorkMsg> Create(UID const& work, int status, String const& reason);
    // A number that means nothing here requeues.
    StopAction Action() const;
};

VORLAN_MESSAGE(RunAgainMsg, FromClients, k_V300,
               "Run failed frames of a Job again, in place: it keeps its id and its history.",
               (UID, job, "Job", "the Job"), (String, frames, "Frames", "the frames; empty: all that failed"));

VORLAN_MESSAGE(AdministrateMsg, FromClients, k_V300,
               "From now on the commands of this connection are those of an administrator, or no longer.",
               (bool, on, "On", "whether they are"));

VORLAN_MESSAGE(ReportJobStatusMsg, FromClients, k_V300, "Report why a Job gets work or does not.",
               (UID, id, "ID", "the Job"));

VORLAN_MESSAGE(WatchJobDispatchMsg, FromClients, k_V300, "Report on a Job in the next round of giving out work.",
               (UID, id, "ID", "the Job"));

VORLAN_MESSAGE(WatchEngineDispatchMsg, FromClients, k_V300, "Report on an Engine in the next round of giving out work.",
               (UID, id, "ID", "the Engine"));

VORLAN_MESSAGE(ReviveJobMsg, FromClients, k_V300, "Bring an archived Job back.", (UID, id, "ID", "the Job"));
VORLAN_MESSAGE(DeleteZjobMsg, FromClients, k_V300, "Delete an archived Job.", (UID, id, "ID", "the Job"));

VORLAN_MESSAGE(MachineMsg, FromClients | ToEngines, k_V300,
               "Do something to the machine of an Engine or of the Master.",
               (UID, machine, "Machine", "the Engine or the machine of the Master"),
               (int, operation, "Operation", "0 stand by, 1 reboot, 2 shut down"));

VORLAN_MESSAGE(StopVorlanOnNodeMsg, FromClients | ToEngines, k_V300, "Stop all programs of the system on a machine.",
               (UID, engine, "Engine", "the Engine of that machine"));

VORLAN_MESSAGE(ShutdownMsg, FromClients | ToEngines | ToClients, k_V300, "The program that gets it ends.");
VORLAN_MESSAGE(MasterResignMsg, FromClients, k_V300, "Let another machine be the Master.");
VORLAN_MESSAGE(LogDumpMsg, FromClients, k_V300, "Write the Master's state to a file beside its log.");

VORLAN_MESSAGE(ExecuteCommandMsg, FromClients | ToEngines, k_V300, "Run a command line on some Engines at once.",
               (std::set<UID>, engines, "Engines", "the Engines"),
               (std::set<UID>, jobs, "Jobs", "the Jobs whose Engines are meant too"),
               (String, command, "Command", "the command line"));
// clang-format on

#undef VORLAN_MESSAGE_GROUP

} // namespace vorlan
