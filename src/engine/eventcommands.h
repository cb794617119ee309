#pragma once

// The commands that run at the moments of a unit.

#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <vector>

namespace vorlan {

// One command line, ready for /bin/sh.
struct EventCommand {
    String label; // "Work Assigned", for notes and logs
    String script;
};

// The commands for an event (its TypeName): that of the Engine's settings, then that of
// the unit. Each `$(Name)` stands for a value of the unit, or one of `extra` ("Engine.Name"
// and the like), as one word. `settings` and `product` may be null. A command that cannot
// be expanded is left out with an error in the log.
std::vector<EventCommand> CommandsFor(char const* eventName, CommonEngine const* settings, Job const& work,
                                      Product const* product, OptionMap const& extra);

// A command line of a person for one Job or none, expanded in the same way.
String ExpandScript(String const& command, Job const& work, Product const* product, OptionMap const& extra);

} // namespace vorlan
