#pragma once

// One more connection to the Master of a test.

#include "test.h"

#include <vorlan/messages.h>
#include <vorlan/net/client.h>

namespace vorlan::farmtest {

// FarmPeer is a program of a user without anything behind it: it sends, and hands on what
// it hears. It comes back by itself after a loss.
// Owner: a test, or a part of one. Thread: Send and Settle on any; `hear` is called on the
// connection's own thread.
class FarmPeer {
public:
    using Hear = std::function<void(Message const&)>;

    explicit FarmPeer(Hear hear = {}, net::PeerKind kind = net::PeerKind::Client);
    ~FarmPeer() { m_client.Stop(); }

    // False while there is no connection.
    bool Send(boost::shared_ptr<Message const> const& message);
    // Waits until the Master has handled all that was sent before.
    bool Settle(int timeoutMs);

private:
    net::Handlers Handlers();
    static net::ClientOptions Options(net::PeerKind kind);

    Hear const m_hear;
    std::mutex m_guard;
    std::condition_variable m_answered;
    UID m_answer;         // guarded by m_guard: what the Master refused last
    net::Client m_client; // ends before what its handlers use
};

// A question that the Master answers with a RefusedMsg that carries `id`: what comes
// after the answer comes after all that was told before the question.
inline boost::shared_ptr<Message> QuestionOfOrder(UID const& id) { return ReportJobStatusMsg::Create(id); }

} // namespace vorlan::farmtest
