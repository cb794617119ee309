#pragma once

#include <corekit/path.h>

#include <memory>

namespace corekit {

// A lock file that one process on the machine can hold. Owned by whoever took it;
// releasing deletes the file. The system drops the lock when the process dies, so
// a file that was left behind is taken like none. Its content names the holder.
class FileLock {
public:
    // Null when another process, or another object of this one, holds it; `holder`
    // (may be null) then gets its name and process number, "VorlanMaster (4711)".
    // Throws FileException when the file cannot be made.
    static std::unique_ptr<FileLock> TryTake(Path const& path, String const& programName, String* holder = nullptr);
    // True when somebody holds it, without taking it. `processId` (may be null)
    // gets the holder's process number, 0 when the file does not tell.
    static bool IsHeld(Path const& path, String* holder = nullptr, int* processId = nullptr);

    ~FileLock();
    FileLock(FileLock const&) = delete;
    FileLock& operator=(FileLock const&) = delete;

    Path const& LockPath() const noexcept { return m_path; }

private:
    FileLock(Path path, int fd) noexcept : m_path(std::move(path)), m_fd(fd) {}

    Path const m_path;
    int const m_fd;
};

} // namespace corekit
