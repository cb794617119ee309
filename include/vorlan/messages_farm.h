#pragma once

#include <corekit/optionmap.h>
#include <corekit/time.h>
#include <tuple>
#include <vector>
#include <vorlan/engine.h>
#include <vorlan/message.h>

namespace vorlan {

// What the Master and its Engines say to each other.

// A run that an Engine has now.
struct RunState {
    static constexpr char const* k_Name = "RunState";

    UID work;
    UID job;
    int status = 0;
    Time started;
    String subRange;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &RunState::work, "the run"}, Field{"Job", &RunState::job, "its Job"},
                          Field{"Status", &RunState::status, "1 assigned, 2 started"},
                          Field{"Started", &RunState::started, "when it started"},
                          Field{"SubRange", &RunState::subRange, "its packet of frames"}};
    }

    bool operator==(RunState const&) const = default;
};

// A run that has ended and is not yet known to be stored.
struct WorkEnded {
    static constexpr char const* k_Name = "WorkEnded";

    UID work;
    UID job;
    int status = 0;
    String note;
    Time time;
    int exitCode = 0;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &WorkEnded::work, "the run"},
                          Field{"Job", &WorkEnded::job, "its Job"},
                          Field{"Status", &WorkEnded::status, "its result"},
                          Field{"Note", &WorkEnded::note, "what people should know about it"},
                          Field{"Time", &WorkEnded::time, "when it ended"},
                          Field{"ExitCode", &WorkEnded::exitCode, "of the process, where there was one"}};
    }

    bool operator==(WorkEnded const&) const = default;
};

struct RegisterEngineMsg : MessageOf<RegisterEngineMsg> {
    static constexpr char const* k_Name = "RegisterEngineMsg";
    static constexpr char const* k_About =
        "Engine to Master, at each connection: what it is, what it runs, what has ended.";

    Engine engine;
    std::vector<RunState> running;
    std::vector<WorkEnded> ended;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engine", &RegisterEngineMsg::engine, "the Engine as it sees itself"},
                          Field{"Running", &RegisterEngineMsg::running, "the runs it has"},
                          Field{"Ended", &RegisterEngineMsg::ended, "the results that were not acknowledged"}};
    }
};

struct HeartbeatMsg : MessageOf<HeartbeatMsg> {
    static constexpr char const* k_Name = "HeartbeatMsg";
    static constexpr char const* k_About = "Engine to Master, from time to time: still there.";

    int64_t freePhysicalMB = 0;
    double cpuPercent = 0;

    static constexpr auto Fields() {
        return std::tuple{Field{"FreePhysicalMB", &HeartbeatMsg::freePhysicalMB, "free memory"},
                          Field{"CpuPercent", &HeartbeatMsg::cpuPercent, "how busy the processors are"}};
    }
};

struct RunWorkMsg : MessageOf<RunWorkMsg> {
    static constexpr char const* k_Name = "RunWorkMsg";
    static constexpr char const* k_About = "Master to Engine: run a work unit.";

    boost::shared_ptr<Job> work;
    OptionMap engineOptions;

    static constexpr auto Fields() {
        return std::tuple{
            Field{"Work", &RunWorkMsg::work, "the unit with all values that its launch needs, those of its Job too"},
            Field{"EngineOptions", &RunWorkMsg::engineOptions, "the options of this Engine for the Product"}};
    }
};

struct EndWorkMsg : MessageOf<EndWorkMsg> {
    static constexpr char const* k_Name = "EndWorkMsg";
    static constexpr char const* k_About = "Master to Engine: stop a run.";

    UID work;
    int status = 0;
    String reason;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &EndWorkMsg::work, "the run"},
                          Field{"Status", &EndWorkMsg::status, "the result it gets"},
                          Field{"Reason", &EndWorkMsg::reason, "the note of the result"}};
    }
};

struct WorkBegunMsg : MessageOf<WorkBegunMsg> {
    static constexpr char const* k_Name = "WorkBegunMsg";
    static constexpr char const* k_About = "Engine to Master: the process of a run has started.";

    UID work;
    Time time;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &WorkBegunMsg::work, "the run"}, Field{"Time", &WorkBegunMsg::time, "when"}};
    }
};

struct WorkProgressMsg : MessageOf<WorkProgressMsg> {
    static constexpr char const* k_Name = "WorkProgressMsg";
    static constexpr char const* k_About = "Engine to Master: values of a run that changed.";

    UID work;
    OptionMap values;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &WorkProgressMsg::work, "the run"},
                          Field{"Values", &WorkProgressMsg::values, "the values, PercentDone and the like"}};
    }
};

struct WorkEndedMsg : MessageOf<WorkEndedMsg> {
    static constexpr char const* k_Name = "WorkEndedMsg";
    static constexpr char const* k_About = "Engine to Master: a run has ended. Repeated until it is acknowledged.";

    WorkEnded ended;

    static constexpr auto Fields() { return std::tuple{Field{"Ended", &WorkEndedMsg::ended, "the result"}}; }
};

struct WorkEndedAckMsg : MessageOf<WorkEndedAckMsg> {
    static constexpr char const* k_Name = "WorkEndedAckMsg";
    static constexpr char const* k_About = "Master to Engine: the result is stored and may be forgotten.";

    UID work;

    static constexpr auto Fields() { return std::tuple{Field{"Work", &WorkEndedAckMsg::work, "the run"}}; }
};

struct EngineSettingsMsg : MessageOf<EngineSettingsMsg> {
    static constexpr char const* k_Name = "EngineSettingsMsg";
    static constexpr char const* k_About = "Master to Engine: its settings.";

    Engine engine;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engine", &EngineSettingsMsg::engine, "the Engine as configured"}};
    }
};

struct JobGoneMsg : MessageOf<JobGoneMsg> {
    static constexpr char const* k_Name = "JobGoneMsg";
    static constexpr char const* k_About = "Master to Engine: a Job has finished or was deleted.";

    UID job;

    static constexpr auto Fields() { return std::tuple{Field{"Job", &JobGoneMsg::job, "the Job"}}; }
};

} // namespace vorlan
