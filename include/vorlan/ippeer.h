#pragma once

// The address of a service: a host and a port.

#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <compare>
#include <string_view>

namespace vorlan {

// A host name or address with a port. A plain value; whoever holds it owns it.
class IPPeer {
public:
    IPPeer() = default;
    IPPeer(String host, unsigned short port) : m_host(std::move(host)), m_port(port) {}

    String const& Host() const { return m_host; }
    unsigned short Port() const { return m_port; }
    bool IsNull() const { return m_host.Empty(); }

    // "host:port", an IPv6 address in square brackets; empty for none.
    String ToString() const;

    // Takes what ToString gives, and a host alone, whose port is `defaultPort`.
    static bool FromString(std::string_view text, IPPeer& peer, unsigned short defaultPort = 0);

    bool operator==(IPPeer const& other) const { return m_port == other.m_port && m_host == other.m_host; }
    std::strong_ordering operator<=>(IPPeer const& other) const;

private:
    String m_host;
    unsigned short m_port = 0;
};

} // namespace vorlan
