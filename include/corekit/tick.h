#pragma once

#include <corekit/signal.h>

namespace corekit {

// Tick is the beat on which displays show what has changed since the last one, all at
// once.
// Owner: the process. A program with windows emits it from a timer of its event loop,
// one without from a loop of its own.
// Thread: slots run on the main thread; Connect on any.
struct Tick {
    using SignalType = Signal0<ThreadPolicy::LocalThreaded>;

    static constexpr int k_PeriodMs = 250;
    static SignalType s_Timer0250;
};

} // namespace corekit
