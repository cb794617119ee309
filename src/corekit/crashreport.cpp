#include <corekit/crashreport.h>

#include <corekit/callentry.h>
#include <corekit/file.h>
#include <corekit/log.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cxxabi.h>
#include <exception>
#include <execinfo.h>
#include <fcntl.h>
#include <memory>
#include <sys/syscall.h>
#include <unistd.h>

namespace corekit {

namespace {

constexpr int k_Signals[] = {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL};
constexpr size_t k_HandlerStackBytes = 64 * 1024;
constexpr int k_MaxMachineFrames = 64;

// Constant after Install.
char s_folder[PATH_MAX];
// Written by the thread that meets an uncaught exception, just before it aborts.
char s_reason[512];
std::atomic<int64_t> s_reporter{0}; // the thread that writes the report

// Text output that is safe inside a signal handler: no allocation, no locale.
class RawText {
public:
    explicit RawText(int fd) : m_fd(fd) {}
    ~RawText() { Flush(); }

    RawText& Add(char const* text) {
        for (; *text; ++text)
            Put(*text);
        return *this;
    }
    RawText& Add(uint64_t number, unsigned base = 10) {
        char digits[24];
        size_t count = 0;
        do {
            digits[count++] = "0123456789abcdef"[number % base];
            number /= base;
        } while (number);
        while (count > 0)
            Put(digits[--count]);
        return *this;
    }
    void Flush() {
        for (size_t sent = 0; sent < m_used;) {
            ssize_t bytes = ::write(m_fd, m_buffer + sent, m_used - sent);
            if (bytes <= 0)
                break;
            sent += static_cast<size_t>(bytes);
        }
        m_used = 0;
    }

private:
    void Put(char c) {
        if (m_used == sizeof(m_buffer))
            Flush();
        m_buffer[m_used++] = c;
    }

