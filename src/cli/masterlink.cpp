#include "cli/masterlink.h"

#include "cli/exitcode.h"

#include <corekit/commonmutex.h>
#include <corekit/stringtokenizer.h>
#include <vorlan/discovery.h>
#include <vorlan/keys.h>
#include <vorlan/message.h>
#include <vorlan/net/client.h>

#include <deque>

namespace vorlan::cli {

namespace {

// One that is there answers at once; a round over many dead hosts may take as long.
constexpr std::chrono::seconds k_LongestSearch{60};
constexpr int k_ConnectMs = 3'000;

std::vector<IPPeer> HostsOf(String const& text) {
    std::vector<IPPeer> hosts;
    StringTokenizer words(text, " \t,;");
    String word;
    while (words.Next(word)) {
        IPPeer peer;
        if (word.Empty())
            continue;
        if (!IPPeer::FromString(word, peer, o_MasterPortDefault))
            throw CommandException(ExitCode::Usage, "\"" + word +
                                                        "\" is no host. Give a name or an address, with a "
                                                        "port behind a colon if need be.");
        hosts.push_back(peer);
    }
    return hosts;
}

class NetLink final : public MasterLink {
public:
    NetLink(std::vector<IPPeer> hosts, FarmKey const& key)
        : m_hasOwnKey(!key.IsNull()), m_client(Options(std::move(hosts), key), MakeHandlers()) {
        m_client.Start();
        WaitForConnection();
    }
    ~NetLink() override { m_client.Stop(); }

    void Send(boost::shared_ptr<Message const> const& message) override {
        if (auto const connection = m_client.Current())
            connection->Send(message);
    }

    boost::shared_ptr<Message> Receive(Clock::time_point deadline) override {
        CommonMutex::Lock lock(m_guard);
        m_changed.wait_until(lock, deadline, [this]() CK_REQUIRES(m_guard) { return !m_messages.empty() || m_closed; });
        if (!m_messages.empty()) {
            auto message = std::move(m_messages.front());
            m_messages.pop_front();
            return message;
        }
        if (m_closed)
            throw CommandException(ExitCode::NoMaster, "The connection to the Master has ended: " + m_reason);
        return nullptr;
    }

private:
    net::ClientOptions Options(std::vector<IPPeer> hosts, FarmKey const& ownKey) {
        net::ClientOptions options;
        if (!ownKey.IsNull())
            options.key = [ownKey] { return ownKey; };
        options.self = net::PeerInfo::Self(net::PeerKind::Tool, "vorlan");
        options.retry = net::ClientOptions::Retry::Never;
        options.limits.connectMs = k_ConnectMs;
        options.find = [this, hosts = std::move(hosts)](FarmKey const& key, Cancelled const& cancelled) {
            auto const found = hosts.empty() ? MasterFinder::Find(key, cancelled) : hosts;
            CommonMutex::Lock const lock(m_guard);
            m_tried = found;
            return found;
        };
        return options;
    }

    net::Handlers MakeHandlers() {
        net::Handlers handlers;
        handlers.onConnected = [this](auto const& connection) {
            if (connection->Peer().kind != net::PeerKind::Master)
                return End(connection->Peer().Text() + " is no Master");
            CommonMutex::Lock const lock(m_guard);
            m_connected = true;
            m_changed.notify_all();
        };
        handlers.onMessage = [this](auto const&, boost::shared_ptr<Message> const& message) {
            CommonMutex::Lock const lock(m_guard);
            m_messages.push_back(message);
            m_changed.notify_all();
        };
        handlers.onClosed = [this](auto const&, String const& reason) { End(reason); };
        handlers.onFailed = [this](String const& reason) { End(reason); };
        return handlers;
    }

    void End(String const& reason) {
        CommonMutex::Lock const lock(m_guard);
        m_closed = true;
        m_reason = reason;
        m_changed.notify_all();
    }

    void WaitForConnection() {
        CommonMutex::Lock lock(m_guard);
        if (!m_changed.wait_for(lock, k_LongestSearch,
                                [this]() CK_REQUIRES(m_guard) { return m_connected || m_closed; }))
            m_reason = "the search takes too long";
        if (m_connected)
            return;
        String text = "No Master can be reached";
        if (!m_tried.empty()) {
            text += " (tried";
            for (IPPeer const& peer : m_tried)
                text += (&peer == &m_tried.front() ? " " : ", ") + peer.ToString();
            text += ")";
        }
        text += ": " + m_reason;
        if (m_hasOwnKey) {
            text +=
                "\nStart VorlanMaster there, look whether the name is right, and compare the line with what `vorlan "
                "key show` prints there.";
        } else if (!m_tried.empty()) {
            text += "\nStart VorlanMaster (or VorlanGui) on this machine, give the Master's host with --master HOST, "
                    "or join its farm with `vorlan key join HOST LINE`.";
        }
        throw CommandException(ExitCode::NoMaster, text);
    }

    bool const m_hasOwnKey;

    CommonMutex m_guard;
    CommonCondition m_changed;
    std::deque<boost::shared_ptr<Message>> m_messages CK_GUARDED_BY(m_guard);
    std::vector<IPPeer> m_tried CK_GUARDED_BY(m_guard);
    String m_reason CK_GUARDED_BY(m_guard);
    bool m_connected CK_GUARDED_BY(m_guard) = false;
    bool m_closed CK_GUARDED_BY(m_guard) = false;

    net::Client m_client; // last: its thread uses the others
};

} // namespace

std::unique_ptr<MasterLink> ConnectToMaster(LinkRequest const& request) {
    return std::make_unique<NetLink>(HostsOf(request.hosts), request.key);
}

} // namespace vorlan::cli
