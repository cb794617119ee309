#pragma once

// One posix_spawn of a unit's process.

#include "engine/runner/runner.h"

#include <sys/types.h>

#include <functional>

namespace vorlan::runner {

struct SpawnResult {
    pid_t pid = 0;  // 0 or below: it did not start
    RunEnd failure; // why not, in words that a user can act on
};

// Starts the process in a session and group of its own, with `output` (a descriptor,
// or -1 for none) as its standard output and error and no other descriptor of this
// program's. Its environment is the calling program's own with what `spec` says and the
// mark. All that is looked for may be on a share that hangs: whoever calls may wait as
// long. `mayStart` is asked right before the process is made.
SpawnResult SpawnUnit(RunSpec spec, String const& mark, int output, std::function<bool()> const& mayStart);

} // namespace vorlan::runner
