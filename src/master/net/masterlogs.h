#pragma once

// The Master's own logs, written and given away.

#include "master/core/event.h"

#include <corekit/uniquefd.h>

#include <functional>
#include <map>

namespace farm {

// Gives the Master's History.log and Dispatch.log to those who ask for them as for
// the output of a run, and writes the Dispatch.log.
//
// Owned by the Shell, used on its working thread. Works with: files of one folder.
// Always: each request ends with one last piece, unless its peer has gone or has
// closed it; a request brings what was in the file when it began.
class MasterLogs {
public:
    // Sends to a peer; false while it has no room for more.
    using Send = std::function<bool(PeerId, MessagePtr const&)>;

    // An empty folder: there are no logs.
    explicit MasterLogs(corekit::Path folder);

    // Null where there are no logs.
    UID const& History() const { return m_history; }
    UID const& Dispatch() const { return m_dispatch; }
    bool Serves(UID const& log) const { return !log.IsNull() && (log == m_history || log == m_dispatch); }

    // Begins to give a log away.
    void Begin(PeerId peer, GetOutputMsg const& message, Send const& send);
    // False when the request is none of these.
    bool Close(PeerId peer, UID const& request);
    void PeerGone(PeerId peer);
    // Sends what the peers have room for.
    void Feed(Send const& send);
    bool IsFeeding() const { return !m_requests.empty(); }

    // Adds to the Dispatch.log, up to its limit.
    void Write(DispatchText const& text);

    static constexpr int64_t k_MaxDispatchBytes = 16 << 20;
    static constexpr size_t k_MaxRequests = 16;

private:
    struct Request {
        PeerId peer = 0;
        corekit::UniqueFd file;
        int64_t offset = 0;
        int64_t end = 0;
    };

    MessagePtr NextPiece(UID const& id, Request& request);
    static MessagePtr Failure(UID const& request, String const& error);

    // Constant after construction.
    corekit::Path const m_folder;
    UID m_history;
    UID m_dispatch;

    std::map<UID, Request> m_requests;
    corekit::UniqueFd m_dispatchFile;
    int64_t m_dispatchBytes = 0;
    bool m_dispatchFailed = false;
};

} // namespace farm
