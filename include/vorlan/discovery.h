#pragma once

#include <corekit/path.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/farmkey.h>
#include <vorlan/ippeer.h>

#include <functional>
#include <memory>
#include <vector>

namespace vorlan {

// Says true when a search should end early.
using Cancelled = std::function<bool()>;

// Where the question for a Master is asked: a group of the local network.
struct DiscoveryGroup {
    corekit::String address = "239.255.74.66";
    unsigned short port = 7466;
    // The network card to ask on, by its address; empty: the system's choice.
    corekit::String interfaceAddress;
};

// Discovery finds the Masters of this farm in the local network by a question that
// proves the farm key; only those answer that share it, with a proof of theirs.
// Static; any thread but the GUI's, since it waits.
class Discovery {
public:
    static constexpr int k_WaitMs = 500;
    // Whoever answers in time, the first one first; returns soon after the first
    // answer. Empty as well where the machine has no multicast.
    static std::vector<IPPeer> Find(FarmKey const& key, Cancelled const& cancelled = {}, int waitMs = k_WaitMs,
                                    DiscoveryGroup const& group = {});
};

// DiscoveryResponder answers those questions for a Master.
// Owner: the Master. Thread: Start and Stop on one; it works on one of its own.
// Always: a question without the right proof gets no answer.
class DiscoveryResponder {
public:
    // `port` and `machine` are the Master's.
    DiscoveryResponder(FarmKey key, unsigned short port, UID machine, DiscoveryGroup group = {});
    ~DiscoveryResponder();
    // False, with one line in the log, on a machine without multicast: clients
    // need the host in their connection settings then.
    bool Start();
    void Stop();

private:
    class Answerer;
    std::unique_ptr<Answerer> m_answerer;
};

// Hosts as people write them.
struct MasterHosts {
    String hosts;            // separated by blanks, each with a port behind a colon if need be
    unsigned short port = 0; // of those without one; 0: none is set
};

// MasterFinder knows where a Master may be: the hosts that a program has been given for
// itself; else the configured ones ("Connection.ini", "Master"/"Peer"); else whoever
// answers in the local network, unless VORLAN_HOME is set; else this machine. Static; any
// thread but the GUI's.
class MasterFinder {
public:
    // In the order to try them, never empty.
    static std::vector<IPPeer> Find(FarmKey const& key, Cancelled const& cancelled = {}, MasterHosts const& own = {});
    // The program's own hosts or those of the connection file, each with its port.
    static std::vector<IPPeer> ConfiguredHosts(MasterHosts const& own = {});
    // The port for a Master on this machine to listen on: the configured one; 0
    // (any free one) with VORLAN_HOME and none configured; else the default port.
    static unsigned short ListenPort();

    // The file in which the Master of this machine leaves its port.
    static corekit::Path PortFile();
    // Throws FileException.
    static void WritePortFile(unsigned short port);
    // The port there; the configured or default one when there is none.
    static unsigned short LocalPort();
};

} // namespace vorlan
