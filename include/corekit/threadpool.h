#pragma once

#include <corekit/string.h>
#include <corekit/uid.h>

#include <functional>

namespace corekit {

// ThreadPool runs functions on a few background threads.
// Owner: the process; the application initialises it at start and shuts it down
// at its end.
// Thread: any, except that Shutdown is not called from a queued function.
// Always: an exception that leaves a function is logged and ends that function
// only; a function is destroyed on the pool's thread, right after it ran.
class ThreadPool {
public:
    // Starts the threads, 0 meaning one per core and two at least. A second call
    // changes nothing.
    static void Initialize(unsigned threads = 0);
    // True between Initialize and Shutdown.
    static bool IsReady();

    // Runs the function on some thread, in the order of queueing. False when the
    // pool isn't ready: the function was not taken.
    static bool Queue(std::function<void()> function);

    // The same, but functions of one type name run one after the other, so that
    // they never hold more than one thread. A function that still waits under
    // the same type name and id is replaced by this one, in its place.
    static bool ThrottleQueue(std::function<void()> function, String const& typeName, UID const& id);

    // Runs both and returns when both are done, the second one on another thread if one
    // is free for it in time. From a queued function, too. They throw nothing.
    static void RunBoth(std::function<void()> const& here, std::function<void()> const& there);

    // Runs what is queued, then ends the threads.
    static void Shutdown();
};

} // namespace corekit
