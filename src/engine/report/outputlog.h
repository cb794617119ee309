#pragma once

// The log files of runs.

#include <corekit/path.h>
#include <corekit/time.h>
#include <corekit/uid.h>
#include <corekit/uniquefd.h>
#include <vorlan/fwd.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vorlan {

// The file with the output of one run, as it is written.
//
// Owned by its unit, made by OutputFolder; one thread. Bytes are gathered and written
// by Flush. There is a file from the first output on, or when Keep asks for it: the lines
// of the Engine's own do not make one. A disk that cannot take them costs the bytes, never the unit; the file says
// how many are missing once there is room again. The output ends at k_FileLimit with a
// line that says so; lines of the Engine's own may follow.
class OutputLog {
public:
    static constexpr size_t k_FileLimit = size_t{512} << 20;
    static constexpr size_t k_OwnPastLimit = size_t{64} << 10;
    static constexpr size_t k_FlushBytes = size_t{256} << 10;

    using OnError = std::function<void(Path const& file, int systemError)>;

    OutputLog(Path file, OnError onError, size_t limit = k_FileLimit)
        : m_file(std::move(file)), m_onError(std::move(onError)), m_limit(limit) {}
    ~OutputLog() { Flush(); }
    OutputLog(OutputLog const&) = delete;
    OutputLog& operator=(OutputLog const&) = delete;

    void Append(std::string_view bytes);
    // A line of the Engine's own; begins on a new line.
    void AppendLine(std::string_view text);
    // The log is worth a file, though nothing may have been printed.
    void Keep() { m_kept = true; }
    bool IsKept() const { return m_kept; }
    void Flush();

private:
    void Add(std::string_view bytes);
    bool Write();

    Path const m_file;
    OnError const m_onError;
    size_t const m_limit;
    UniqueFd m_fd;
    std::string m_waiting;
    size_t m_total = 0;
    size_t m_lost = 0;
    size_t m_ownPastLimit = 0;
    bool m_kept = false;
    bool m_atLineStart = true;
    bool m_full = false;
};

// The folder of all those files, one per run under its id.
//
// Owned by the WorkDesk; its thread, but Cleanup, which may run on any.
class OutputFolder {
public:
    // Makes the folder. A folder that cannot be made is an error in the log.
    explicit OutputFolder(Path folder);

    std::unique_ptr<OutputLog> Create(UID const& work);
    Path PathOf(UID const& work) const;

    // Deletes the logs whose last change is before `before`. The number deleted.
    size_t Cleanup(Time before) const;

private:
    Path const m_folder;
    bool m_failing = false;
};

} // namespace vorlan
