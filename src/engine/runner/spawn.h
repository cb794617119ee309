// One posix_spawn of a unit's process.
#pragma once

#include "engine/runner/runner.h"

#include <sys/types.h>

namespace vorlan::runner {

struct SpawnResult {
    pid_t pid = 0; ///< 0 or below: it did not start
    bool notFound = false;
    String error; ///< in words that a user can act on
};

/// Starts the process in a session and group of its own, with `output` (a descriptor,
/// or -1 for none) as its standard output and error, and the mark in its environment.
SpawnResult SpawnUnit(RunSpec const& spec, String const& mark, int output);

/// The file that a program's name means: as it stands when it holds a stroke, else the
/// first one in `path` that can be executed. Empty when there is none.
String FindProgram(String const& name, String const& path);

} // namespace vorlan::runner
