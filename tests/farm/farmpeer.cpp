#include "farm/farmpeer.h"

namespace vorlan::farmtest {

FarmPeer::FarmPeer(Hear hear, net::PeerKind kind) : m_hear(std::move(hear)), m_client(Options(kind), Handlers()) {
    m_client.Start();
}

net::ClientOptions FarmPeer::Options(net::PeerKind kind) {
    net::ClientOptions options;
    options.self = net::PeerInfo::Self(kind, "test");
    options.longestPauseMs = 500;
    return options;
}

net::Handlers FarmPeer::Handlers() {
    net::Handlers handlers;
    handlers.onMessage = [this](auto const&, boost::shared_ptr<Message> const& message) {
        if (message->Type() == RefusedMsg::s_Type) {
            std::lock_guard const lock(m_guard);
            m_answer = static_cast<RefusedMsg const&>(*message).id;
            m_answered.notify_all();
        }
        if (m_hear)
            m_hear(*message);
    };
    return handlers;
}

bool FarmPeer::Send(boost::shared_ptr<Message const> const& message) {
    auto const connection = m_client.Current();
    if (connection)
        connection->Send(message);
    return connection != nullptr;
}

bool FarmPeer::Settle(int timeoutMs) {
    UID const id(true);
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    constexpr auto k_Patience = std::chrono::milliseconds(2'000);
    // A connection that is lost meanwhile takes the question with it: it is asked again.
    while (std::chrono::steady_clock::now() < until) {
        Send(QuestionOfOrder(id));
        std::unique_lock lock(m_guard);
        if (m_answered.wait_for(lock, k_Patience, [&] { return m_answer == id; }))
            return true;
    }
    return false;
}

} // namespace vorlan::farmtest
