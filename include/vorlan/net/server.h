#pragma once

#include <corekit/path.h>
#include <corekit/string.h>
#include <vorlan/farmkey.h>
#include <vorlan/net/connection.h>
#include <vorlan/net/limits.h>
#include <vorlan/net/peer.h>

#include <memory>

namespace vorlan::net {

struct ServerOptions {
    unsigned short port = 0; // 0: any free one
    String address;          // to listen on; empty: all of the machine's
    FarmKey key;
    PeerInfo self;
    Path machineDir; // of the certificate; empty: File::GetMachineDir()
    Limits limits;
    unsigned threads = 1; // network threads, each with its share of the connections
};

// Server listens on one port and hands each peer that proves the farm key to its
// handlers.
// Owner: the Master, or an Engine. Works with: Connection, Handlers.
// Thread: Start and Stop on one; the handlers on its network threads.
// Always: nothing of a peer is parsed before its proof.
class Server {
public:
    Server(ServerOptions options, Handlers handlers);
    // Stops.
    ~Server();
    Server(Server const&) = delete;
    Server& operator=(Server const&) = delete;

    // Throws NetException, with what to do, when the port cannot be had.
    void Start();
    // The port it listens on; 0 before Start.
    unsigned short Port() const;
    // Closes all connections (what they have queued still goes out, see
    // Limits::lingerMs) and ends the threads. No handler is called afterwards.
    void Stop();

private:
    class Impl;
    std::shared_ptr<Impl> m_impl;
};

} // namespace vorlan::net
