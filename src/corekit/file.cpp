#include "temporaryfile.h"

#include <corekit/file.h>
#include <corekit/sformat.h>
#include <corekit/uniquefd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace corekit {

namespace {

constinit FileLayer s_realLayer;

Path ProgramFolder() {
    std::error_code error;
    std::filesystem::path const program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? Path(".") : Path(program.parent_path());
}

// Empty when it is not set.
Path FromEnvironment(char const* name) {
    char const* text = std::getenv(name);
    return Path(text ? text : "");
}

Path HomeFolder() {
    Path const home = FromEnvironment("HOME");
    if (!home.Empty())
        return home;
    char buffer[4096];
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found)
        return Path(found->pw_dir);
    return Path("/tmp");
}

// By the base directory rules: a relative value counts as none.
Path BaseFolder(char const* name, char const* underHome) {
    Path const base = FromEnvironment(name);
    return base.IsAbsolute() ? base : HomeFolder() / underHome;
}

// The folder, made if it can be.
Path Made(Path path) {
    std::error_code error;
    std::filesystem::create_directories(path.c_str(), error);
    return path;
}

// Others may write in the system's folder for temporary files: what has our name
// there may not be ours.
bool IsOwnFolder(Path const& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid();
}

char const* Advice(int systemError) {
    switch (systemError) {
    case ENOSPC:
    case EDQUOT:
        return "Free some space on this disk, then try again.";
    case EACCES:
    case EPERM:
        return "Check the access rights of the file and of its folder.";
    case EROFS:
        return "The disk is read-only: choose another folder.";
    case ENOENT:
    case ENOTDIR:
        return "Check that the folder exists and that the name is right.";
    case EISDIR:
        return "This is a folder: choose the name of a file.";
    case EMFILE:
    case ENFILE:
        return "Too many files are open: close some programs, then try again.";
    case ENAMETOOLONG:
        return "Choose a shorter name.";
    default:
        return "Check the disk, then try again.";
    }
}

// What SetMode said for the next file; k_KeepMode when nothing.
thread_local int s_nextMode = File::k_KeepMode;

} // namespace

int FileLayer::Open(char const* path, int flags, mode_t mode) { return ::open(path, flags, mode); }
ssize_t FileLayer::Write(int fd, void const* data, size_t bytes) { return ::write(fd, data, bytes); }
int FileLayer::Sync(int fd) { return ::fsync(fd); }
int FileLayer::Close(int fd) { return ::close(fd); }
int FileLayer::Rename(char const* from, char const* to) { return ::rename(from, to); }

constinit FileLayer* FileLayer::s_Layer = &s_realLayer;

// Before the statics of all other files, which may use it.
__attribute__((init_priority(102))) Path File::s_AppDir = ProgramFolder();

Path File::GetUserDir() {
    Path const home = FromEnvironment("VORLAN_HOME");
    return Made(home.Empty() ? BaseFolder("XDG_CONFIG_HOME", ".config") / "vorlan" : home / "user");
}

Path File::GetMachineDir() {
    Path const home = FromEnvironment("VORLAN_HOME");
    if (!home.Empty())
        return Made(home / "machine");
    Path const installed = "/var/lib/vorlan";
    if (installed.IsFolder() && access(installed.c_str(), W_OK) == 0)
        return installed;
    return Made(BaseFolder("XDG_STATE_HOME", ".local/state") / "vorlan");
}

Path File::GetTempDir() {
    Path const home = FromEnvironment("VORLAN_HOME");
    if (!home.Empty())
        return Made(home / "temp");
    Path const base = FromEnvironment("TMPDIR");
    Path const own = (base.IsAbsolute() ? base : Path("/tmp")) / SFormat("vorlan-%u", static_cast<unsigned>(geteuid()));
    ::mkdir(own.c_str(), 0700);
    return IsOwnFolder(own) ? own : Made(GetUserDir() / "temp");
}

Path File::GetConnectionFile() {
    Path const home = FromEnvironment("VORLAN_HOME");
    return (home.Empty() ? s_AppDir : home) / "Connection.ini";
}

Path File::GetUserConnectionFile() { return GetUserDir() / "Connection.ini"; }

int64_t File::Size(Path const& path) noexcept {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) ? int64_t{info.st_size} : -1;
}

String File::Read(Path const& path) {
    // Without waiting for the other end of a pipe that has the file's name.
    UniqueFd const fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd)
        throw Failure("read", path, errno);
    struct stat info {};
    if (fstat(fd.Get(), &info) == 0 && (S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode)))
        throw FileException("Cannot read \"" + path + "\": it is a pipe. Move it away, or give the name of a file.", {},
                            EINVAL);
    String text;
    constexpr size_t piece = 64 * 1024;
    for (;;) {
        size_t const have = text.size();
        if (have > static_cast<size_t>(k_MaxReadBytes))
            throw FileException("Cannot read \"" + path + "\": it is too large to be a file of this system.", {},
                                EFBIG);
        text.resize(have + piece);
        ssize_t const got = ::read(fd.Get(), text.data() + have, piece);
        int const systemError = errno;
        text.resize(have + static_cast<size_t>(std::max<ssize_t>(got, 0)));
        if (got == 0)
            return text;
        if (got < 0 && systemError != EINTR)
            throw Failure("read", path, systemError);
    }
}

void File::WriteWhole(Path const& path, std::string_view text, int mode) {
    int const asked = std::exchange(s_nextMode, k_KeepMode);
    TemporaryFile file(path, mode == k_KeepMode ? asked : mode);
    file.Write(text);
    file.Commit();
}

void File::SetMode(int mask) { s_nextMode = ModeOfMask(mask); }

void File::MakeFolder(Path const& path) {
    std::error_code error;
    std::filesystem::create_directories(path.c_str(), error);
    if (error || !path.IsFolder())
        throw Failure("make the folder", path, error ? error.value() : ENOTDIR);
}

bool File::Delete(Path const& path) {
    if (::unlink(path.c_str()) == 0)
        return true;
    if (errno == ENOENT)
        return false;
    throw Failure("delete", path, errno);
}

Path File::MoveAside(Path const& path) {
    Path aside = path + ".damaged";
    for (int number = 2; aside.Exists(); ++number)
        aside = path + SFormat(".damaged-%d", number);
    if (FileLayer::s_Layer->Rename(path.c_str(), aside.c_str()) != 0)
        throw Failure("move aside", path, errno);
    return aside;
}

FileException File::Failure(std::string_view action, Path const& path, int systemError) {
    return FileException("Cannot " + String(action) + " \"" + path + "\". " + Advice(systemError),
                         std::generic_category().message(systemError), systemError);
}

} // namespace corekit
