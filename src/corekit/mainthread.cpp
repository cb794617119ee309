#include <corekit/mainthread.h>

#include <corekit/callentry.h>
#include <corekit/log.h>

#include <atomic>
#include <cstdlib>
#include <thread>

namespace corekit {

namespace {
// Static initialisers run on the thread that starts the program.
std::atomic<std::thread::id> s_main{std::this_thread::get_id()};
} // namespace

bool IsMainThread() { return s_main.load(std::memory_order_relaxed) == std::this_thread::get_id(); }

void BecomeMainThread() { s_main.store(std::this_thread::get_id(), std::memory_order_relaxed); }

#ifndef NDEBUG
void AssertMainThread() {
    if (IsMainThread())
        return;
    LogError("What belongs to the main thread was called on another one:\n" + CallStackText());
    Log::Flush();
    std::abort();
}
#endif

} // namespace corekit
