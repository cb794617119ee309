#pragma once

#include <corekit/optionmap.h>
#include <corekit/time.h>
#include <map>
#include <set>
#include <tuple>
#include <vorlan/engine.h>
#include <vorlan/enginehistory.h>
#include <vorlan/message.h>

namespace vorlan {

// What is told about Engines and Pools.

struct EngineMsg : MessageOf<EngineMsg> {
    static constexpr char const* k_Name = "EngineMsg";
    static constexpr char const* k_About =
        "An Engine as a whole. From the Master: new or changed. To the Master: change its settings.";

    Engine engine;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engine", &EngineMsg::engine, "the Engine with all its values"}};
    }
};

struct EngineOptionsMsg : MessageOf<EngineOptionsMsg> {
    static constexpr char const* k_Name = "EngineOptionsMsg";
    static constexpr char const* k_About = "Both ways: the options of some Engines for one Product, as a whole.";

    std::set<UID> engines;
    UID product;
    OptionMap options;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engines", &EngineOptionsMsg::engines, "the Engines"},
                          Field{"Product", &EngineOptionsMsg::product, "the Product"},
                          Field{"Options", &EngineOptionsMsg::options, "all options"}};
    }

    void AddEngine(UID const& engine) { engines.insert(engine); }
    void AddOption(String const& name, String const& value) { options[name] = value; }
    void AddOptions(UID const& type, OptionMap const& values) {
        product = type;
        for (auto const& [name, value] : values)
            options[name] = value;
    }
};

struct RemoveEngineMsg : MessageOf<RemoveEngineMsg> {
    static constexpr char const* k_Name = "RemoveEngineMsg";
    static constexpr char const* k_About = "From the Master: an Engine is gone. To the Master: forget an offline one.";

    UID engine;

    static constexpr auto Fields() { return std::tuple{Field{"Engine", &RemoveEngineMsg::engine, "the Engine"}}; }
};

struct StartEngineInfoMsg : MessageOf<StartEngineInfoMsg> {
    static constexpr char const* k_Name = "StartEngineInfoMsg";
    static constexpr char const* k_About = "From the Master: the Engines asked for follow.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct EndEngineInfoMsg : MessageOf<EndEngineInfoMsg> {
    static constexpr char const* k_Name = "EndEngineInfoMsg";
    static constexpr char const* k_About = "From the Master: all Engines asked for have been sent.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct EngineHistoryMsg : MessageOf<EngineHistoryMsg> {
    static constexpr char const* k_Name = "EngineHistoryMsg";
    static constexpr char const* k_About = "From the Master: the log of an Engine.";

    UID engine;
    EngineHistory history;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engine", &EngineHistoryMsg::engine, "the Engine"},
                          Field{"History", &EngineHistoryMsg::history, "its last lines"}};
    }
};

struct EngineHistoryElementMsg : MessageOf<EngineHistoryElementMsg> {
    static constexpr char const* k_Name = "EngineHistoryElementMsg";
    static constexpr char const* k_About = "From the Master: one new line in the log of an Engine.";

    UID engine;
    EngineHistoryElement element;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engine", &EngineHistoryElementMsg::engine, "the Engine"},
                          Field{"Element", &EngineHistoryElementMsg::element, "the line"}};
    }
};

struct DefaultEngineMsg : MessageOf<DefaultEngineMsg> {
    static constexpr char const* k_Name = "DefaultEngineMsg";
    static constexpr char const* k_About = "Both ways: the settings that a new Engine gets.";

    Engine engine;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engine", &DefaultEngineMsg::engine, "an Engine that carries settings alone"}};
    }
};

struct DefaultEngineOptionsMsg : MessageOf<DefaultEngineOptionsMsg> {
    static constexpr char const* k_Name = "DefaultEngineOptionsMsg";
    static constexpr char const* k_About = "Both ways: the options for one Product that a new Engine gets.";

    UID product;
    OptionMap options;

    static constexpr auto Fields() {
        return std::tuple{Field{"Product", &DefaultEngineOptionsMsg::product, "the Product"},
                          Field{"Options", &DefaultEngineOptionsMsg::options, "all options"}};
    }
};

struct PoolMsg : MessageOf<PoolMsg> {
    static constexpr char const* k_Name = "PoolMsg";
    static constexpr char const* k_About = "Both ways: Pools that are new or renamed.";

    std::map<UID, String> pools;

    static constexpr auto Fields() { return std::tuple{Field{"Pools", &PoolMsg::pools, "the Pools and their names"}}; }
};

struct DeletePoolMsg : MessageOf<DeletePoolMsg> {
    static constexpr char const* k_Name = "DeletePoolMsg";
    static constexpr char const* k_About = "Both ways: a Pool goes away.";

    UID pool;

    static constexpr auto Fields() { return std::tuple{Field{"Pool", &DeletePoolMsg::pool, "the Pool"}}; }
};

struct ResetEngineFailuresMsg : MessageOf<ResetEngineFailuresMsg> {
    static constexpr char const* k_Name = "ResetEngineFailuresMsg";
    static constexpr char const* k_About = "Both ways: the failures of an Engine are forgotten.";

    UID engine;

    static constexpr auto Fields() {
        return std::tuple{Field{"Engine", &ResetEngineFailuresMsg::engine, "the Engine"}};
    }
};

} // namespace vorlan
