#pragma once

#include <corekit/string.h>
#include <vorlan/farmkey.h>
#include <vorlan/ippeer.h>
#include <vorlan/net/connection.h>
#include <vorlan/net/limits.h>
#include <vorlan/net/peer.h>

#include <functional>
#include <memory>
#include <vector>

namespace vorlan::net {

struct ClientOptions {
    enum class Retry {
        Forever, // comes back with a growing pause, whatever happens
        Never,   // one round over the hosts, one connection
    };

    PeerInfo self;
    // Asked before each round, on the network thread. Null: this machine has no key
    // yet, and the client waits for one. Empty function: the machine's own file.
    std::function<FarmKey()> key;
    // The hosts to try, in order; asked before each round, on the network thread,
    // and may wait a while as long as it looks at the second argument. Empty
    // function: MasterFinder::Find.
    std::function<std::vector<IPPeer>(FarmKey const&, std::function<bool()> const& cancelled)> find;
    Retry retry = Retry::Forever;
    int firstPauseMs = 100; // doubles with each failure
    int longestPauseMs = 5'000;
    Limits limits;
};

// Client keeps one connection to a server: looks for it, connects, comes back after
// a loss with a growing pause.
// Owner: an Engine, the Messenger, a tool. Works with: Connection, Handlers.
// Thread: any, but not its own handlers for Stop.
class Client {
public:
    Client(ClientOptions options, Handlers handlers);
    // Stops.
    ~Client();
    Client(Client const&) = delete;
    Client& operator=(Client const&) = delete;

    void Start();
    // Ends the connection at once and the thread. No handler is called afterwards.
    void Stop();
    // The same, but what is queued still goes out first, `waitMs` at most.
    void FlushAndStop(int waitMs);
    // Drops the connection, if any, and looks for a server at once.
    void Reconnect();
    // Null while there is none.
    boost::shared_ptr<Connection> Current() const;

private:
    class Impl;
    std::shared_ptr<Impl> m_impl;
};

} // namespace vorlan::net
