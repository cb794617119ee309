#pragma once

#include <corekit/path.h>

namespace corekit {

// CrashReport writes a text file when the program is about to die of a fault:
// the signal, the call stacks of all threads, the machine code's back trace.
// Owner: the process. Works with: CallStack.
// Thread: Install on the main thread, at start; the handler on whichever fails.
// Always: the handler calls nothing that is unsafe in a signal handler, and lets
// the signal end the program as it would have.
class CrashReport {
public:
    // Reports go to "Crash-<time>-<process>.txt" in the folder, which is made if
    // need be; <time> is in seconds since 1970. Uncaught exceptions are noted too.
    static void Install(Path const& folder);
    // Gives the calling thread a stack for the handler, so that its own stack's
    // overflow is reported too. Thread does this for its threads.
    static void PrepareThread();
};

} // namespace corekit
