#pragma once

// What a program says of itself on its command line.

#include <corekit/commandline.h>

namespace vorlan {

// True if --help, -h or --version was given: the answer is on the standard output then,
// and the program is to end without having begun. `usage` is the whole text of the help.
bool AnswerUsage(corekit::CommandLine const& commandLine, char const* usage);

} // namespace vorlan
