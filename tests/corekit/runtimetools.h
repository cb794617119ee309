// What the tests of threads, processes and the log share.
#pragma once

#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/path.h>
#include <corekit/uid.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace corekit::test {

// Polls until the condition holds. False when it did not within the deadline.
template <class Condition>
bool WaitFor(Condition condition, int deadlineMs = 20000) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(deadlineMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// A folder of the test's own, deleted with all in it at the end.
class TempFolder {
public:
    TempFolder() : m_path(std::filesystem::temp_directory_path() / ("corekit-" + UID(true).ToString().Str())) {
        std::filesystem::create_directories(m_path.Native());
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path.Native(), ignored);
    }
    Path const& Get() const { return m_path; }

private:
    Path m_path;
};

// Sets an environment variable for a scope.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : m_name(name) {
        if (const char* old = std::getenv(name)) {
            m_had = true;
            m_old = old;
        }
        ::setenv(name, value, 1);
    }
    ~ScopedEnv() {
        if (m_had)
            ::setenv(m_name, m_old.c_str(), 1);
        else
            ::unsetenv(m_name);
    }

private:
    const char* m_name;
    bool m_had = false;
    std::string m_old;
};

// Catches the records that are logged while it lives.
class LogCatcher {
public:
    LogCatcher() {
        m_handle = Log::AddSink([this](LogLevel level, String const& text) {
            std::lock_guard lock(m_guard);
            m_records.emplace_back(level, text);
        });
    }
    std::vector<std::pair<LogLevel, String>> Records() {
        std::lock_guard lock(m_guard);
        return m_records;
    }
    bool Has(LogLevel level, std::string_view part) {
        for (auto const& [recordLevel, text] : Records()) {
            if (recordLevel == level && text.Contains(part))
                return true;
        }
        return false;
    }

private:
    std::mutex m_guard;
    std::vector<std::pair<LogLevel, String>> m_records;
    Log::SinkHandle m_handle;
};

// The system's letter for a thread of this process ('S' asleep), or for the main
// thread of another one; 0 when there is none.
inline char TaskState(long thread, long process = ::getpid()) {
    char path[96];
    std::snprintf(path, sizeof(path), "/proc/%ld/task/%ld/stat", process, thread);
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path, "r"), &std::fclose);
    char text[256]{};
    if (!file || std::fread(text, 1, sizeof(text) - 1, file.get()) == 0)
        return 0;
    std::string_view view(text);
    size_t bracket = view.rfind(')');
    return bracket + 2 < view.size() ? view[bracket + 2] : '\0';
}

inline bool IsAlive(long process) {
    char state = TaskState(process, process);
    return state != 0 && state != 'Z' && state != 'X';
}

inline long CurrentThread() { return ::syscall(SYS_gettid); }

} // namespace corekit::test
