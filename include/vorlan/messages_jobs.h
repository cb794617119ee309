#pragma once

#include <corekit/time.h>
#include <tuple>
#include <vector>
#include <vorlan/job.h>
#include <vorlan/jobhistory.h>
#include <vorlan/message.h>

namespace vorlan {

// What is told about Jobs and their work. The constants give each one its name on
// the wire and say who sends it.

struct JobMsg : MessageOf<JobMsg> {
    static constexpr char const* k_Name = "JobMsg";
    static constexpr char const* k_About =
        "A Job as a whole. From the Master: new or changed. To the Master: submit or change it.";

    boost::shared_ptr<Job> job;

    static constexpr auto Fields() { return std::tuple{Field{"Job", &JobMsg::job, "the Job with all its values"}}; }

    static boost::shared_ptr<JobMsg> Create(boost::shared_ptr<Job> const& job) {
        auto message = New();
        message->job = job;
        return message;
    }
};

struct JobParameterMsg : MessageOf<JobParameterMsg> {
    static constexpr char const* k_Name = "JobParameterMsg";
    static constexpr char const* k_About = "One value of a Job. From the Master: it changed. To the Master: change it.";

    UID job;
    String name;
    String value;

    static constexpr auto Fields() {
        return std::tuple{Field{"Job", &JobParameterMsg::job, "the Job"},
                          Field{"Name", &JobParameterMsg::name, "the name of the value"},
                          Field{"Value", &JobParameterMsg::value, "its text"}};
    }
};

struct FinishedJobMsg : MessageOf<FinishedJobMsg> {
    static constexpr char const* k_Name = "FinishedJobMsg";
    static constexpr char const* k_About = "From the Master: a Job has reached its end.";

    boost::shared_ptr<Job> job;

    static constexpr auto Fields() {
        return std::tuple{Field{"Job", &FinishedJobMsg::job, "the Job with all its values"}};
    }
};

struct DeleteJobMsg : MessageOf<DeleteJobMsg> {
    static constexpr char const* k_Name = "DeleteJobMsg";
    static constexpr char const* k_About = "From the Master: a Job is gone. To the Master: delete it.";

    UID job;
    bool immediately = false;

    static constexpr auto Fields() {
        return std::tuple{Field{"Job", &DeleteJobMsg::job, "the Job"},
                          Field{"Immediately", &DeleteJobMsg::immediately, "without waiting for its running work"}};
    }
};

struct StartJobInfoMsg : MessageOf<StartJobInfoMsg> {
    static constexpr char const* k_Name = "StartJobInfoMsg";
    static constexpr char const* k_About = "From the Master: the Jobs asked for follow.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct EndJobInfoMsg : MessageOf<EndJobInfoMsg> {
    static constexpr char const* k_Name = "EndJobInfoMsg";
    static constexpr char const* k_About = "From the Master: all Jobs asked for have been sent.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct JobHistoryMsg : MessageOf<JobHistoryMsg> {
    static constexpr char const* k_Name = "JobHistoryMsg";
    static constexpr char const* k_About = "From the Master: the whole work history of a Job.";

    UID job;
    JobHistory history;

    static constexpr auto Fields() {
        return std::tuple{Field{"Job", &JobHistoryMsg::job, "the Job"},
                          Field{"History", &JobHistoryMsg::history, "all runs of all its units"}};
    }
};

struct WorkHistoryElementMsg : MessageOf<WorkHistoryElementMsg> {
    static constexpr char const* k_Name = "WorkHistoryElementMsg";
    static constexpr char const* k_About = "From the Master: one new event in the history of a Job.";

    WorkHistoryElement element;

    static constexpr auto Fields() {
        return std::tuple{Field{"Element", &WorkHistoryElementMsg::element, "the event"}};
    }
};

struct AssignedWorkMsg : MessageOf<AssignedWorkMsg> {
    static constexpr char const* k_Name = "AssignedWorkMsg";
    static constexpr char const* k_About = "From the Master: a work unit was given to an Engine.";

    boost::shared_ptr<Job> work;
    UID engine;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &AssignedWorkMsg::work, "the unit; its parent is the Job"},
                          Field{"Engine", &AssignedWorkMsg::engine, "who has it"}};
    }
};

struct StartedWorkMsg : MessageOf<StartedWorkMsg> {
    static constexpr char const* k_Name = "StartedWorkMsg";
    static constexpr char const* k_About = "From the Master: a work unit has started.";

    boost::shared_ptr<Job> work;
    UID engine;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &StartedWorkMsg::work, "the unit; its parent is the Job"},
                          Field{"Engine", &StartedWorkMsg::engine, "where it runs"}};
    }
};

struct FinishedWorkMsg : MessageOf<FinishedWorkMsg> {
    static constexpr char const* k_Name = "FinishedWorkMsg";
    static constexpr char const* k_About = "From the Master: a run of a work unit has ended.";

    UID work;
    int status = 0;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &FinishedWorkMsg::work, "the run"},
                          Field{"Status", &FinishedWorkMsg::status, "its result"}};
    }
};

struct WorkParameterChangedMsg : MessageOf<WorkParameterChangedMsg> {
    static constexpr char const* k_Name = "WorkParameterChangedMsg";
    static constexpr char const* k_About = "From the Master: one value of a running work unit.";

    UID work;
    String name;
    String value;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &WorkParameterChangedMsg::work, "the run"},
                          Field{"Name", &WorkParameterChangedMsg::name, "the name of the value"},
                          Field{"Value", &WorkParameterChangedMsg::value, "its text"}};
    }
};

struct ResetJobFailuresMsg : MessageOf<ResetJobFailuresMsg> {
    static constexpr char const* k_Name = "ResetJobFailuresMsg";
    static constexpr char const* k_About = "Both ways: the failures of a Job are forgotten.";

    UID job;

    static constexpr auto Fields() { return std::tuple{Field{"Job", &ResetJobFailuresMsg::job, "the Job"}}; }
};

struct ZjobsStartMsg : MessageOf<ZjobsStartMsg> {
    static constexpr char const* k_Name = "ZjobsStartMsg";
    static constexpr char const* k_About = "From the Master: the archived Jobs follow.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct ZjobsMsg : MessageOf<ZjobsMsg> {
    static constexpr char const* k_Name = "ZjobsMsg";
    static constexpr char const* k_About = "From the Master: some archived Jobs.";

    std::vector<boost::shared_ptr<Job>> jobs;

    static constexpr auto Fields() { return std::tuple{Field{"Jobs", &ZjobsMsg::jobs, "Jobs as they were archived"}}; }
};

struct ZjobsEndMsg : MessageOf<ZjobsEndMsg> {
    static constexpr char const* k_Name = "ZjobsEndMsg";
    static constexpr char const* k_About = "From the Master: all archived Jobs have been sent.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

} // namespace vorlan
