#pragma once

// What the end of a unit means, and what must be there around it: plain decisions.

#include "engine/runner/runner.h"

#include <corekit/path.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <vector>

namespace vorlan {

// The result of a unit: a number of status.h and a note for people.
struct Verdict {
    int status = 0;
    String note;
};

// All that is known when the process of a unit has ended.
struct EndFacts {
    RunEnd end;
    String program; // as the launch names it
    String command; // the whole command line
    String host;    // this Engine's name
    std::vector<int> successCodes{0};
    String error;       // what the output's patterns took for an error
    String lastLine;    // of the output
    String missingFile; // an expected file that is missing or empty
};

Verdict Judge(EndFacts const& facts);

// How a process ended, in a few words: "exit code 3", "ended by signal 9 (SIGKILL)".
String EndText(RunEnd const& end);
// It ran and its exit code is one of these.
bool HasSucceeded(RunEnd const& end, std::vector<int> const& successCodes);

// The first of the files that is missing or empty; relative ones are looked for in
// `folder`. Empty when all are there. Asks the disk, which may be slow.
String FindMissingFile(std::vector<String> const& files, Path const& folder);

// What is wrong with the shares of a "local = remote ; local = remote" text: a local
// folder that is not there. Empty when nothing is. Asks the disk, which may be slow.
String CheckShares(String const& resources, String const& host);

} // namespace vorlan
