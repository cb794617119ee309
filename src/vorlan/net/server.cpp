#include <vorlan/net/server.h>

#include "certificate.h"
#include "channel.h"
#include "guarded.h"
#include "loop.h"
#include "refusallog.h"

#include <corekit/commonmutex.h>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>

namespace vorlan::net {

// The listening socket, the loops and the table of channels. The channels keep it
// alive; the loops end first.
class Server::Impl final : public ChannelHost, public std::enable_shared_from_this<Impl> {
public:
    Impl(ServerOptions options, Handlers handlers)
        : m_options(std::move(options)), m_handlers(std::move(handlers)), m_tls(asio::ssl::context::tls_server) {}

    void Start();
    void Stop();
    unsigned short Port() const { return m_port; }

    void OnProved(ChannelPtr const& channel) override;
    void OnMessage(ChannelPtr const& channel, boost::shared_ptr<Message> const& message) override;
    void OnDrained(ChannelPtr const& channel) override;
    bool MayAssemble(ChannelPtr const& channel, size_t bytes) override;
    void OnEnded(ChannelPtr const& channel, bool proved, String const& reason) override;

private:
    using Channels = std::map<uint64_t, ChannelPtr>;

    void Listen();
    void ListenOn(Endpoint const& endpoint);
    void Accept();
    void OnAccepted(error_code error, Socket& socket, Loop& loop);
    void MakeRoom(ChannelPtr& oldest) CK_REQUIRES(m_guard);

    // Constant after Start.
    ServerOptions m_options;
    Handlers const m_handlers;
    asio::ssl::context m_tls;
    std::vector<std::unique_ptr<Loop>> m_loops;
    std::unique_ptr<Acceptor> m_acceptor; // the first loop's thread only
    std::unique_ptr<Timer> m_acceptPause;
    unsigned short m_port = 0;
    size_t m_nextLoop = 0; // the first loop's thread only

