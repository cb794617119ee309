#include <vorlan/net/client.h>

#include "channel.h"
#include "guarded.h"
#include "loop.h"
#include "resolver.h"

#include <corekit/commonmutex.h>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/discovery.h>

#include <random>

namespace vorlan::net {

namespace {

// A connection that lasted so long was a good one: the next search starts anew.
constexpr std::chrono::seconds k_Good{1};

} // namespace

// The search and the connection. Everything but the few fields under the guard
// happens on the loop's thread.
class Client::Impl final : public ChannelHost, public std::enable_shared_from_this<Impl> {
public:
    Impl(ClientOptions options, Handlers handlers)
        : m_options(std::move(options)),
          m_handlers(std::move(handlers)),
          m_tls(asio::ssl::context::tls_client),
          m_loop("Network"),
          m_timer(m_loop.GetExecutor()) {
        SetUpTls(m_tls);
        if (!m_options.key)
            m_options.key = [] { return FarmKey::Load(File::GetMachineDir()); };
        if (!m_options.find)
            m_options.find = [](FarmKey const& key, Cancelled const& cancelled) {
                return MasterFinder::Find(key, cancelled);
            };
    }

    void Start();
    void Stop(int flushMs);
    void Reconnect();
    ChannelPtr Current() const;

    void OnProved(ChannelPtr const& channel) override;
    void OnMessage(ChannelPtr const& channel, boost::shared_ptr<Message> const& message) override;
    void OnDrained(ChannelPtr const& channel) override;
    void OnEnded(ChannelPtr const& channel, bool proved, String const& reason) override;

private:
    void Round();
    void NextHost();
    void NextAddress();
    void Connect(Endpoint const& endpoint);
    void Failed(String const& reason);
    void RoundFailed();
    void Again(int milliseconds, void (Impl::*what)());
    void Report(String const& text);
    int Pause();

    // Constant after construction.
    ClientOptions m_options;
    Handlers const m_handlers;
    asio::ssl::context m_tls;

    mutable CommonMutex m_guard;
    CommonCondition m_ended;
    ChannelPtr m_current CK_GUARDED_BY(m_guard);
    bool m_started CK_GUARDED_BY(m_guard) = false;
    std::atomic<bool> m_stopping{false};

