#pragma once

// One work unit on its way through the Engine.

#include "engine/eventcommands.h"
#include "engine/report/outputlog.h"
#include "engine/report/outputscanner.h"
#include "engine/report/progressthrottle.h"
#include "engine/runner/runner.h"
#include "engine/verdict.h"

#include <corekit/time.h>
#include <vorlan/job.h>
#include <vorlan/launch.h>
#include <vorlan/product.h>

#include <deque>
#include <memory>
#include <optional>

namespace vorlan {

// What the WorkDesk knows of a unit. Owned by it; its thread. The unit's own process
// and its synchronous commands run one after the other under the unit's id.
struct Unit {
    enum class Stage {
        Before,   // synchronous commands, one after the other; the start comes after them
        Checking, // its shares and folder, on another thread
        Running,  // its process
        Judging,  // its files, on another thread
        After,    // synchronous commands; the report comes after them
    };

    boost::shared_ptr<Job> work;
    boost::shared_ptr<Product const> product;
    OptionMap values; // the Engine's options, and what it says of itself
    Time taken;
    Time started;          // unset until its process runs
    int64_t startedMs = 0; // the same two by the steady clock
    int64_t endedMs = 0;
    Time ended;

    Stage stage = Stage::Before;
    bool inRunner = false;
    std::deque<EventCommand> commands;
    String commandLabel;           // of the command that runs
    int64_t commandEndMs = 0;      // when it must have ended
    int64_t preparingMs = 0;       // when the Master is told again that it runs
    bool parameterCommand = false; // the unit or its Engine wants to hear of new values

    Launch launch;
    RunSpec spec;
    std::unique_ptr<OutputLog> log;
    std::unique_ptr<OutputScanner> scanner;
    ProgressThrottle progress;

    bool overdue = false; // the command that runs was ended
    // One of its commands runs, and not the unit itself.
    bool RunsCommand() const { return inRunner && stage != Stage::Running; }

    std::optional<Verdict> stop; // asked for from outside; settles the result
    Verdict verdict;
    int exitCode = 0;
};

} // namespace vorlan
