#pragma once

#include <corekit/optionmap.h>
#include <set>
#include <tuple>
#include <vorlan/message.h>

namespace vorlan {

// What clients and tools ask of the Master.

// The base of requests about all things of a kind or some of them.
struct FollowJobMsg : Message {
    bool all = false;
    std::set<UID> ids;

    void AddAll() { all = true; }
    void AddID(UID const& id) { ids.insert(id); }
};

struct NotifyOnEventMsg : MessageOf<NotifyOnEventMsg, FollowJobMsg> {
    static constexpr char const* k_Name = "NotifyOnEventMsg";
    static constexpr char const* k_About = "To the Master: tell me of all events, and of these kinds as well.";

    static constexpr auto Fields() {
        return std::tuple{Field{"All", &NotifyOnEventMsg::all, "all events that go to everyone"},
                          Field{"IDs", &NotifyOnEventMsg::ids, "kinds of messages that go only to those who ask"}};
    }
};

struct GetEngineInfoMsg : MessageOf<GetEngineInfoMsg, FollowJobMsg> {
    static constexpr char const* k_Name = "GetEngineInfoMsg";
    static constexpr char const* k_About = "To the Master: send Engines.";

    bool wantEngine = false;
    bool wantHistory = false;
    bool wantOptions = false;
    bool wantState = false;

    static constexpr auto Fields() {
        return std::tuple{Field{"All", &GetEngineInfoMsg::all, "all Engines there are"},
                          Field{"IDs", &GetEngineInfoMsg::ids, "these Engines"},
                          Field{"WantEngine", &GetEngineInfoMsg::wantEngine, "the Engine anew, though it is known"},
                          Field{"WantHistory", &GetEngineInfoMsg::wantHistory, "its log"},
                          Field{"WantOptions", &GetEngineInfoMsg::wantOptions, "its options for each Product"},
                          Field{"WantState", &GetEngineInfoMsg::wantState, "the Engine with its state"}};
    }
};

struct GetJobInfoMsg : MessageOf<GetJobInfoMsg, FollowJobMsg> {
    static constexpr char const* k_Name = "GetJobInfoMsg";
    static constexpr char const* k_About = "To the Master: send Jobs.";

    bool wantJob = false;
    bool wantHistory = false;

    static constexpr auto Fields() {
        return std::tuple{Field{"All", &GetJobInfoMsg::all, "all Jobs there are"},
                          Field{"IDs", &GetJobInfoMsg::ids, "these Jobs"},
                          Field{"WantJob", &GetJobInfoMsg::wantJob, "the Job"},
                          Field{"WantHistory", &GetJobInfoMsg::wantHistory, "its work history"}};
    }
};

struct GetMasterOptionsMsg : MessageOf<GetMasterOptionsMsg> {
    static constexpr char const* k_Name = "GetMasterOptionsMsg";
    static constexpr char const* k_About = "To the Master: send all options.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct GetMasterLimitsMsg : MessageOf<GetMasterLimitsMsg> {
    static constexpr char const* k_Name = "GetMasterLimitsMsg";
    static constexpr char const* k_About = "To the Master: send the limits of the Products.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct GetMasterRestrictionsMsg : MessageOf<GetMasterRestrictionsMsg> {
    static constexpr char const* k_Name = "GetMasterRestrictionsMsg";
    static constexpr char const* k_About = "To the Master: send the restrictions.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct GetDefaultEngineMsg : MessageOf<GetDefaultEngineMsg> {
    static constexpr char const* k_Name = "GetDefaultEngineMsg";
    static constexpr char const* k_About = "To the Master: send the default Engine.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct GetFailureArchiveMsg : MessageOf<GetFailureArchiveMsg> {
    static constexpr char const* k_Name = "GetFailureArchiveMsg";
    static constexpr char const* k_About = "To the Master: send the failures.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct GetPoolsMsg : MessageOf<GetPoolsMsg> {
    static constexpr char const* k_Name = "GetPoolsMsg";
    static constexpr char const* k_About = "To the Master: send the Pools.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct GetZjobsMsg : MessageOf<GetZjobsMsg> {
    static constexpr char const* k_Name = "GetZjobsMsg";
    static constexpr char const* k_About = "To the Master: send the archived Jobs.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

// What becomes of a unit that is stopped. The numbers travel.
enum class StopAction : int { Requeue = 0, Cancel = 1, SubmitAsNew = 2 };

struct StopWorkMsg : MessageOf<StopWorkMsg> {
    static constexpr char const* k_Name = "StopWorkMsg";
    static constexpr char const* k_About = "To the Master: stop a running work unit.";

    UID work;
    int status = 0;
    String reason;
    int action = 0;

    static constexpr auto Fields() {
        return std::tuple{Field{"Work", &StopWorkMsg::work, "the run"},
                          Field{"Status", &StopWorkMsg::status, "the result it gets"},
                          Field{"Reason", &StopWorkMsg::reason, "text for people, the note of the result"},
                          Field{"Action", &StopWorkMsg::action,
                                "what becomes of the unit: 0 requeue, 1 cancel, 2 submit as a new Job"}};
    }