    RefusalLog m_refusals;
    CommonMutex m_guard;
    CommonCondition m_ended;
    Channels m_unproved CK_GUARDED_BY(m_guard); // the oldest first
    Channels m_proved CK_GUARDED_BY(m_guard);
    bool m_stopping CK_GUARDED_BY(m_guard) = false;
    std::map<uint64_t, size_t> m_assembling CK_GUARDED_BY(m_guard); // bytes of messages under way
    size_t m_assemblingBytes CK_GUARDED_BY(m_guard) = 0;            // all of them
};

void Server::Impl::Start() {
    if (m_options.key.IsNull())
        throw NetException("There is no farm key on this machine. Run `vorlan key join <host> <line>` here, or start "
                           "a Master, which makes one");
    SetUpTls(m_tls);
    Certificate const certificate =
        Certificate::Load(m_options.machineDir.Empty() ? File::GetMachineDir() : m_options.machineDir);
    asio::const_buffer const pem(certificate.pem.data(), certificate.pem.size());
    m_tls.use_certificate_chain(pem);
    m_tls.use_private_key(pem, asio::ssl::context::pem);
    for (unsigned i = 0; i < std::max(1u, m_options.threads); ++i)
        m_loops.push_back(std::make_unique<Loop>(SFormat("Network %u", i + 1)));
    Listen();
    m_acceptPause = std::make_unique<Timer>(m_loops[0]->GetExecutor());
    for (auto const& loop : m_loops)
        loop->Start();
    m_loops[0]->Post([self = shared_from_this()] { self->Accept(); });
}

void Server::Impl::Listen() {
    try {
        if (!m_options.address.Empty())
            return ListenOn({asio::ip::make_address(m_options.address.Str()), m_options.port});
        try {
            ListenOn({asio::ip::address_v6::any(), m_options.port});
        } catch (boost::system::system_error const& failure) {
            if (failure.code() == asio::error::address_in_use || failure.code() == asio::error::access_denied)
                throw;
            // A machine without IPv6.
            ListenOn({asio::ip::address_v4::any(), m_options.port});
        }
    } catch (boost::system::system_error const& failure) {
        String advice;
        if (failure.code() == asio::error::address_in_use)
            advice = ". Another program uses it: end that one, or choose another port";
        else if (failure.code() == asio::error::access_denied)
            advice = ". Choose a port above 1023";
        throw NetException(SFormat("Cannot listen on port %u", unsigned{m_options.port}) + advice,
                           failure.code().message());
    }
}

void Server::Impl::ListenOn(Endpoint const& endpoint) {
    auto acceptor = std::make_unique<Acceptor>(m_loops[0]->GetExecutor());
    acceptor->open(endpoint.protocol());
    acceptor->set_option(asio::socket_base::reuse_address(true));
    if (endpoint.address().is_v6()) {
        error_code ignored;
        acceptor->set_option(asio::ip::v6_only(false), ignored);
    }
    acceptor->bind(endpoint);
    acceptor->listen(1024);
    m_port = acceptor->local_endpoint().port();
    m_acceptor = std::move(acceptor);
}

void Server::Impl::Accept() {
    if (!m_acceptor->is_open())
        return;
    Loop& loop = *m_loops[m_nextLoop++ % m_loops.size()];
    auto socket = std::make_shared<Socket>(loop.GetExecutor());
    m_acceptor->async_accept(*socket, [self = shared_from_this(), socket, &loop](error_code error) {
        self->OnAccepted(error, *socket, loop);
    });
}

void Server::Impl::OnAccepted(error_code error, Socket& socket, Loop& loop) {
    if (!m_acceptor->is_open())
        return;
    if (error) {
        // Too many open files and the like: what is open goes on.
        m_refusals.Note("accept", "A connection could not be taken: " + String(error.message()));
        m_acceptPause->expires_after(std::chrono::milliseconds(100));
        m_acceptPause->async_wait([self = shared_from_this()](error_code) { self->Accept(); });
        return;
    }
    error_code gone;
    Endpoint const remote = socket.remote_endpoint(gone);
    if (!gone) {
        ChannelOptions options{Handshake::Role::Listener, m_options.key,     m_options.self,
                               m_options.limits,          AddressOf(remote), {}};
        auto const channel =
            boost::make_shared<Channel>(std::move(socket), loop, m_tls, std::move(options), shared_from_this());
        ChannelPtr oldest;
        bool start = false;
        bool isFull = false;
        {
            CommonMutex::Lock const lock(m_guard);
            isFull = m_proved.size() + m_unproved.size() >= m_options.limits.connections;
            start = !m_stopping && !isFull;
            if (start)
                m_unproved.emplace(channel->Number(), channel);
            MakeRoom(oldest);
        }
        if (start)
            loop.Post([channel] { channel->Start(); });
        else if (isFull)
            m_refusals.Note("full", SFormat("Refused a connection from %s: there are %zu already",
                                            channel->Address().ToString().c_str(), m_options.limits.connections));
        if (oldest)
            oldest->Drop(oldest->Address().ToString() + " had to go: too many connections wait for their handshake");
    }
    Accept();
}

// Who opens connections and says nothing must not keep the others out.
void Server::Impl::MakeRoom(ChannelPtr& oldest) {
    if (m_unproved.size() <= m_options.limits.unproved)
        return;
    oldest = m_unproved.begin()->second;
    m_unproved.erase(m_unproved.begin());
}

void Server::Impl::OnProved(ChannelPtr const& channel) {
    bool known = false;
    {
        CommonMutex::Lock const lock(m_guard);
        known = m_unproved.erase(channel->Number()) != 0;
        if (known)
            m_proved.emplace(channel->Number(), channel);
    }
    if (known)
        Guarded("onConnected", m_handlers.onConnected, channel);
}

void Server::Impl::OnMessage(ChannelPtr const& channel, boost::shared_ptr<Message> const& message) {
    Guarded("onMessage", m_handlers.onMessage, channel, message);
}

void Server::Impl::OnDrained(ChannelPtr const& channel) { Guarded("onDrained", m_handlers.onDrained, channel); }

// Who holds most has to go, be it this one or another.
bool Server::Impl::MayAssemble(ChannelPtr const& channel, size_t bytes) {
    ChannelPtr largest;
    {
        CommonMutex::Lock const lock(m_guard);
        auto const known = m_assembling.find(channel->Number());
        size_t const before = known == m_assembling.end() ? 0 : known->second;
        if (before == bytes)
            return true;
        m_assemblingBytes += bytes - before;
        if (bytes == 0)
            m_assembling.erase(known);
        else
            m_assembling[channel->Number()] = bytes;
        if (bytes < before || m_assemblingBytes <= m_options.limits.assembling)
            return true;
        auto const most = std::max_element(m_assembling.begin(), m_assembling.end(),
                                           [](auto const& a, auto const& b) { return a.second < b.second; });
        if (most->first == channel->Number())
            return false;
        if (auto const at = m_proved.find(most->first); at != m_proved.end())
            largest = at->second;
    }
    if (largest) {
        String const reason = SFormat("it holds most of the messages under way, which are over the limit of %zu bytes "
                                      "together",
                                      m_options.limits.assembling);
        LogWarning("Closed the connection to " + largest->Peer().Text() + ": " + reason);
        largest->Drop(reason);
    }
    return true;
}

void Server::Impl::OnEnded(ChannelPtr const& channel, bool, String const& reason) {
    bool known = false;
    bool stopping = false;
    {
        CommonMutex::Lock const lock(m_guard);
        known = m_proved.contains(channel->Number());
        stopping = m_stopping;
    }
    if (known)
        Guarded("onClosed", m_handlers.onClosed, channel, reason);
    else if (!stopping)
        m_refusals.Note(channel->Address().Host() + SFormat("/%d", static_cast<int>(channel->HandshakeFailure())),
                        reason);
    {
        CommonMutex::Lock const lock(m_guard);
        m_proved.erase(channel->Number());
        m_unproved.erase(channel->Number());
    }
    m_ended.notify_all();
}

void Server::Impl::Stop() {
    std::vector<ChannelPtr> open;
    {
        CommonMutex::Lock const lock(m_guard);
        if (std::exchange(m_stopping, true))
            return;
        for (auto const& entry : m_unproved)
            entry.second->Drop("the program ends");
        for (auto const& entry : m_proved)
            open.push_back(entry.second);
    }
    // Start has failed or was never called.
    if (!m_acceptPause)
        return;
    m_loops[0]->Post([self = shared_from_this()] {
        error_code ignored;
        self->m_acceptor->close(ignored);
        self->m_acceptPause->cancel();
    });
    for (ChannelPtr const& channel : open)
        channel->Close("the program ends");
    {
        CommonMutex::Lock lock(m_guard);
        m_ended.wait_for(lock, std::chrono::milliseconds(m_options.limits.lingerMs + 1000),
                         [this]() CK_REQUIRES(m_guard) { return m_proved.empty() && m_unproved.empty(); });
    }
    for (auto const& loop : m_loops)
        loop->Stop();
    {
        CommonMutex::Lock const lock(m_guard);
        open.clear();
        for (auto const* table : {&m_proved, &m_unproved}) {
            for (auto const& entry : *table)
                open.push_back(entry.second);
        }
    }
    for (ChannelPtr const& channel : open)
        channel->DropHere("the program ends");
    error_code ignored;
    m_acceptor->close(ignored);
    m_acceptPause->cancel();
    for (auto const& loop : m_loops)
        loop->Drain();
    m_acceptor.reset();
    m_acceptPause.reset();
}

Server::Server(ServerOptions options, Handlers handlers)
    : m_impl(std::make_shared<Impl>(std::move(options), std::move(handlers))) {}

Server::~Server() { Stop(); }

void Server::Start() { m_impl->Start(); }

unsigned short Server::Port() const { return m_impl->Port(); }

void Server::Stop() { m_impl->Stop(); }

} // namespace vorlan::net
