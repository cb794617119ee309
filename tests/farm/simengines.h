#pragma once

// Many Engines on real connections that run nothing.

#include "test.h"

#include <vorlan/fwd.h>

namespace vorlan::farmtest {

// How much happens, each figure for all Engines together.
struct SimEnginesOptions {
    unsigned engines = 500;
    unsigned cores = 4;
    double endsPerSecond = 400;
    double progressPerSecond = 800;
    double notesPerSecond = 5;  // lines of the Engines' logs
    double lossesPerSecond = 2; // an Engine is gone, with its work or without
    double failedShare = 0.04;
    uint64_t seed = 1;
};

// SimEngines are Engines without machines: each on a connection of its own, all on one
// thread. They take units, begin and end them, tell of progress, vanish and come back.
// Owner: a test. Works with: the Master whose port lies in VORLAN_HOME; sim::SimEngine,
// which is what one Engine knows.
// Thread: any. Always: a unit that was reported as ended is reported until the Master
// acknowledges it, over as many connections as it takes.
class SimEngines {
public:
    explicit SimEngines(SimEnginesOptions const& options);
    ~SimEngines();

    // From here on nothing happens by itself: no unit begins, moves or ends, no Engine is
    // lost. Those that are away come back, and orders are obeyed.
    void Hold();
    void GoOn();
    // All are registered, and the Master has taken all results.
    bool AllThere() const;

    struct Counts {
        size_t registered = 0;
        size_t units = 0; // that they have now
        size_t unacknowledged = 0;
        uint64_t begun = 0;
        uint64_t ended = 0;
        uint64_t failed = 0;
        uint64_t losses = 0;
    };
    Counts Count() const;
    // What the Master did that it must not do.
    std::vector<String> Faults() const;

private:
    class Group;
    std::shared_ptr<Group> m_group;
};

} // namespace vorlan::farmtest
