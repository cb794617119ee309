#pragma once

// The start of a child process: everything up to its number.

#include <corekit/process.h>

namespace corekit {

// Starts the program. Its number, or -1 with the reason in words for a user.
pid_t SpawnProcess(Path const& program, ProcessOptions const& options, String& error);

} // namespace corekit
