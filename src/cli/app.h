#pragma once

// The command line as a whole.

#include "cli/command.h"

#include <string>
#include <vector>

namespace vorlan::cli {

// Makes a link to the Master at the hosts given with --master; they are empty
// without it.
using LinkMaker = std::function<std::unique_ptr<MasterLink>(LinkRequest const& request)>;

// Parses the arguments (without the program's own name), runs the command, and prints
// what went wrong. Never throws.
int RunCommandLine(std::vector<std::string> const& arguments, Terminal& terminal, LinkMaker const& connect);

} // namespace vorlan::cli
