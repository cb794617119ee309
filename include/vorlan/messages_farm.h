#pragma once

// What the Master and its Engines say to each other.

#include <corekit/optionmap.h>
#include <corekit/time.h>
#include <vorlan/engine.h>
#include <vorlan/messagetable.h>

#include <set>
#include <vector>

namespace vorlan {

class FarmMessages;
#define VORLAN_MESSAGE_GROUP FarmMessages

// clang-format off: a line per field
// A run that an Engine has now.
VORLAN_RECORD(RunState, (UID, work, "Work", "the run"), (UID, job, "Job", "its Job"),
              (int, status, "Status", "1 assigned, 2 started"), (Time, started, "Started", "when it started"),
              (String, subRange, "SubRange", "its packet of frames"),
              (int64_t, runningMs, "RunningMs", "for how long by the Engine's steady clock; 0: it has not started"));

// A run that has ended and is not yet known to be stored.
VORLAN_RECORD(WorkEnded, (UID, work, "Work", "the run"), (UID, job, "Job", "its Job"),
              (int, status, "Status", "its result"), (String, note, "Note", "what people should know about it"),
              (Time, time, "Time", "when it ended"), (int, exitCode, "ExitCode", "of the process, where there was one"),
              (int64_t, ranMs, "RanMs", "how long it ran by the Engine's steady clock; 0: it had not started"));

VORLAN_MESSAGE(RegisterEngineMsg, FromEngines, k_V300, "At each connection: what it is, what it runs, what has ended.",
               (Engine, engine, "Engine", "the Engine as it sees itself"),
               (Time, clock, "Clock", "the time of day at the Engine when this is sent"),
               (std::vector<RunState>, running, "Running", "the runs it has"),
               (std::vector<WorkEnded>, ended, "Ended", "the results that were not acknowledged"));

VORLAN_MESSAGE(HeartbeatMsg, FromEngines, k_V300, "From time to time: still there.",
               (int64_t, freePhysicalMB, "FreePhysicalMB", "free memory"),
               (double, cpuPercent, "CpuPercent", "how busy the processors are"));

VORLAN_MESSAGE(RunWorkMsg, ToEngines, k_V300, "Run a work unit.",
               (boost::shared_ptr<Job>, work, "Work",
                "the unit with all values that its launch needs, those of its Job too"),
               (OptionMap, engineOptions, "EngineOptions", "the options of this Engine for the Product"));

VORLAN_MESSAGE(EndWorkMsg, ToEngines, k_V300, "Stop a run.", (UID, work, "Work", "the run"),
               (int, status, "Status", "the result it gets"), (String, reason, "Reason", "the note of the result"));

VORLAN_MESSAGE(WorkPreparingMsg, FromEngines, k_V300,
               "A run is not late: its commands before the start are under way. Repeated while they are.",
               (UID, work, "Work", "the run"));

VORLAN_MESSAGE(WorkBegunMsg, FromEngines, k_V300, "The process of a run has started.", (UID, work, "Work", "the run"),
               (Time, time, "Time", "when"));

VORLAN_MESSAGE(WorkProgressMsg, FromEngines, k_V300, "Values of a run that changed.", (UID, work, "Work", "the run"),
               (OptionMap, values, "Values", "the values, PercentDone and the like"));

VORLAN_MESSAGE(WorkEndedMsg, FromEngines, k_V300, "A run has ended. Repeated until it is acknowledged.",
               (WorkEnded, ended, "Ended", "the result"));

VORLAN_MESSAGE(WorkEndedAckMsg, ToEngines, k_V300, "The result is stored and may be forgotten.",
               (UID, work, "Work", "the run"));

VORLAN_MESSAGE(EngineSettingsMsg, ToEngines, k_V300, "The settings of the Engine.",
               (Engine, engine, "Engine", "the Engine as configured"));

VORLAN_MESSAGE(RunJobCommandMsg, ToEngines, k_V300,
               "Run the command that a Job has for an event of its own. Repeated until it is taken.",
               (UID, id, "ID", "of this command"), (String, event, "Event", "DeleteJobEvt and the like"),
               (boost::shared_ptr<Job>, job, "Job", "the Job as it was then"),
               (std::set<UID>, engines, "Engines", "the Engines that may run it"));

VORLAN_MESSAGE(JobCommandTakenMsg, FromEngines, k_V300, "The command will be run, whatever happens to the Engine.",
               (UID, id, "ID", "of the command"));

VORLAN_MESSAGE(JobGoneMsg, ToEngines, k_V300, "A Job has finished or was deleted.", (UID, job, "Job", "the Job"));
// clang-format on

#undef VORLAN_MESSAGE_GROUP

} // namespace vorlan
