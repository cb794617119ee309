#pragma once

// What the tests of the connection share: a farm of one key, ends that record what
// they hear, and a peer that can say anything.

#include "domain.h"

#include <vorlan/net/client.h>
#include <vorlan/net/handshake.h>
#include <vorlan/net/server.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <sys/socket.h>

namespace vorlan::net {

// Looks at a condition until it holds; false after the deadline.
template <class Condition>
bool WaitFor(Condition condition, int milliseconds = 20'000) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Messages to self work again after a stop for good, for the next case of this process.
inline void WakeMessenger() {
    Messenger::Start();
    Messenger::Stop(false, false, false);
}

using ConnectionPtr = boost::shared_ptr<Connection>;

// One end of connections: counts and keeps what its handlers hear.
class End {
public:
    Handlers MakeHandlers() {
        Handlers handlers;
        handlers.onConnected = [this](ConnectionPtr const& connection) { Keep(connection, m_connections, connected); };
        handlers.onMessage = [this](ConnectionPtr const& connection, boost::shared_ptr<Message> const& message) {
            if (onMessage)
                onMessage(connection, message);
            Keep(message, m_messages, messages);
        };
        handlers.onClosed = [this](ConnectionPtr const&, String const& reason) { Keep(reason, m_reasons, closed); };
        handlers.onDrained = onDrained;
        handlers.onFailed = [this](String const& reason) { Keep(reason, m_reasons, failed); };
        return handlers;
    }
    ConnectionPtr Last() {
        std::lock_guard const lock(m_guard);
        return m_connections.empty() ? nullptr : m_connections.back();
    }
    std::vector<boost::shared_ptr<Message>> Messages() {
        std::lock_guard const lock(m_guard);
        return m_messages;
    }
    bool HasReason(char const* part) {
        std::lock_guard const lock(m_guard);
        return std::any_of(m_reasons.begin(), m_reasons.end(), [&](String const& one) { return one.Contains(part); });
    }

    std::atomic<int> connected{0};
    std::atomic<int> closed{0};
    std::atomic<int> failed{0};
    std::atomic<size_t> messages{0};
    // Set before the start.
    std::function<void(ConnectionPtr const&, boost::shared_ptr<Message> const&)> onMessage;
    std::function<void(ConnectionPtr const&)> onDrained;

private:
    template <class T, class Count>
    void Keep(T const& item, std::vector<T>& items, Count& count) {
        std::lock_guard const lock(m_guard);
        items.push_back(item);
        ++count;
    }

    std::mutex m_guard;
    std::vector<ConnectionPtr> m_connections;
    std::vector<boost::shared_ptr<Message>> m_messages;
    std::vector<String> m_reasons;
};

inline boost::shared_ptr<MasterLogsMsg> Line(String const& text) {
    return MasterLogsMsg::Create(std::vector<String>{text});
}

inline String TextOf(boost::shared_ptr<Message> const& message) {
    auto const* const lines = dynamic_cast<MasterLogsMsg const*>(message.get());
    return lines && !lines->lines.empty() ? lines->lines[0] : String();
}

// Bytes that hardly compress.
inline std::string Noise(size_t bytes) {
    static std::minstd_rand s_random(7);
    std::string text(bytes, '\0');
    for (char& c : text)
        c = static_cast<char>(s_random() >> 8);
    return text;
}

inline PeerInfo Someone(PeerKind kind, String const& program, String const& machine = "render07") {
    return {.kind = kind,
            .machine = UID::FromName(machine),
            .instance = UID(true),
            .machineName = machine,
            .version = 30100,
            .program = program,
            .user = "ann"};
}

// A server and clients that share a key, on the loopback. What handlers refer to must
// outlive the ends that call them.
class NetTest : public ::testing::Test {
protected:
    std::unique_ptr<Server> MakeServer(End& end, unsigned short port = 0, Limits const& limits = {}) {
        ServerOptions options{
            .port = port, .address = "127.0.0.1", .key = key, .machineDir = folder.Folder(), .limits = limits};
        options.self = Someone(PeerKind::Master, "VorlanMaster");
        auto server = std::make_unique<Server>(std::move(options), end.MakeHandlers());
        server->Start();
        return server;
    }
    ClientOptions OptionsFor(unsigned short port) {
        ClientOptions options;
        options.self = Someone(PeerKind::Engine, "VorlanEngine");
        options.key = [this] { return key; };
        options.find = [port](FarmKey const&, auto const&) { return std::vector<IPPeer>{{"127.0.0.1", port}}; };
        options.firstPauseMs = 10;
        options.longestPauseMs = 50;
        return options;
    }
    std::unique_ptr<Client> MakeClient(End& end, unsigned short port) {
        auto client = std::make_unique<Client>(OptionsFor(port), end.MakeHandlers());
        client->Start();
        return client;
    }

    // One of each, that hear each other.
    void Connect() {
        listening = MakeServer(server);
        calling = MakeClient(client, listening->Port());
        ASSERT_TRUE(WaitFor([&] { return client.connected == 1 && server.connected == 1; }));
    }

    TempFolder folder;
    FarmKey key = FarmKey::Fresh();
    End server;
    End client;
    std::unique_ptr<Server> listening;
    std::unique_ptr<Client> calling;
};

// A peer of the test's own: a plain socket that can speak TLS, prove the key, and
// then say anything. Blocking, with a deadline on each read.
class RawPeer {
public:
    explicit RawPeer(unsigned short port, int receiveBuffer = 0) : m_fd(::socket(AF_INET, SOCK_STREAM, 0)) {
        if (receiveBuffer > 0)
            ::setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        timeval const patience{20, 0};
        ::setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~RawPeer() {
        SSL_free(m_ssl);
        SSL_CTX_free(m_context);
        if (m_fd >= 0)
            ::close(m_fd);
    }
    RawPeer(RawPeer const&) = delete;
    RawPeer& operator=(RawPeer const&) = delete;

    void SendPlain(std::string_view bytes) {
        static_cast<void>(!::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL));
    }
    bool StartTls() {
        m_context = SSL_CTX_new(TLS_client_method());
        m_ssl = SSL_new(m_context);
        SSL_set_fd(m_ssl, m_fd);
        return SSL_connect(m_ssl) == 1;
    }
    bool Send(std::string_view bytes) {
        return SSL_write(m_ssl, bytes.data(), static_cast<int>(bytes.size())) == static_cast<int>(bytes.size());
    }
    bool SendFrame(UID const& type, std::string_view body) {
        std::string bytes;
        AppendFrameHeader(bytes, type, body.size());
        return Send(bytes.append(body));
    }
    // False at the end of the stream.
    bool Receive(Frame& frame) {
        while (!m_reader.Next(frame)) {
            std::span<char> const room = m_reader.Room();
            int const size = SSL_read(m_ssl, room.data(), static_cast<int>(room.size()));
            if (size <= 0)
                return false;
            m_reader.Filled(static_cast<size_t>(size));
        }
        return true;
    }
    bool Prove(FarmKey const& key) {
        std::string channel(32, '\0');
        SSL_export_keying_material(m_ssl, reinterpret_cast<unsigned char*>(channel.data()), channel.size(),
                                   "EXPORTER-Channel-Binding", 24, nullptr, 0, 0);
        Handshake handshake(Handshake::Role::Caller, key, Someone(PeerKind::Client, "Raw"), channel);
        std::string out;
        handshake.Begin(out);
        Handshake::Step step = Handshake::Step::More;
        for (Frame frame; step == Handshake::Step::More && Send(std::exchange(out, {})) && Receive(frame);)
            step = handshake.TakeFrame(frame, out);
        return step == Handshake::Step::Done;
    }
    // Reads until the other end closes; true when it did within the deadline.
    bool SeesEnd() {
        char buffer[4096];
        ssize_t size;
        do {
            size = ::recv(m_fd, buffer, sizeof buffer, 0);
        } while (size > 0);
        return size == 0 || errno == ECONNRESET;
    }

private:
    int const m_fd;
    SSL_CTX* m_context = nullptr;
    SSL* m_ssl = nullptr;
    FrameReader m_reader{1u << 20};
};

} // namespace vorlan::net
