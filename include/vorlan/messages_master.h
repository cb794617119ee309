#pragma once

#include <corekit/optionmap.h>
#include <corekit/time.h>
#include <map>
#include <tuple>
#include <vector>
#include <vorlan/message.h>

namespace vorlan {

// What is told about the Master itself: its options, Products and words of its own.

// How often one Product failed on one Engine for one Job.
struct FailureItem {
    static constexpr char const* k_Name = "FailureItem";

    UID job;
    UID engine;
    UID product;
    unsigned count = 0;
    Time time;

    static constexpr auto Fields() {
        return std::tuple{Field{"Job", &FailureItem::job, "the Job"},
                          Field{"Engine", &FailureItem::engine, "the Engine"},
                          Field{"Product", &FailureItem::product, "the Product"},
                          Field{"Count", &FailureItem::count, "how many runs failed"},
                          Field{"Time", &FailureItem::time, "when the last one did"}};
    }

    bool operator==(FailureItem const&) const = default;
};

struct SetMasterOptionsMsg : MessageOf<SetMasterOptionsMsg> {
    static constexpr char const* k_Name = "SetMasterOptionsMsg";
    static constexpr char const* k_About = "Both ways: the options of one section, or of one Product for all Engines.";

    String section;
    OptionMap options;

    static constexpr auto Fields() {
        return std::tuple{Field{"Section", &SetMasterOptionsMsg::section,
                                "the name of the section, or the UID of the Product as text"},
                          Field{"Options", &SetMasterOptionsMsg::options, "the options as a whole"}};
    }
};

struct SetMasterLimitsMsg : MessageOf<SetMasterLimitsMsg> {
    static constexpr char const* k_Name = "SetMasterLimitsMsg";
    static constexpr char const* k_About = "Both ways: how many units of each Product may run at a time.";

    std::map<UID, int> limits;

    static constexpr auto Fields() {
        return std::tuple{Field{"Limits", &SetMasterLimitsMsg::limits, "the Products and their limits"}};
    }
};

struct SetMasterRestrictionsMsg : MessageOf<SetMasterRestrictionsMsg> {
    static constexpr char const* k_Name = "SetMasterRestrictionsMsg";
    static constexpr char const* k_About = "Both ways: what people who are no administrators may do.";

    std::map<String, bool, String::ciless> restrictions;

    static constexpr auto Fields() {
        return std::tuple{
            Field{"Restrictions", &SetMasterRestrictionsMsg::restrictions, "the commands; true: administrators only"}};
    }
};

struct MasterInfoMsg : MessageOf<MasterInfoMsg> {
    static constexpr char const* k_Name = "MasterInfoMsg";
    static constexpr char const* k_About = "From the Master: what it is.";

    UID machine;
    String machineName;
    uint16_t port = 0;
    unsigned version = 0;
    Time releaseDate;
    Time startTime;
    String message;
    unsigned administrate = 0;
    int idleTimeout = 0;
    UID historyLog;
    UID dispatchLog;

    static constexpr auto Fields() {
        return std::tuple{Field{"Machine", &MasterInfoMsg::machine, "the id of its machine"},
                          Field{"MachineName", &MasterInfoMsg::machineName, "the name of its machine"},
                          Field{"Port", &MasterInfoMsg::port, "where it listens"},
                          Field{"Version", &MasterInfoMsg::version, "the version of the program, 30000 for 3.0.0"},
                          Field{"ReleaseDate", &MasterInfoMsg::releaseDate, "when that version came out"},
                          Field{"StartTime", &MasterInfoMsg::startTime, "when the Master started"},
                          Field{"Message", &MasterInfoMsg::message, "the message of the day"},
                          Field{"Administrate", &MasterInfoMsg::administrate, "who may administrate"},
                          Field{"IdleTimeout", &MasterInfoMsg::idleTimeout,
                                "minutes without input after which a client becomes an Engine"},
                          Field{"HistoryLog", &MasterInfoMsg::historyLog,
                                "asked for as the output of a run, gives the History.log of the Master"},
                          Field{"DispatchLog", &MasterInfoMsg::dispatchLog, "the same for its Dispatch.log"}};
    }
};

struct MasterDefaultStartupMsg : MessageOf<MasterDefaultStartupMsg> {
    static constexpr char const* k_Name = "MasterDefaultStartupMsg";
    static constexpr char const* k_About = "Both ways: what a machine starts that has no settings of its own.";

