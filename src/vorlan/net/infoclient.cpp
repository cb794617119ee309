#include <vorlan/infoclient.h>

#include <corekit/commonmutex.h>
#include <corekit/file.h>
#include <vorlan/messages.h>

#include <algorithm>

namespace vorlan {

// What the network thread leaves for the owner.
struct InfoClient::Shared {
    CommonMutex guard;
    CommonCondition some;
    Sample sample CK_GUARDED_BY(guard);
    bool fresh CK_GUARDED_BY(guard) = false;
    bool gone CK_GUARDED_BY(guard) = true;
    String error CK_GUARDED_BY(guard);

    void Gone(String const& reason) {
        {
            CommonMutex::Lock const lock(guard);
            gone = true;
            error = reason;
        }
        some.notify_all();
    }
};

InfoClient::InfoClient() : m_shared(std::make_shared<Shared>()) {}

InfoClient::~InfoClient() = default;

void InfoClient::Close() {
    m_client.reset();
    m_peer = {};
    m_sample = {};
    CommonMutex::Lock const lock(m_shared->guard);
    m_shared->fresh = false;
    m_shared->gone = true;
    m_shared->error.clear();
}

// A figure from outside, within what the owner can count with.
static unsigned Whole(int64_t value) { return static_cast<unsigned>(std::clamp<int64_t>(value, 0, INT32_MAX)); }

void InfoClient::ConnectTo(IPPeer const& peer) {
    Close();
    if (peer.IsNull())
        return;
    m_peer = peer;
    {
        CommonMutex::Lock const lock(m_shared->guard);
        m_shared->gone = false;
    }
    net::ClientOptions options;
    options.self = net::PeerInfo::Self(net::PeerKind::Client, "VorlanGui");
    options.retry = net::ClientOptions::Retry::Never;
    options.find = [peer](FarmKey const&, std::function<bool()> const&) { return std::vector<IPPeer>{peer}; };
    net::Handlers handlers;
    auto const shared = m_shared;
    handlers.onConnected = [](auto const& connection) { connection->Send(boost::make_shared<GetHardwareMsg>()); };
    handlers.onMessage = [shared](auto const&, boost::shared_ptr<Message> const& message) {
        if (message->Type() != HardwareMsg::s_Type)
            return;
        auto const& figures = static_cast<HardwareMsg const&>(*message);
        {
            CommonMutex::Lock const lock(shared->guard);
            shared->sample = {
                Whole(figures.totalPhysicalMB), Whole(figures.freePhysicalMB), Whole(figures.totalVirtualMB),
                Whole(figures.freeVirtualMB),
                std::min(100u, Whole(static_cast<int64_t>(std::clamp(figures.cpuPercent, 0.0, 100.0) + 0.5)))};
            shared->fresh = true;
        }
        shared->some.notify_all();
    };
    handlers.onClosed = [shared](auto const&, String const& reason) { shared->Gone(reason); };
    handlers.onFailed = [shared](String const& reason) { shared->Gone(reason); };
    m_client = std::make_unique<net::Client>(std::move(options), std::move(handlers));
    m_client->Start();
}

bool InfoClient::IsConnected() const {
    CommonMutex::Lock const lock(m_shared->guard);
    return m_client && !m_shared->gone;
}

String InfoClient::LastError() const {
    CommonMutex::Lock const lock(m_shared->guard);
    return m_shared->error;
}

bool InfoClient::Receive(float seconds) {
    CommonMutex::Lock lock(m_shared->guard);
    if (seconds > 0)
        m_shared->some.wait_for(lock, std::chrono::duration<float>(seconds),
                                [this]() CK_REQUIRES(m_shared->guard) { return m_shared->fresh || m_shared->gone; });
    if (!std::exchange(m_shared->fresh, false))
        return false;
    m_sample = m_shared->sample;
    return true;
}

} // namespace vorlan
