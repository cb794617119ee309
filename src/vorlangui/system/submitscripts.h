#pragma once

// The scripts by which other programs hand their scenes to the farm.

#include <corekit/path.h>
#include <vorlan/fwd.h>

#include <array>
#include <vector>

namespace vorlan {

struct SubmitScript {
    int id; // of its command
    char const* application;
    char const* file; // in the folder "submit"
    // Where the application keeps its things: "~" is the user's home, "$NAME" from the
    // environment, one "*" any version, the highest first.
    std::array<char const*, 2> homes;
    char const* folder;  // for scripts, within it
    char const* usually; // for people who have to find it themselves
    bool onThisSystem;   // the application exists for this system: it gets the path of `vorlan`
    char const* startup; // the file that loads it, beside it; null: the application finds it
    char const* howToUse;
};

std::vector<SubmitScript> const& SubmitScripts();
// Null for an id that is none.
SubmitScript const* FindSubmitScript(int id);

// The folder for the script on this machine; empty when the application is not found.
Path FindScriptFolder(SubmitScript const& script);

// Puts the script from `source` into `target`, which is made when it is missing, and
// gives what it wrote. What was there becomes "name.bak". `program` is the command
// line's program. Throws FileException; nothing is lost then.
std::vector<Path> InstallSubmitScript(SubmitScript const& script, Path const& source, Path const& target,
                                      Path const& program);

} // namespace vorlan
