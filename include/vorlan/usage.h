#pragma once

// What a program says of itself on its command line.

#include <corekit/commandline.h>

namespace vorlan {

// True if --help, -h or --version was given: the answer is on the standard output then,
// and the program is to end without having begun. `usage` is the whole text of the help.
bool AnswerUsage(corekit::CommandLine const& commandLine, char const* usage);

// False, with a line on the standard error output, if a switch was given that stands
// nowhere in the help.
bool KnowsSwitches(int argc, char const* const* argv, char const* usage);

} // namespace vorlan
