#pragma once

// One posix_spawn of a unit's process.

#include "engine/runner/runner.h"

#include <sys/types.h>

namespace vorlan::runner {

struct SpawnResult {
    pid_t pid = 0; // 0 or below: it did not start
    bool notFound = false;
    String error; // in words that a user can act on
};

// Starts the process in a session and group of its own, with `output` (a descriptor,
// or -1 for none) as its standard output and error. Its environment is the calling
// program's own with what `spec` says and the mark.
SpawnResult SpawnUnit(RunSpec const& spec, String const& mark, int output);

// The file that the program's name means: as it stands when it holds a stroke, else the
// first one in the process's PATH that can be executed. Empty when there is none.
String FindProgram(RunSpec const& spec);

} // namespace vorlan::runner
