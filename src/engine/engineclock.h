#pragma once

// The Engine's only clock, so that a test can have its own.

#include <corekit/time.h>
#include <vorlan/fwd.h>

#include <chrono>

namespace vorlan {

// Tells the time. Owned by the program's main part; any thread.
class EngineClock {
public:
    virtual ~EngineClock() = default;
    // The time of day, which somebody may set back.
    virtual Time Now() const { return Time::CurrentTime(); }
    // Milliseconds that only grow.
    virtual int64_t SteadyMs() const {
        using namespace std::chrono;
        return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    }
};

} // namespace vorlan