    std::map<int, int> components;

    static constexpr auto Fields() {
        return std::tuple{Field{"Components", &MasterDefaultStartupMsg::components,
                                "the numbers of the components and their start values"}};
    }
};

struct DispatchResultMsg : MessageOf<DispatchResultMsg> {
    static constexpr char const* k_Name = "DispatchResultMsg";
    static constexpr char const* k_About = "From the Master: why a Job or an Engine gets work or does not.";

    String report;

    static constexpr auto Fields() {
        return std::tuple{Field{"Report", &DispatchResultMsg::report, "text for people"}};
    }
};

struct MasterLogsMsg : MessageOf<MasterLogsMsg> {
    static constexpr char const* k_Name = "MasterLogsMsg";
    static constexpr char const* k_About = "From the Master: lines of its log.";

    std::vector<String> lines;

    static constexpr auto Fields() {
        return std::tuple{Field{"Lines", &MasterLogsMsg::lines, "the lines, the oldest first"}};
    }
};

struct PathTranslationsMsg : MessageOf<PathTranslationsMsg> {
    static constexpr char const* k_Name = "PathTranslationsMsg";
    static constexpr char const* k_About = "Both ways: what a path is called on other platforms.";

    std::vector<std::map<String, String>> translations;

    static constexpr auto Fields() {
        return std::tuple{
            Field{"Translations", &PathTranslationsMsg::translations, "for each folder its path by platform"}};
    }
};

struct ProductMsg : MessageOf<ProductMsg> {
    static constexpr char const* k_Name = "ProductMsg";
    static constexpr char const* k_About = "Both ways: a Product that is new or changed.";

    String text;

    static constexpr auto Fields() {
        return std::tuple{Field{"Text", &ProductMsg::text, "the Product in its file form (JSON)"}};
    }
};

struct RemoveProductMsg : MessageOf<RemoveProductMsg> {
    static constexpr char const* k_Name = "RemoveProductMsg";
    static constexpr char const* k_About = "Both ways: a Product goes away.";

    UID product;

    static constexpr auto Fields() { return std::tuple{Field{"Product", &RemoveProductMsg::product, "the Product"}}; }
};

struct FailureArchiveMsg : MessageOf<FailureArchiveMsg> {
    static constexpr char const* k_Name = "FailureArchiveMsg";
    static constexpr char const* k_About = "From the Master: all failures that count.";

    std::vector<FailureItem> items;

    static constexpr auto Fields() { return std::tuple{Field{"Items", &FailureArchiveMsg::items, "the failures"}}; }
};

struct LoadedMsg : MessageOf<LoadedMsg> {
    static constexpr char const* k_Name = "LoadedMsg";
    static constexpr char const* k_About =
        "From the Master: what a peer must have before it counts as connected has been sent.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct RefusedMsg : MessageOf<RefusedMsg> {
    static constexpr char const* k_Name = "RefusedMsg";
    static constexpr char const* k_About = "From the Master: a command could not be done.";

    UID id;
    String reason;

    static constexpr auto Fields() {
        return std::tuple{Field{"ID", &RefusedMsg::id, "what was refused: a Job, an Engine, a Product"},
                          Field{"Reason", &RefusedMsg::reason, "text for people: why, and what to do"}};
    }
};

struct PingMsg : MessageOf<PingMsg> {
    static constexpr char const* k_Name = "PingMsg";
    static constexpr char const* k_About = "Both ways: asks for a PongMsg.";

    Time time;

    static constexpr auto Fields() { return std::tuple{Field{"Time", &PingMsg::time, "the clock of the sender"}}; }
};

struct PongMsg : MessageOf<PongMsg> {
    static constexpr char const* k_Name = "PongMsg";
    static constexpr char const* k_About = "Both ways: answers a PingMsg.";

    Time time;

    static constexpr auto Fields() { return std::tuple{Field{"Time", &PongMsg::time, "the time of the PingMsg"}}; }
};

} // namespace vorlan
