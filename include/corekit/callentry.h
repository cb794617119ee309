#pragma once

// The call stack that each thread keeps for the crash report.

#include <corekit/string.h>

#include <atomic>
#include <cstdint>

namespace corekit {

// CallStack is one thread's record of the functions that it is in.
// Owner: a fixed table in callentry.cpp; a thread takes an entry with its first
// record and gives it back when it ends. The memory stays, so that a crash
// report may look at every entry at any time.
// Thread: written by its thread only.
struct CallStack {
    struct Frame {
        char const* name;
        char const* file;
        int line;
    };
    static constexpr uint32_t k_MaxDepth = 64;
    static constexpr uint32_t k_MaxThreads = 256;
    static constexpr uint32_t k_MaxThreadName = 32;

    uint32_t depth; // may pass k_MaxDepth; deeper frames are counted only
    Frame frames[k_MaxDepth];
    char threadName[k_MaxThreadName];
    int64_t threadId;
    std::atomic<bool> used;

    // Gives the calling thread an entry.
    static CallStack* Attach();
    // Names the calling thread in reports; cut to k_MaxThreadName - 1 bytes.
    static void SetThreadName(char const* name);
    // The table, of k_MaxThreads entries; those with `used` set are in use.
    static CallStack* Table();
};

extern constinit thread_local CallStack* t_callStack;

// Records a function while it is in scope. The texts must be literals.
class _CallEntry {
public:
    _CallEntry(char const* name, char const* file, int line)
        : m_stack(t_callStack ? t_callStack : CallStack::Attach()) {
        uint32_t depth = m_stack->depth;
        if (depth < CallStack::k_MaxDepth)
            m_stack->frames[depth] = {name, file, line};
        m_stack->depth = depth + 1;
    }
    ~_CallEntry() { --m_stack->depth; }
    _CallEntry(_CallEntry const&) = delete;
    _CallEntry& operator=(_CallEntry const&) = delete;

private:
    CallStack* m_stack;
};

// The calling thread's stack, innermost first, a line each.
String CallStackText();

} // namespace corekit

// Opens a function: CALL_ENTRY(); or, with a name of its own,
// CALL_ENTRY_NAMED("JobList::InsertJob");
#define CALL_ENTRY() CALL_ENTRY_NAMED(__PRETTY_FUNCTION__)
#define CALL_ENTRY_NAMED(name) CALL_ENTRY_AT(name, __LINE__)
// Two steps, so that the line's number is part of the variable's name.
#define CALL_ENTRY_AT(name, line) CALL_ENTRY_AT_(name, line)
#define CALL_ENTRY_AT_(name, line) ::corekit::_CallEntry callEntry##line##_(name, __FILE__, line)