    int m_fd;
    size_t m_used = 0;
    char m_buffer[1024];
};

char const* SignalName(int signal) {
    switch (signal) {
    case SIGSEGV:
        return "SIGSEGV, invalid memory access";
    case SIGABRT:
        return "SIGABRT, the program gave up";
    case SIGBUS:
        return "SIGBUS, unreachable memory";
    case SIGFPE:
        return "SIGFPE, arithmetic error";
    case SIGILL:
        return "SIGILL, invalid instruction";
    default:
        return "unknown signal";
    }
}

// A path in a buffer of its own, put together without allocation.
struct ReportPath {
    char text[PATH_MAX + 64];
    size_t used = 0;
    void Add(char const* part) {
        while (*part && used + 1 < sizeof(text))
            text[used++] = *part++;
        text[used] = 0;
    }
    void Add(uint64_t number) {
        char digits[24];
        size_t at = sizeof(digits) - 1;
        digits[at] = 0;
        do {
            digits[--at] = static_cast<char>('0' + number % 10);
            number /= 10;
        } while (number);
        Add(digits + at);
    }
};

void WriteStack(RawText& out, CallStack const& stack, int64_t thread, bool failed) {
    out.Add(failed ? "\nThread that failed: " : "\nThread: ");
    out.Add(stack.threadName[0] ? stack.threadName : "(no name)").Add(", ");
    out.Add(static_cast<uint64_t>(thread)).Add("\n");
    uint32_t recorded = std::min(stack.depth, CallStack::k_MaxDepth);
    if (stack.depth > recorded)
        out.Add("  ... ").Add(stack.depth - recorded).Add(" more\n");
    for (uint32_t i = recorded; i-- > 0;) {
        auto const& frame = stack.frames[i];
        if (frame.name && frame.file)
            out.Add("  ")
                .Add(frame.name)
                .Add(" (")
                .Add(frame.file)
                .Add(":")
                .Add(static_cast<uint64_t>(frame.line))
                .Add(")\n");
    }
}

void WriteReport(int fd, int signal, siginfo_t const* info, int64_t thread) {
    RawText out(fd);
    out.Add("Signal: ").Add(static_cast<uint64_t>(signal)).Add(" (").Add(SignalName(signal)).Add(")\n");
    if (signal == SIGSEGV || signal == SIGBUS)
        out.Add("Address: 0x").Add(reinterpret_cast<uintptr_t>(info->si_addr), 16).Add("\n");
    out.Add("Process: ").Add(static_cast<uint64_t>(::getpid())).Add("\n");
    if (s_reason[0])
        out.Add("Reason: ").Add(s_reason).Add("\n");
    // Found by its entry, not by its number: a forked child has another one.
    CallStack const* own = t_callStack;
    if (own)
        WriteStack(out, *own, thread, true);
    CallStack const* table = CallStack::Table();
    for (uint32_t i = 0; i < CallStack::k_MaxThreads; ++i) {
        if (table[i].used.load(std::memory_order_acquire) && &table[i] != own)
            WriteStack(out, table[i], table[i].threadId, false);
    }
    out.Add("\nBack trace:\n").Flush();
    void* frames[k_MaxMachineFrames];
    int count = ::backtrace(frames, k_MaxMachineFrames);
    ::backtrace_symbols_fd(frames, count, fd);
}

void OnFault(int signal, siginfo_t* info, void*) {
    int64_t thread = ::syscall(SYS_gettid);
    int64_t none = 0;
    if (!s_reporter.compare_exchange_strong(none, thread)) {
        // Another thread failed first: let it finish, then all end together.
        while (none != thread)
            ::pause();
    } else {
        ReportPath path;
        path.Add(s_folder);
        path.Add("/Crash-");
        path.Add(static_cast<uint64_t>(::time(nullptr)));
        path.Add("-");
        path.Add(static_cast<uint64_t>(::getpid()));
        path.Add(".txt");
        int fd = ::open(path.text, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
        RawText console(STDERR_FILENO);
        if (fd >= 0) {
            WriteReport(fd, signal, info, thread);
            ::close(fd);
            console.Add("The program failed. The report is in ").Add(path.text).Add("\n");
        } else {
            console.Add("The program failed, and no report could be written to ").Add(path.text).Add("\n");
        }
    }
    // The handler was for one time: the signal now does what it does by itself.
    ::raise(signal);
}

// Notes an uncaught exception's text, then dies as without us.
[[noreturn]] void OnTerminate() {
    if (std::exception_ptr current = std::current_exception()) {
        char const* text = "an exception of an unknown kind";
        try {
            std::rethrow_exception(current);
        } catch (std::exception const& exception) {
            text = exception.what();
            std::strncpy(s_reason, text, sizeof(s_reason) - 1);
        } catch (...) {
            std::strncpy(s_reason, text, sizeof(s_reason) - 1);
        }
    }
    std::abort();
}

// A thread's stack for the handler.
struct HandlerStack {
    std::unique_ptr<char[]> memory;
    ~HandlerStack() {
        if (!memory)
            return;
        stack_t none{};
        none.ss_flags = SS_DISABLE;
        ::sigaltstack(&none, nullptr);
    }
};

thread_local HandlerStack t_handlerStack;
std::atomic<bool> s_installed{false};

} // namespace

void CrashReport::PrepareThread() {
    if (!s_installed || t_handlerStack.memory)
        return;
    t_handlerStack.memory.reset(new char[k_HandlerStackBytes]);
    stack_t stack{};
    stack.ss_sp = t_handlerStack.memory.get();
    stack.ss_size = k_HandlerStackBytes;
    ::sigaltstack(&stack, nullptr);
}

void CrashReport::Install(Path const& folder) {
    if (folder.size() >= sizeof(s_folder)) {
        LogWarning("Crash reports are off: the folder's name is too long");
        return;
    }
    try {
        File::MakeFolder(folder);
    } catch (Exception const& exception) {
        LogWarning("Crash reports cannot be written. " + exception.Message());
    }
    std::memcpy(s_folder, folder.c_str(), folder.size() + 1);
    s_installed = true;
    PrepareThread();
    CallStack::Attach();
    // The first back trace loads a library, which a handler must not do.
    void* frame = nullptr;
    ::backtrace(&frame, 1);
    std::set_terminate(&OnTerminate);
    for (int signal : k_Signals) {
        struct sigaction action {};
        action.sa_sigaction = &OnFault;
        action.sa_flags = static_cast<int>(SA_SIGINFO | SA_ONSTACK | SA_RESETHAND);
        sigemptyset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace corekit
