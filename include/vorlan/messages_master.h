#pragma once

// What is told about the Master itself: its options, Products and words of its own.

#include <corekit/optionmap.h>
#include <corekit/time.h>
#include <vorlan/failures.h>
#include <vorlan/messagetable.h>
#include <vorlan/pathtranslation.h>

#include <map>
#include <vector>

namespace vorlan {

class MasterMessages;
#define VORLAN_MESSAGE_GROUP MasterMessages

// clang-format off: a line per field
using ProductLimits = std::map<UID, int>;
using CommandRestrictions = std::map<String, bool, String::ciless>;
using StartValues = std::map<int, int>;

using FailureItem = Failures::FailureItem;

VORLAN_MESSAGE(SetMasterOptionsMsg, FromClients | ToClients | ToEngines, k_V300,
               "The options of one section, or of one Product for all Engines.",
               (String, section, "Section", "the name of the section, or the UID of the Product as text"),
               (OptionMap, options, "Options", "the options as a whole"));

VORLAN_MESSAGE(SetMasterLimitsMsg, FromClients | ToClients, k_V300, "How many units of each Product may run at a time.",
               (ProductLimits, limits, "Limits", "the Products and their limits"));

VORLAN_MESSAGE(SetMasterRestrictionsMsg, FromClients | ToClients, k_V300,
               "What people who are no administrators may do.",
               (CommandRestrictions, restrictions, "Restrictions", "the commands; true: administrators only"));

VORLAN_MESSAGE(MasterInfoMsg, ToClients, k_V300, "What the Master is.",
               (UID, machine, "Machine", "the id of its machine"),
               (String, machineName, "MachineName", "the name of its machine"),
               (uint16_t, port, "Port", "where it listens"),
               (unsigned, version, "Version", "the version of the program, 30000 for 3.0.0"),
               (Time, releaseDate, "ReleaseDate", "when that version came out"),
               (Time, startTime, "StartTime", "when the Master started"),
               (String, message, "Message", "the message of the day"),
               (unsigned, administrate, "Administrate", "who may administrate"),
               (int, idleTimeout, "IdleTimeout", "minutes without input after which a client becomes an Engine"),
               (UID, historyLog, "HistoryLog", "asked for as the output of a run, gives the History.log of the Master"),
               (UID, dispatchLog, "DispatchLog", "the same for its Dispatch.log"));

VORLAN_MESSAGE(MasterDefaultStartupMsg, FromClients | ToClients, k_V300,
               "What a machine starts that has no settings of its own.",
               (StartValues, components, "Components", "the numbers of the components and their start values"));

VORLAN_MESSAGE(DispatchResultMsg, ToClients, k_V300, "Why a Job or an Engine gets work or does not.",
               (String, report, "Report", "text for people"));

VORLAN_MESSAGE(MasterLogsMsg, ToClients, k_V300, "Lines of the Master's log.",
               (std::vector<String>, lines, "Lines", "the lines, the oldest first"));

VORLAN_MESSAGE(PathTranslationsMsg, FromClients | ToClients | ToEngines, k_V300,
               "What a path is called on other platforms.",
               (PathNames, translations, "Translations", "for each folder its path by platform"));

VORLAN_MESSAGE(ProductMsg, FromClients | ToClients | ToEngines, k_V300, "A Product that is new or changed.",
               (String, text, "Text", "the Product in its file form (JSON)"));

VORLAN_MESSAGE(RemoveProductMsg, FromClients | ToClients | ToEngines, k_V300, "A Product goes away.",
               (UID, product, "Product", "the Product"));

VORLAN_MESSAGE(FailureArchiveMsg, ToClients, k_V300, "All failures, those that were reset too.",
               (std::vector<FailureItem>, items, "Items", "the failures"));

VORLAN_MESSAGE(LoadedMsg, ToClients | ToEngines, k_V300,
               "What a peer must have before it counts as connected has been sent.");

VORLAN_MESSAGE(RefusedMsg, ToClients | ToEngines, k_V300, "A command could not be done.",
               (UID, id, "ID", "what was refused: a Job, an Engine, a Product"),
               (String, reason, "Reason", "text for people: why, and what to do"));

VORLAN_MESSAGE(PingMsg, FromClients | FromEngines | ToClients | ToEngines, k_V300, "Asks for a PongMsg.",
               (Time, time, "Time", "the clock of the sender"));

VORLAN_MESSAGE(PongMsg, FromClients | FromEngines | ToClients | ToEngines, k_V300, "Answers a PingMsg.",
               (Time, time, "Time", "the time of the PingMsg"));
// clang-format on

#undef VORLAN_MESSAGE_GROUP

} // namespace vorlan
