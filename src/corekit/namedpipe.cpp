#include <corekit/namedpipe.h>

#include <corekit/file.h>
#include <corekit/log.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace corekit {

namespace {

constexpr int k_Backlog = 16;

Path PipeFolder() {
    if (char const* home = std::getenv("VORLAN_HOME"); home && *home)
        return Path(home) / Path("pipes");
    if (char const* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime)
        return Path(runtime) / Path("vorlan");
    return File::GetTempDir() / Path(("vorlan-pipes-" + std::to_string(::getuid())).c_str());
}

// Opens the folder of all pipes. Nobody but this user may write there, or a
// stranger could listen under our names.
UniqueFd OpenPipeFolder(String& error) {
    Path path = PipeFolder();
    try {
        File::MakeFolder(path.Branch());
    } catch (Exception const& exception) {
        error = exception.Message();
        return {};
    }
    ::mkdir(path.c_str(), 0700);
    UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || ::fstat(folder.Get(), &status) != 0)
        error = "Cannot open the folder \"" + path + "\": " + std::strerror(errno);
    else if (status.st_uid != ::geteuid() || (status.st_mode & 022) != 0)
        error = "The folder \"" + path + "\" can be written by other users; delete it or take that right away";
    else
        return folder;
    return {};
}

bool IsGoodName(String const& name) {
    return !name.Empty() && name.size() <= NamedPipeServerThread::k_MaxName && !name.Contains("/") && name[0] != '.';
}

// An address in the folder, however long the folder's own path is: a socket's
// address holds 107 characters at most.
sockaddr_un AddressIn(UniqueFd const& folder, String const& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof(address.sun_path), "/proc/self/fd/%d/%s", folder.Get(), name.c_str());
    return address;
}

bool IsFromThisUser(int connection) {
    ucred peer{};
    socklen_t length = sizeof(peer);
    return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 &&
           (peer.uid == ::geteuid() || peer.uid == 0);
}

} // namespace

NamedPipeServerThread::NamedPipeServerThread(String name)
    : Thread("Pipe " + name), m_pipeName(std::move(name)), m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!Listen())
        m_listener.Reset();
}

NamedPipeServerThread::~NamedPipeServerThread() {
    Stop();
    if (m_listener)
        ::unlinkat(m_folder.Get(), m_pipeName.c_str(), 0);
}

bool NamedPipeServerThread::Listen() {
    String error;
    if (!IsGoodName(m_pipeName)) {
        LogError("\"" + m_pipeName + "\" cannot be the name of a pipe");
        return false;
    }
    m_folder = OpenPipeFolder(error);
    if (!m_folder) {
        LogError("Cannot listen on pipe \"" + m_pipeName + "\". " + error);
        return false;
    }
    String lockName = m_pipeName + ".lock";
    m_lock.Reset(::openat(m_folder.Get(), lockName.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!m_lock || ::flock(m_lock.Get(), LOCK_EX | LOCK_NB) != 0) {
        LogError("Cannot listen on pipe \"" + m_pipeName + "\": another process does");
        return false;
    }
    ::unlinkat(m_folder.Get(), m_pipeName.c_str(), 0);
    m_listener.Reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address = AddressIn(m_folder, m_pipeName);
    if (!m_listener || ::bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(m_listener.Get(), k_Backlog) != 0) {
        LogError("Cannot listen on pipe \"" + m_pipeName + "\": " + std::strerror(errno));
        return false;
    }
    return true;
}

bool NamedPipeServerThread::Execute() {
    if (!m_listener)
        return false;
    pollfd waits[2] = {{m_listener.Get(), POLLIN, 0}, {m_wake.Get(), POLLIN, 0}};
    if (::poll(waits, 2, -1) < 0)
        return errno == EINTR;
    if (IsStopping())
        return false;
    if (waits[1].revents != 0) {
        // Left from the stop of an earlier run.
        uint64_t count = 0;
        [[maybe_unused]] ssize_t taken = ::read(m_wake.Get(), &count, sizeof(count));
    }
    UniqueFd connection(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection) {
        // Out of descriptors: leave the others time to give some back.
        if (errno == EMFILE || errno == ENFILE)
            Sleep(100);
        return true;
    }
    if (IsFromThisUser(connection.Get()))
        OnConnect();
    return true;
}

void NamedPipeServerThread::OnStopSignaled() {
    uint64_t one = 1;
    if (::write(m_wake.Get(), &one, sizeof(one)) != sizeof(one))
        LogWarning("Cannot wake pipe \"" + m_pipeName + "\"");
}

bool NamedPipeServerThread::Signal(String const& name) {
    String error;
    UniqueFd folder = IsGoodName(name) ? OpenPipeFolder(error) : UniqueFd();
    UniqueFd client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!folder || !client)
        return false;
    sockaddr_un address = AddressIn(folder, name);
    if (::connect(client.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0)
        return true;
    // The listener's queue is full of others who have told it the same.
    return errno == EAGAIN;
}

} // namespace corekit
