#include <vorlan/ippeer.h>

#include <charconv>

namespace vorlan {

String IPPeer::ToString() const {
    if (IsNull())
        return String();
    String const host = m_host.Contains(":") ? "[" + m_host + "]" : m_host;
    return host + ":" + String::From(m_port);
}

bool IPPeer::FromString(std::string_view text, IPPeer& peer, unsigned short defaultPort) {
    String const trimmed = String(text).Trim();
    std::string_view const all = trimmed;
    std::string_view host = all;
    std::string_view port;
    if (all.starts_with('[')) {
        size_t const close = all.find(']');
        if (close == std::string_view::npos)
            return false;
        host = all.substr(1, close - 1);
        std::string_view const rest = all.substr(close + 1);
        if (!rest.empty() && !rest.starts_with(':'))
            return false;
        port = rest.empty() ? rest : rest.substr(1);
        if (!rest.empty() && port.empty())
            return false;
    } else if (size_t const colon = all.find(':'); colon != std::string_view::npos && colon == all.rfind(':')) {
        // With several colons it is an IPv6 address without a port.
        host = all.substr(0, colon);
        port = all.substr(colon + 1);
        if (port.empty())
            return false;
    }
    if (host.empty() || host.find_first_of(" \t\r\n[]/") != std::string_view::npos)
        return false;
    unsigned short number = defaultPort;
    if (!port.empty()) {
        auto const result = std::from_chars(port.data(), port.data() + port.size(), number);
        if (result.ec != std::errc() || result.ptr != port.data() + port.size())
            return false;
    }
    peer = IPPeer(String(host), number);
    return true;
}

std::strong_ordering IPPeer::operator<=>(IPPeer const& other) const {
    if (auto const order = m_host <=> other.m_host; order != 0)
        return order;
    return m_port <=> other.m_port;
}

} // namespace vorlan
