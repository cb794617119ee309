#pragma once

// What is told about Engines and Pools.

#include <corekit/optionmap.h>
#include <vorlan/engine.h>
#include <vorlan/enginehistory.h>
#include <vorlan/messagetable.h>

#include <map>
#include <set>

namespace vorlan {

class EngineMessages;
#define VORLAN_MESSAGE_GROUP EngineMessages

// clang-format off: a line per field
using NamesByPool = std::map<UID, String>;

VORLAN_MESSAGE(EngineMsg, FromClients | ToClients, k_V300,
               "An Engine as a whole. From the Master: new or changed. To the Master: change its settings.",
               (Engine, engine, "Engine", "the Engine with all its values"));

VORLAN_MESSAGE_FIELDS(NoFields, EngineOptionsMsg, FromClients | ToClients, k_V300,
                      "The options of some Engines for one Product, as a whole.",
                      (std::set<UID>, engines, "Engines", "the Engines"), (UID, product, "Product", "the Product"),
                      (OptionMap, options, "Options", "all options"));
struct EngineOptionsMsg : MessageOf<EngineOptionsMsg> {
    void AddEngine(UID const& engine) { engines.insert(engine); }
    void AddOption(String const& name, String const& value) { options[name] = value; }
    void AddOptions(UID const& type, OptionMap const& values) {
        product = type;
        for (auto const& [name, value] : values)
            options[name] = value;
    }
};

VORLAN_MESSAGE(RemoveEngineMsg, FromClients | ToClients, k_V300,
               "From the Master: an Engine is gone. To the Master: forget an offline one.",
               (UID, engine, "Engine", "the Engine"));

VORLAN_MESSAGE(StartEngineInfoMsg, ToClients, k_V300, "The Engines asked for follow.");
VORLAN_MESSAGE(EndEngineInfoMsg, ToClients, k_V300, "All Engines asked for have been sent.");

VORLAN_MESSAGE(EngineHistoryMsg, ToClients, k_V300, "The log of an Engine.", (UID, engine, "Engine", "the Engine"),
               (EngineHistory, history, "History", "its last lines"));

VORLAN_MESSAGE(EngineHistoryElementMsg, FromEngines | ToClients, k_V300, "One new line in the log of an Engine.",
               (UID, engine, "Engine", "the Engine"), (EngineHistoryElement, element, "Element", "the line"));

VORLAN_MESSAGE(DefaultEngineMsg, FromClients | ToClients, k_V300, "The settings that a new Engine gets.",
               (Engine, engine, "Engine", "an Engine that carries settings alone"));

VORLAN_MESSAGE(DefaultEngineOptionsMsg, FromClients | ToClients, k_V300,
               "The options for one Product that a new Engine gets.", (UID, product, "Product", "the Product"),
               (OptionMap, options, "Options", "all options"));

VORLAN_MESSAGE(PoolMsg, FromClients | ToClients, k_V300, "Pools that are new or renamed.",
               (NamesByPool, pools, "Pools", "the Pools and their names"));

VORLAN_MESSAGE(DeletePoolMsg, FromClients | ToClients, k_V300, "A Pool goes away.", (UID, pool, "Pool", "the Pool"));

VORLAN_MESSAGE(ResetEngineFailuresMsg, FromClients | ToClients, k_V300, "The failures of an Engine are forgotten.",
               (UID, engine, "Engine", "the Engine"));
// clang-format on

#undef VORLAN_MESSAGE_GROUP

} // namespace vorlan