    // The action follows from the status: one that finishes the unit cancels it.
    static boost::shared_ptr<StopWorkMsg> Create(UID const& work, int status, String const& reason);
};

struct ReportJobStatusMsg : MessageOf<ReportJobStatusMsg> {
    static constexpr char const* k_Name = "ReportJobStatusMsg";
    static constexpr char const* k_About = "To the Master: report why a Job gets work or does not.";

    UID id;

    static constexpr auto Fields() { return std::tuple{Field{"ID", &ReportJobStatusMsg::id, "the Job"}}; }

    static boost::shared_ptr<ReportJobStatusMsg> Create(UID const& id) {
        auto message = New();
        message->id = id;
        return message;
    }
};

struct WatchJobDispatchMsg : MessageOf<WatchJobDispatchMsg> {
    static constexpr char const* k_Name = "WatchJobDispatchMsg";
    static constexpr char const* k_About = "To the Master: report on a Job in the next round of giving out work.";

    UID id;

    static constexpr auto Fields() { return std::tuple{Field{"ID", &WatchJobDispatchMsg::id, "the Job"}}; }

    static boost::shared_ptr<WatchJobDispatchMsg> Create(UID const& id) {
        auto message = New();
        message->id = id;
        return message;
    }
};

struct WatchEngineDispatchMsg : MessageOf<WatchEngineDispatchMsg> {
    static constexpr char const* k_Name = "WatchEngineDispatchMsg";
    static constexpr char const* k_About = "To the Master: report on an Engine in the next round of giving out work.";

    UID id;

    static constexpr auto Fields() { return std::tuple{Field{"ID", &WatchEngineDispatchMsg::id, "the Engine"}}; }

    static boost::shared_ptr<WatchEngineDispatchMsg> Create(UID const& id) {
        auto message = New();
        message->id = id;
        return message;
    }
};

struct ReviveJobMsg : MessageOf<ReviveJobMsg> {
    static constexpr char const* k_Name = "ReviveJobMsg";
    static constexpr char const* k_About = "To the Master: bring an archived Job back.";

    UID id;

    static constexpr auto Fields() { return std::tuple{Field{"ID", &ReviveJobMsg::id, "the Job"}}; }

    static boost::shared_ptr<ReviveJobMsg> Create(UID const& id) {
        auto message = New();
        message->id = id;
        return message;
    }
};

struct DeleteZjobMsg : MessageOf<DeleteZjobMsg> {
    static constexpr char const* k_Name = "DeleteZjobMsg";
    static constexpr char const* k_About = "To the Master: delete an archived Job.";

    UID id;

    static constexpr auto Fields() { return std::tuple{Field{"ID", &DeleteZjobMsg::id, "the Job"}}; }

    static boost::shared_ptr<DeleteZjobMsg> Create(UID const& id) {
        auto message = New();
        message->id = id;
        return message;
    }
};

struct MachineMsg : MessageOf<MachineMsg> {
    static constexpr char const* k_Name = "MachineMsg";
    static constexpr char const* k_About = "To the Master: do something to the machine of an Engine or of the Master.";

    UID machine;
    int operation = 0;

    static constexpr auto Fields() {
        return std::tuple{Field{"Machine", &MachineMsg::machine, "the Engine or the machine of the Master"},
                          Field{"Operation", &MachineMsg::operation, "0 stand by, 1 reboot, 2 shut down"}};
    }
};

struct StopVorlanOnNodeMsg : MessageOf<StopVorlanOnNodeMsg> {
    static constexpr char const* k_Name = "StopVorlanOnNodeMsg";
    static constexpr char const* k_About = "To the Master: stop all programs of the system on a machine.";

    UID engine;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engine", &StopVorlanOnNodeMsg::engine, "the Engine of that machine"}};
    }
};

struct ShutdownMsg : MessageOf<ShutdownMsg> {
    static constexpr char const* k_Name = "ShutdownMsg";
    static constexpr char const* k_About = "Both ways: the program that gets it ends.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct MasterResignMsg : MessageOf<MasterResignMsg> {
    static constexpr char const* k_Name = "MasterResignMsg";
    static constexpr char const* k_About = "To the Master: let another machine be the Master.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct LogDumpMsg : MessageOf<LogDumpMsg> {
    static constexpr char const* k_Name = "LogDumpMsg";
    static constexpr char const* k_About = "To the Master: write its state to a file beside its log.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct ExecuteCommandMsg : MessageOf<ExecuteCommandMsg> {
    static constexpr char const* k_Name = "ExecuteCommandMsg";
    static constexpr char const* k_About = "To the Master: run a command line on some Engines at once.";

    std::set<UID> engines;
    std::set<UID> jobs;
    String command;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engines", &ExecuteCommandMsg::engines, "the Engines"},
                          Field{"Jobs", &ExecuteCommandMsg::jobs, "the Jobs whose Engines are meant too"},
                          Field{"Command", &ExecuteCommandMsg::command, "the command line"}};
    }
};

} // namespace vorlan