    Loop m_loop;
    // The loop's thread only.
    Timer m_timer;
    uint64_t m_search = 0; // counts up with each one, so that a late answer is known as such
    FarmKey m_key;
    std::deque<IPPeer> m_hosts;
    IPPeer m_host;
    std::deque<Endpoint> m_addresses;
    ChannelPtr m_channel; // not proved yet, or the current one
    std::shared_ptr<Socket> m_socket;
    String m_failures;
    String m_reported;
    int m_pauseMs = 0;
    std::chrono::steady_clock::time_point m_since;
};

void Client::Impl::Start() {
    {
        CommonMutex::Lock const lock(m_guard);
        if (m_stopping || std::exchange(m_started, true))
            return;
    }
    m_loop.Post([self = shared_from_this()] { self->Round(); });
    m_loop.Start();
}

void Client::Impl::Round() {
    if (m_stopping)
        return;
    ++m_search;
    m_failures.clear();
    m_hosts.clear();
    try {
        m_key = m_options.key();
        if (m_key.IsNull()) {
            m_failures = "There is no farm key on this machine yet. Start a Master here, or run `vorlan key join "
                         "<host> <line>` with the line that `vorlan key show` prints on the Master's machine.";
            return RoundFailed();
        }
        auto const hosts = m_options.find(m_key, [this] { return m_stopping.load(); });
        m_hosts.assign(hosts.begin(), hosts.end());
    } catch (std::exception const& exception) {
        m_failures = exception.what();
        return RoundFailed();
    }
    NextHost();
}

void Client::Impl::NextHost() {
    if (m_stopping)
        return;
    if (m_hosts.empty())
        return RoundFailed();
    m_host = m_hosts.front();
    m_hosts.pop_front();
    Resolve(m_loop, m_host,
            [weak = weak_from_this(), search = m_search](std::vector<Endpoint> found, String const& error) {
                auto const self = weak.lock();
                if (!self || self->m_stopping || search != self->m_search)
                    return;
                self->m_addresses.assign(found.begin(), found.end());
                if (!found.empty())
                    return self->NextAddress();
                self->Failed(error);
            });
}

void Client::Impl::NextAddress() {
    if (m_stopping)
        return;
    if (m_addresses.empty())
        return NextHost();
    Endpoint const endpoint = m_addresses.front();
    m_addresses.pop_front();
    Connect(endpoint);
}

void Client::Impl::Connect(Endpoint const& endpoint) {
    m_socket = std::make_shared<Socket>(m_loop.GetExecutor());
    m_timer.expires_after(std::chrono::milliseconds(m_options.limits.connectMs));
    m_timer.async_wait([socket = m_socket](error_code error) {
        error_code ignored;
        if (!error)
            socket->close(ignored);
    });
    auto const connected = [self = shared_from_this(), socket = m_socket, endpoint,
                            search = m_search](error_code error) {
        if (self->m_stopping || search != self->m_search)
            return;
        self->m_timer.cancel();
        self->m_socket.reset();
        if (error)
            return self->Failed(
                self->m_host.ToString() + ": " +
                (error == asio::error::operation_aborted ? String("it does not answer") : String(error.message())));
        ChannelOptions options{Handshake::Role::Caller, self->m_key,         self->m_options.self,
                               self->m_options.limits,  AddressOf(endpoint), self->m_host.Host()};
        self->m_channel =
            boost::make_shared<Channel>(std::move(*socket), self->m_loop, self->m_tls, std::move(options), self);
        self->m_channel->Start();
    };
    m_socket->async_connect(endpoint, connected);
}

void Client::Impl::Failed(String const& reason) {
    m_failures += (m_failures.Empty() ? "" : "\n") + reason;
    NextAddress();
}

void Client::Impl::RoundFailed() {
    if (m_failures.Empty())
        m_failures = "There is no host to connect to.";
    Report(m_failures);
    Guarded("onFailed", m_handlers.onFailed, m_failures);
    if (m_options.retry == ClientOptions::Retry::Forever)
        Again(Pause(), &Impl::Round);
}

// The same again and again would fill the log.
void Client::Impl::Report(String const& text) {
    if (text == m_reported)
        return LogDebug(text);
    m_reported = text;
    if (m_options.retry == ClientOptions::Retry::Never)
        LogDebug("No connection: " + text);
    else
        LogWarning("No connection yet: " + text);
}

// A little less than the doubled one, so that a thousand clients that lost the same
// server do not come back in the same moment.
int Client::Impl::Pause() {
    m_pauseMs = m_pauseMs == 0 ? m_options.firstPauseMs : std::min(2 * m_pauseMs, m_options.longestPauseMs);
    thread_local std::minstd_rand t_random{std::random_device{}()};
    return m_pauseMs - static_cast<int>(t_random() % static_cast<unsigned>(m_pauseMs / 5 + 1));
}

void Client::Impl::Again(int milliseconds, void (Impl::*what)()) {
    m_timer.expires_after(std::chrono::milliseconds(milliseconds));
    m_timer.async_wait([self = shared_from_this(), what, search = m_search](error_code error) {
        if (!error && search == self->m_search)
            (self.get()->*what)();
    });
}

void Client::Impl::OnProved(ChannelPtr const& channel) {
    m_reported.clear();
    m_since = std::chrono::steady_clock::now();
    {
        CommonMutex::Lock const lock(m_guard);
        m_current = channel;
    }
    Guarded("onConnected", m_handlers.onConnected, channel);
}

void Client::Impl::OnMessage(ChannelPtr const& channel, boost::shared_ptr<Message> const& message) {
    Guarded("onMessage", m_handlers.onMessage, channel, message);
}

void Client::Impl::OnDrained(ChannelPtr const& channel) { Guarded("onDrained", m_handlers.onDrained, channel); }

void Client::Impl::OnEnded(ChannelPtr const& channel, bool proved, String const& reason) {
    bool const replaced = channel != m_channel;
    if (!replaced)
        m_channel.reset();
    if (proved) {
        {
            CommonMutex::Lock const lock(m_guard);
            if (m_current == channel)
                m_current.reset();
        }
        Guarded("onClosed", m_handlers.onClosed, channel, reason);
        m_ended.notify_all();
    }
    if (m_stopping || replaced)
        return;
    if (!proved)
        return Failed(m_host.ToString() == channel->Address().ToString() ? reason : m_host.ToString() + ": " + reason);
    if (m_options.retry == ClientOptions::Retry::Never)
        return;
    bool const good = std::chrono::steady_clock::now() - m_since >= k_Good;
    if (good)
        m_pauseMs = 0;
    // A host that hung up at once does not keep the others from their turn.
    Again(Pause(), good || m_hosts.empty() ? &Impl::Round : &Impl::NextHost);
}

void Client::Impl::Reconnect() {
    {
        CommonMutex::Lock const lock(m_guard);
        if (!m_started)
            return;
    }
    m_loop.Post([self = shared_from_this()] {
        if (self->m_stopping)
            return;
        ++self->m_search;
        self->m_pauseMs = 0;
        self->m_hosts.clear();
        self->m_addresses.clear();
        error_code ignored;
        if (self->m_socket)
            self->m_socket->close(ignored);
        if (ChannelPtr const channel = std::exchange(self->m_channel, nullptr))
            channel->Drop("a new connection was asked for");
        self->Again(0, &Impl::Round);
    });
}

ChannelPtr Client::Impl::Current() const {
    CommonMutex::Lock const lock(m_guard);
    return m_current;
}

void Client::Impl::Stop(int flushMs) {
    {
        CommonMutex::Lock lock(m_guard);
        if (m_stopping.exchange(true) || !m_started)
            return;
        if (m_current && flushMs > 0) {
            m_current->Close("the program ends");
            m_ended.wait_for(lock, std::chrono::milliseconds(flushMs),
                             [this]() CK_REQUIRES(m_guard) { return !m_current; });
        }
    }
    m_loop.Stop();
    if (ChannelPtr const channel = m_channel)
        channel->DropHere("the connection was stopped");
    error_code ignored;
    if (m_socket)
        m_socket->close(ignored);
    m_socket.reset();
    m_timer.cancel();
    m_loop.Drain();
}

Client::Client(ClientOptions options, Handlers handlers)
    : m_impl(std::make_shared<Impl>(std::move(options), std::move(handlers))) {}

Client::~Client() { m_impl->Stop(0); }

void Client::Start() { m_impl->Start(); }

void Client::Stop() { m_impl->Stop(0); }

void Client::FlushAndStop(int waitMs) { m_impl->Stop(waitMs); }

void Client::Reconnect() { m_impl->Reconnect(); }

boost::shared_ptr<Connection> Client::Current() const { return m_impl->Current(); }

} // namespace vorlan::net
