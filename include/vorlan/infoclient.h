#pragma once

#include <corekit/string.h>
#include <vorlan/fwd.h>
#include <vorlan/ippeer.h>
#include <vorlan/net/client.h>

#include <cstdint>
#include <memory>

namespace vorlan {

// InfoClient is the direct connection to an Engine's information port, which sends
// hardware figures once a second.
// Owner: whoever shows them; may be a base class. Works with: net::Client.
// Thread: one, such as the GUI's: no call waits but Receive with a time.
class InfoClient {
public:
    InfoClient();
    virtual ~InfoClient();
    InfoClient(InfoClient const&) = delete;
    InfoClient& operator=(InfoClient const&) = delete;

    // Leaves the former peer and connects to this one, which takes its time: the
    // connection counts as standing until it fails.
    void ConnectTo(IPPeer const& peer);
    void Close();
    bool IsConnected() const;
    // The one connected to; null when closed.
    IPPeer const& Peer() const { return m_peer; }
    // Why the connection went away; empty while it stands.
    String LastError() const;

    // True when a new sample has come since the last call; waits for one for so
    // many seconds. The figures below are its.
    bool Receive(float seconds);

    // In MB.
    unsigned TotalPhysical() const { return m_sample.totalPhysical; }
    unsigned FreePhysical() const { return m_sample.freePhysical; }
    unsigned TotalVirtual() const { return m_sample.totalVirtual; }
    unsigned FreeVirtual() const { return m_sample.freeVirtual; }
    // 0 to 100.
    unsigned CPU() const { return m_sample.cpu; }

private:
    struct Sample {
        unsigned totalPhysical = 0;
        unsigned freePhysical = 0;
        unsigned totalVirtual = 0;
        unsigned freeVirtual = 0;
        unsigned cpu = 0;
    };
    struct Shared;

    IPPeer m_peer;
    Sample m_sample;
    std::shared_ptr<Shared> m_shared; // what the network thread fills
    std::unique_ptr<net::Client> m_client;
};

} // namespace vorlan
