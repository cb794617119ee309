#pragma once

#include <corekit/path.h>
#include <corekit/string.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace corekit {

// The rights of every log and of every output of a unit, at most.
inline constexpr unsigned k_LogMode = 0640;

enum class LogLevel : unsigned char { Debug, Info, Status, System, Warning, Error };

// "Debug", "Info" and so on.
char const* LogLevelName(LogLevel level);

// One record each. Any thread, any time; they never throw and never wait for the
// disk. A text with line feeds stays one record.
void LogDebug(String const& text);
void LogInfo(String const& text);
void LogStatus(String const& text);
void LogSystem(String const& text);
void LogWarning(String const& text);
void LogError(String const& text);

// Log is the program's log: the file "History.log", the console, and whoever
// listens.
// Owner: the process. Works with: a writer thread of its own for the file.
// Thread: any.
// Always: before Open and after Close records go to the sinks, and to the
// standard error output from warnings up. A file that cannot be written costs
// records, which are counted and reported when it can be written again.
class Log {
public:
    struct Limits {
        size_t maxBytes = 10 * 1024 * 1024; // of one file; then it is rotated
        size_t keep = 5;                    // older files: "History.1.log" and on
    };

    // Starts writing "History.log" in the folder, which is made if need be.
    // `program` is named in the file's first record. False when that failed; an
    // error says why.
    static bool Open(Path const& folder, String const& program, Limits const& limits);
    static bool Open(Path const& folder, String const& program);
    // Writes what is pending, and closes the file.
    static void Close();
    // Waits until what was logged so far is in the file, two seconds at most.
    static void Flush();
    // The file; empty when closed.
    static Path FileName();

    // Also prints each record on the standard error output.
    static void SetConsole(bool on);
    static bool IsConsole();
    // The lowest level that is recorded; Info at start.
    static void SetLevel(LogLevel level);
    static LogLevel GetLevel();
    // A record of that level would reach somebody. For texts that cost more than a look.
    static bool IsWanted(LogLevel level);

    // Tells the sink each record, whatever the level set, on the thread that
    // logs, until the handle dies. A sink may log; it must not wait for a lock
    // under which others log.
    using Sink = std::function<void(LogLevel, String const&)>;
    class SinkHandle;
    [[nodiscard]] static SinkHandle AddSink(Sink sink);

    static void Write(LogLevel level, String const& text);
};

// Ends its sink when it dies; the sink is not running on another thread then.
class Log::SinkHandle {
public:
    struct Entry;
    SinkHandle() = default;
    ~SinkHandle();
    SinkHandle(SinkHandle&&) noexcept = default;
    SinkHandle& operator=(SinkHandle&& other) noexcept;

private:
    friend class Log;
    explicit SinkHandle(std::shared_ptr<Entry> entry);

    std::shared_ptr<Entry> m_entry;
};

} // namespace corekit
