#pragma once

#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <map>
#include <vector>

namespace vorlan {

// One entry of a Product's argument list, before any value is known.
struct ArgumentTemplate {
    enum class Kind {
        Text,       // one argument; left out when it expands to nothing
        Group,      // its items; all left out when a value that they refer to is missing or empty
        If,         // its items, when `text` expands to something that is true
        Each,       // its items for each entry of the list parameter `text`, which is $(Item) there; ";" parts them
        CommandLine // `text` names a parameter whose value is a command line: split, then expanded word by word
    };

    Kind kind = Kind::Text;
    String text;
    std::vector<ArgumentTemplate> items;

    bool operator==(ArgumentTemplate const&) const = default;
};

// How a process of a Product or Command is started; every text is a template (jobtemplate.h).
struct LaunchTemplate {
    std::vector<ArgumentTemplate> arguments;
    std::map<String, String> environment; // a variable that expands to nothing is not set
    String folder;                        // empty: the Engine's own folder for the unit
    bool createFolder = false;            // make `folder` before the start
    String shell;                         // runs through /bin/sh when this expands to something true
    std::vector<String> expectedFiles;    // with $(Frame): one file for each frame of the unit
    String extra;                         // JSON object of keys that are none of this version's

    bool Empty() const { return arguments.empty(); }
};

// One pattern on the lines that a process writes.
struct OutputRule {
    enum class Kind {
        Percent,     // the value is a percentage: of the frame where Frame rules exist, else of the unit
        Step,        // value of total, the same
        Frame,       // the value is the number of the frame that is now worked on
        FrameOffset, // the same, counted from the unit's first frame number, which is 1
        Done,        // the value is the number of a frame that is finished
        Total,       // what Position counts towards; the first one seen holds for the process
        Position,    // the value of that total; both may be times such as 00:01:30.5
        Warning,     // the line goes into the unit's log of warnings
        Error        // the unit is unsuccessful whatever its exit code; the line becomes its note
    };

    Kind kind = Kind::Percent;
    String pattern;     // RE2 syntax, found anywhere in the line
    int valueGroup = 1; // 0: the whole match
    int totalGroup = 2; // Step alone
    String text;        // the note; "$1" stands for group 1; empty: the whole line
    String extra;       // JSON object of keys that are none of this version's

    bool operator==(OutputRule const&) const = default;
};

// How the Engine reads a unit's output and when it calls a unit successful.
struct OutputRules {
    std::vector<OutputRule> rules;
    std::vector<int> successCodes = {0};
    String extra; // JSON object of keys that are none of this version's

    static char const* KindName(OutputRule::Kind kind);
};

} // namespace vorlan
