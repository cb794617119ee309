#include "master/net/masterlogs.h"

#include <corekit/file.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace farm {

namespace {

constexpr int64_t k_PieceBytes = 64 * 1024;
constexpr char k_DispatchFile[] = "Dispatch.log";
constexpr char k_HistoryFile[] = "History.log";

} // namespace

MasterLogs::MasterLogs(corekit::Path folder) : m_folder(std::move(folder)) {
    if (!m_folder.Empty()) {
        m_history = UID(true);
        m_dispatch = UID(true);
    }
}

MessagePtr MasterLogs::Failure(UID const& request, String const& error) {
    auto message = OutputDataMsg::New();
    message->request = request;
    message->end = true;
    message->error = error;
    return message;
}

void MasterLogs::Begin(PeerId peer, GetOutputMsg const& message, Send const& send) {
    if (m_requests.size() >= k_MaxRequests || m_requests.contains(message.request)) {
        send(peer, Failure(message.request, "Too many requests for the logs of the Master. Try again later."));
        return;
    }
    corekit::Path const path = m_folder / (message.work == m_history ? k_HistoryFile : k_DispatchFile);
    Request request;
    request.peer = peer;
    request.file.Reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {};
    if (!request.file || ::fstat(request.file.Get(), &info) != 0) {
        send(peer, Failure(message.request, corekit::File::Failure("read", path, errno).Message()));
        return;
    }
    request.end = info.st_size;
    request.offset = std::clamp<int64_t>(message.offset, 0, request.end);
    m_requests[message.request] = std::move(request);
    Feed(send);
}

bool MasterLogs::Close(PeerId peer, UID const& request) {
    auto const at = m_requests.find(request);
    if (at == m_requests.end() || at->second.peer != peer)
        return false;
    m_requests.erase(at);
    return true;
}

void MasterLogs::PeerGone(PeerId peer) {
    std::erase_if(m_requests, [peer](auto const& entry) { return entry.second.peer == peer; });
}

MessagePtr MasterLogs::NextPiece(UID const& id, Request& request) {
    auto message = OutputDataMsg::New();
    message->request = id;
    message->offset = request.offset;
    message->data.resize(static_cast<size_t>(std::min(k_PieceBytes, request.end - request.offset)));
    ssize_t const got =
        ::pread(request.file.Get(), message->data.data(), message->data.size(), static_cast<off_t>(request.offset));
    if (got < 0)
        return Failure(id, std::strerror(errno));
    message->data.resize(static_cast<size_t>(got));
    request.offset += got;
    // A file that was begun anew meanwhile ends early.
    message->end = request.offset >= request.end || got == 0;
    return message;
}

void MasterLogs::Feed(Send const& send) {
    for (auto at = m_requests.begin(); at != m_requests.end();) {
        bool more = true;
        bool room = true;
        while (more && room) {
            MessagePtr const piece = NextPiece(at->first, at->second);
            more = !static_cast<OutputDataMsg const&>(*piece).end;
            room = send(at->second.peer, piece);
        }
        at = more ? std::next(at) : m_requests.erase(at);
    }
}

void MasterLogs::Write(DispatchText const& text) {
    if (m_folder.Empty() || (m_dispatchFailed && !text.begin))
        return;
    if (text.begin || !m_dispatchFile) {
        corekit::Path const path = m_folder / k_DispatchFile;
        // Those who are reading the former one go on with it.
        if (text.begin)
            ::unlink(path.c_str());
        m_dispatchFile.Reset(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, corekit::k_LogMode));
        m_dispatchFailed = !m_dispatchFile;
        m_dispatchBytes = std::max<int64_t>(0, corekit::File::Size(path));
        if (m_dispatchFailed) {
            corekit::LogError(corekit::File::Failure("write", path, errno).Message());
            return;
        }
    }
    String line = text.text + "\n";
    if (m_dispatchBytes + static_cast<int64_t>(line.size()) > k_MaxDispatchBytes) {
        if (m_dispatchBytes > k_MaxDispatchBytes)
            return;
        line = "The log is full. Restart the dispatch logging to begin a new one.\n";
        m_dispatchBytes = k_MaxDispatchBytes;
    }
    if (::write(m_dispatchFile.Get(), line.data(), line.size()) < 0) {
        m_dispatchFailed = true;
        corekit::LogError("The Dispatch.log cannot be written: " + String(std::strerror(errno)) +
                          ". Free some space, then restart the dispatch logging.");
    }
    m_dispatchBytes += static_cast<int64_t>(line.size());
}

} // namespace farm
