#include <corekit/file.h>
#include <corekit/filelock.h>
#include <corekit/sformat.h>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace corekit {

namespace {

// "4711 VorlanMaster" and a line end.
struct HolderText {
    int processId = 0;
    String text;
};

HolderText ReadHolder(int fd) {
    char buffer[256];
    ssize_t const got = pread(fd, buffer, sizeof buffer, 0);
    if (got <= 0)
        return {0, "another process"};
    String const line = String(buffer, static_cast<size_t>(got)).LeftFirst("\n");
    int64_t const id = line.Int();
    int const processId = id > 0 && id <= INT32_MAX ? static_cast<int>(id) : 0;
    return {processId, SFormat("%s (%d)", line.RightFirst(" ").c_str(), processId)};
}

// The file may have been deleted by its holder between our open and our lock.
bool IsSameFile(int fd, Path const& path) {
    struct stat opened {};
    struct stat named {};
    return fstat(fd, &opened) == 0 && stat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
}

// Whoever may open the file may lock it: nobody else is to.
constexpr mode_t k_Mode = 0600;

bool LockNow(int fd) {
    while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EINTR)
            return false;
    }
    return true;
}

void WriteHolder(int fd, String const& programName) {
    String const text = SFormat("%d %s\n", static_cast<int>(getpid()), programName.c_str());
    // What the file says only helps people; on a full disk the lock still holds.
    if (ftruncate(fd, 0) != 0 || pwrite(fd, text.data(), text.size(), 0) < 0)
        return;
}

} // namespace

std::unique_ptr<FileLock> FileLock::TryTake(Path const& path, String const& programName, String* holder) {
    // Whoever only asks holds the lock for an instant, hence the few tries.
    constexpr int tries = 10;
    constexpr auto pause = std::chrono::milliseconds(2);
    for (int left = tries; left > 0; --left) {
        int const fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, k_Mode);
        if (fd < 0) {
            int const systemError = errno;
            if (systemError == EACCES && IsHeld(path, holder))
                return nullptr;
            throw File::Failure("make the lock file", path, systemError);
        }
        if (LockNow(fd)) {
            if (IsSameFile(fd, path)) {
                ::fchmod(fd, k_Mode); // one that was left behind by an older version
                WriteHolder(fd, programName);
                return std::unique_ptr<FileLock>(new FileLock(path, fd));
            }
        } else if (holder) {
            *holder = ReadHolder(fd).text;
        }
        ::close(fd);
        std::this_thread::sleep_for(pause);
    }
    return nullptr;
}

bool FileLock::IsHeld(Path const& path, String* holder, int* processId) {
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    bool const held = flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (held) {
        HolderText const found = ReadHolder(fd);
        if (holder)
            *holder = found.text;
        if (processId)
            *processId = found.processId;
    }
    ::close(fd);
    return held;
}

FileLock::~FileLock() {
    // Deleted while still locked, so that nobody's new file is deleted.
    ::unlink(m_path.c_str());
    ::close(m_fd);
}

} // namespace corekit
