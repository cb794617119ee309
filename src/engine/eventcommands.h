#pragma once

// The commands that run at the moments of a unit.

#include "engine/runner/runner.h"

#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>
#include <vorlan/jobtemplate.h>

#include <vector>

namespace vorlan {

// One command line, ready for /bin/sh.
struct EventCommand {
    String label; // "Work Assigned", for notes and logs
    ShellScript script;
};

// The commands for an event (its TypeName): that of the Engine's settings, then that of
// the unit. Each `$(Name)` stands for a value of the unit, or one of `extra` ("Engine.Name"
// and the like), as one word. `settings` and `product` may be null. Throws an
// ArgumentException that names the command when one cannot be expanded.
std::vector<EventCommand> CommandsFor(char const* eventName, CommonEngine const* settings, Job const& work,
                                      Product const* product, OptionMap const& extra);

// The process that runs such a script, without an id.
RunSpec SpecOf(ShellScript const& script, Path const& folder);

} // namespace vorlan
