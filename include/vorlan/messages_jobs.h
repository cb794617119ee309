#pragma once

// What is told about Jobs and their work.

#include <vorlan/job.h>
#include <vorlan/jobhistory.h>
#include <vorlan/messagetable.h>

#include <vector>

namespace vorlan {

class JobMessages;
#define VORLAN_MESSAGE_GROUP JobMessages

// clang-format off: a line per field
VORLAN_MESSAGE(JobMsg, FromClients | ToClients, k_V300,
               "A Job as a whole. From the Master: new or changed. To the Master: submit or change it.",
               (boost::shared_ptr<Job>, job, "Job", "the Job with all its values"),
               (UID, submission, "Submission",
                "to the Master: the Job is new, and this is sent again when its answer was lost; a Job that is known "
                "already stays as it is"));

VORLAN_MESSAGE(JobParameterMsg, FromClients | ToClients, k_V300,
               "One value of a Job. From the Master: it changed. To the Master: change it.",
               (UID, job, "Job", "the Job"), (String, name, "Name", "the name of the value"),
               (String, value, "Value", "its text"));

VORLAN_MESSAGE(FinishedJobMsg, ToClients, k_V300, "A Job has reached its end.",
               (boost::shared_ptr<Job>, job, "Job", "the Job with all its values"));

VORLAN_MESSAGE(DeleteJobMsg, FromClients | ToClients, k_V300,
               "From the Master: a Job is gone. To the Master: delete it.", (UID, job, "Job", "the Job"),
               (bool, immediately, "Immediately", "without waiting for its running work"));

VORLAN_MESSAGE(StartJobInfoMsg, ToClients, k_V300, "The Jobs asked for follow.");
VORLAN_MESSAGE(EndJobInfoMsg, ToClients, k_V300, "All Jobs asked for have been sent.");

VORLAN_MESSAGE(JobHistoryMsg, ToClients, k_V300, "The whole work history of a Job.", (UID, job, "Job", "the Job"),
               (JobHistory, history, "History", "all runs of all its units"));

VORLAN_MESSAGE(WorkHistoryElementMsg, ToClients, k_V300, "One new event in the history of a Job.",
               (WorkHistoryElement, element, "Element", "the event"));

VORLAN_MESSAGE(AssignedWorkMsg, ToClients, k_V300, "A work unit was given to an Engine.",
               (boost::shared_ptr<Job>, work, "Work", "the unit; its parent is the Job"),
               (UID, engine, "Engine", "who has it"));

VORLAN_MESSAGE(StartedWorkMsg, ToClients, k_V300, "A work unit has started.",
               (boost::shared_ptr<Job>, work, "Work", "the unit; its parent is the Job"),
               (UID, engine, "Engine", "where it runs"));

VORLAN_MESSAGE(FinishedWorkMsg, ToClients, k_V300, "A run of a work unit has ended.", (UID, work, "Work", "the run"),
               (int, status, "Status", "its result"));

VORLAN_MESSAGE(WorkParameterChangedMsg, ToClients, k_V300, "One value of a running work unit.",
               (UID, work, "Work", "the run"), (String, name, "Name", "the name of the value"),
               (String, value, "Value", "its text"));

VORLAN_MESSAGE(ResetJobFailuresMsg, FromClients | ToClients, k_V300, "The failures of a Job are forgotten.",
               (UID, job, "Job", "the Job"));

VORLAN_MESSAGE(ZjobsStartMsg, ToClients, k_V300, "The archived Jobs follow.");

VORLAN_MESSAGE(ZjobsMsg, ToClients, k_V300, "Some archived Jobs.",
               (std::vector<boost::shared_ptr<Job>>, jobs, "Jobs", "Jobs as they were archived"));

VORLAN_MESSAGE(ZjobsEndMsg, ToClients, k_V300, "All archived Jobs have been sent.");
// clang-format on

#undef VORLAN_MESSAGE_GROUP

} // namespace vorlan
