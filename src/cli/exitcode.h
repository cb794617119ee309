#pragma once

// How `vorlan` ends, for scripts.

#include <corekit/exception.h>
#include <vorlan/fwd.h>

namespace vorlan::cli {

// The numbers are documented in `vorlan --help` and the README; scripts count on them.
enum class ExitCode : int {
    Ok = 0,
    Failed = 1,   // a Job failed, the Master refused, or what was named is not there
    Usage = 2,    // the command line is wrong
    NoMaster = 3, // no Master can be reached, or it went away
    TimedOut = 4, // --timeout is over
    Interrupted = 130,
};

// Ends a command with its code and one text for the terminal.
class CommandException : public Exception {
public:
    CommandException(ExitCode exitCode, String message) : Exception(std::move(message)), m_exitCode(exitCode) {}
    ExitCode Exit() const { return m_exitCode; }

private:
    ExitCode m_exitCode;
};

} // namespace vorlan::cli
