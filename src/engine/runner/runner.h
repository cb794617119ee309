#pragma once

// Where a unit of work runs: the interface, and what goes in and comes out.

#include <corekit/path.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <map>
#include <string_view>
#include <vector>

namespace vorlan {

// A process to start for a unit.
struct RunSpec {
    UID work;
    std::vector<String> arguments;        // the program first, looked for in the process's PATH
    std::map<String, String> environment; // added to the Engine's own, or instead of what that has
    Path folder;                          // empty: the Engine's own
    bool ownFolder = false;               // it is the Engine's, for this user: made when it is not there
    String user;                          // empty: the Engine's own
    bool mayBeRoot = false;               // that user may have all rights
};

// How the process of a unit ended.
struct RunEnd {
    enum class Kind {
        Exited,     // `code` is the exit code
        Signaled,   // `code` is the signal
        NotFound,   // the program is not there; never ran
        NotStarted, // `error` says why; never ran
        Lost,       // the machine could not run it, or no longer: that says nothing about the unit
    };
    Kind kind = Kind::Exited;
    int code = 0;
    String error;
};

// Starts and ends the processes of units.
//
// Owned by the Engine. Its calls may come from any thread and never wait. The
// listener is called on one thread of the runner's, for each unit: output any
// number of times, then the end exactly once, after its last output.
class Runner {
public:
    class Listener {
    public:
        virtual ~Listener() = default;
        virtual void OnRunStarted(UID const& work, int pid) = 0;
        virtual void OnRunOutput(UID const& work, std::string_view bytes) = 0;
        virtual void OnRunEnded(UID const& work, RunEnd const& end) = 0;
    };

    virtual ~Runner() = default;

    virtual void Start(RunSpec const& spec) = 0;

    // Asks the whole group of the unit to end, kills what is left of it after the
    // grace. Nothing for a unit that does not run.
    virtual void Stop(UID const& work, int graceMs) = 0;
};

} // namespace vorlan
