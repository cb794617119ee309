#pragma once

// The folders that people look for, and the desktop's way to show one.

#include <corekit/path.h>
#include <corekit/runcommand.h>
#include <vorlan/fwd.h>

#include <functional>
#include <vector>

namespace vorlan {

// The folder that a command of the System menu shows; empty when it is not installed.
Path SystemFolder(int id);

// Runs a program that may stay open for as long as it shows something. Throws
// Exception when it cannot be started or fails at once. Waits for a moment.
using FolderOpener = std::function<void(Path const& program, std::vector<String> const& args)>;
void StartOpener(Path const& program, std::vector<String> const& args);

// Shows a folder in the desktop's file manager. Throws Exception, which names the
// folder and says what is missing. Waits for a moment.
void ShowFolder(Path const& folder, FolderOpener const& open = &StartOpener);

} // namespace vorlan
