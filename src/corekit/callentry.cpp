#include <corekit/callentry.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace corekit {

constinit thread_local CallStack* t_callStack = nullptr;

namespace {

constinit std::array<CallStack, CallStack::k_MaxThreads> s_table{};

// Gives the entry back when the thread ends. Records of destructors that run
// later still go to the entry, which is only wrong in a report.
struct Detacher {
    bool attached = false;
    ~Detacher() {
        if (attached)
            t_callStack->used.store(false, std::memory_order_release);
    }
};

thread_local Detacher t_detacher;

// For threads beyond the table: they record, and no report shows them.
thread_local CallStack t_spare{};

// A forked child has one thread only; the entries of the others are free there.
void ForgetOtherThreads() {
    for (CallStack& entry : s_table) {
        if (&entry != t_callStack)
            entry.used.store(false, std::memory_order_relaxed);
        else
            entry.threadId = ::syscall(SYS_gettid);
    }
}

[[maybe_unused]] int const s_forkHandler = ::pthread_atfork(nullptr, nullptr, &ForgetOtherThreads);

char const* FileLeaf(char const* path) {
    char const* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

} // namespace

CallStack* CallStack::Attach() {
    if (t_callStack)
        return t_callStack;
    for (CallStack& entry : s_table) {
        bool expected = false;
        if (entry.used.load(std::memory_order_relaxed) ||
            !entry.used.compare_exchange_strong(expected, true, std::memory_order_acquire))
            continue;
        entry.depth = 0;
        entry.threadName[0] = 0;
        entry.threadId = ::syscall(SYS_gettid);
        t_detacher.attached = true;
        return t_callStack = &entry;
    }
    return t_callStack = &t_spare;
}

void CallStack::SetThreadName(char const* name) {
    CallStack* stack = Attach();
    size_t length = std::min<size_t>(std::strlen(name), k_MaxThreadName - 1);
    std::memcpy(stack->threadName, name, length);
    stack->threadName[length] = 0;
}

CallStack* CallStack::Table() { return s_table.data(); }

String CallStackText() {
    String text;
    CallStack const* stack = t_callStack;
    if (!stack)
        return text;
    uint32_t recorded = std::min(stack->depth, CallStack::k_MaxDepth);
    if (stack->depth > recorded)
        text += "... " + String::From(stack->depth - recorded) + " more\n";
    for (uint32_t i = recorded; i-- > 0;) {
        auto const& frame = stack->frames[i];
        text += String(frame.name) + " (" + FileLeaf(frame.file) + ":" + String::From(frame.line) + ")\n";
    }
    return text;
}

} // namespace corekit
