#include "temporaryfile.h"

#include <corekit/sformat.h>

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corekit {

namespace {

std::atomic<unsigned> s_number{0};

Path FollowLink(Path const& path) {
    std::error_code error;
    if (!std::filesystem::is_symlink(path.c_str(), error))
        return path;
    std::filesystem::path const target = std::filesystem::weakly_canonical(path.Native(), error);
    return error ? path : Path(target);
}

mode_t ModeFor(Path const& target, int mode) {
    constexpr mode_t usual = 0644;
    struct stat old {};
    if (mode != File::k_KeepMode)
        return static_cast<mode_t>(mode) & 07777;
    return stat(target.c_str(), &old) == 0 ? old.st_mode & 0777 : usual;
}

} // namespace

TemporaryFile::TemporaryFile(Path const& path, int mode) : m_asked(path), m_target(FollowLink(path)) {
    mode_t const rights = ModeFor(m_target, mode);
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    // A name left behind by a process that died is stepped over.
    for (int tries = 0; m_fd < 0 && tries < 100; ++tries) {
        m_temporary = m_target + SFormat(".tmp-%d-%u", static_cast<int>(getpid()), ++s_number);
        m_fd = FileLayer::s_Layer->Open(m_temporary.c_str(), flags, 0600);
        if (m_fd < 0 && errno != EEXIST && errno != EINTR)
            break;
    }
    if (m_fd < 0)
        throw File::Failure("write", m_asked, errno);
    // Some file systems of other machines know no rights; the content counts more.
    static_cast<void>(fchmod(m_fd, rights));
}

TemporaryFile::~TemporaryFile() {
    if (m_fd < 0)
        return;
    FileLayer::s_Layer->Close(m_fd);
    unlink(m_temporary.c_str());
}

void TemporaryFile::Fail(int systemError) { throw File::Failure("write", m_asked, systemError); }

void TemporaryFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t const written = FileLayer::s_Layer->Write(m_fd, bytes.data(), bytes.size());
        if (written > 0)
            bytes.remove_prefix(static_cast<size_t>(written));
        else if (written == 0)
            Fail(ENOSPC);
        else if (errno != EINTR)
            Fail(errno);
    }
}

void TemporaryFile::Commit() {
    // A file system that cannot sync says EINVAL; there is nothing to wait for.
    if (FileLayer::s_Layer->Sync(m_fd) != 0 && errno != EINVAL)
        Fail(errno);
    int const fd = std::exchange(m_fd, -1);
    bool const closed = FileLayer::s_Layer->Close(fd) == 0;
    if (!closed || FileLayer::s_Layer->Rename(m_temporary.c_str(), m_target.c_str()) != 0) {
        int const systemError = errno;
        unlink(m_temporary.c_str());
        Fail(systemError);
    }
    SyncFolder();
}

// The new file is in place by now; a folder that cannot be synced is no failure.
void TemporaryFile::SyncFolder() noexcept {
    Path const folder = m_target.Branch();
    int const fd =
        FileLayer::s_Layer->Open(folder.Empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (fd < 0)
        return;
    FileLayer::s_Layer->Sync(fd);
    FileLayer::s_Layer->Close(fd);
}

int ModeOfMask(int mask) {
    int const owner = mask / 100;
    int const group = mask / 10 % 10;
    int const others = mask % 10;
    if (mask < 0 || mask > 777 || owner > 7 || group > 7 || others > 7)
        throw ArgumentException(SFormat("%d is not a file mask: it has three digits from 0 to 7.", mask));
    return 0666 & ~((owner << 6) | (group << 3) | others);
}

} // namespace corekit
