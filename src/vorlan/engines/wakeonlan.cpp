#include <corekit/log.h>
#include <corekit/sformat.h>
#include <corekit/uniquefd.h>
#include <vorlan/engine.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace vorlan {

namespace {

constexpr size_t k_MacBytes = 6;
constexpr size_t k_MacRepeats = 16;
constexpr unsigned short k_WakePort = 9; // "discard": nobody answers there

int DigitOfAddress(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    char const folded = String::FoldCase(c);
    return folded >= 'a' && folded <= 'f' ? folded - 'a' + 10 : -1;
}

// The broadcast addresses of all networks that this machine is on.
std::vector<String> BroadcastHosts() {
    std::vector<String> hosts{"255.255.255.255"};
    ifaddrs* interfaces = nullptr;
    if (getifaddrs(&interfaces) != 0)
        return hosts;
    for (ifaddrs const* i = interfaces; i; i = i->ifa_next) {
        bool const usable = i->ifa_addr && i->ifa_addr->sa_family == AF_INET && (i->ifa_flags & IFF_UP) != 0 &&
                            (i->ifa_flags & IFF_BROADCAST) != 0 && i->ifa_broadaddr;
        char text[INET_ADDRSTRLEN] = {};
        if (!usable)
            continue;
        sockaddr_in address{};
        std::memcpy(&address, i->ifa_broadaddr, sizeof address);
        if (inet_ntop(AF_INET, &address.sin_addr, text, sizeof text))
            hosts.push_back(text);
    }
    freeifaddrs(interfaces);
    return hosts;
}

} // namespace

String MagicPacketFor(String const& macAddress) {
    String digits;
    for (char const c : macAddress) {
        if (c != ':' && c != '-' && c != '.')
            digits += c;
    }
    if (digits.size() != 2 * k_MacBytes)
        return String();
    String mac;
    for (size_t i = 0; i < digits.size(); i += 2) {
        int const high = DigitOfAddress(digits[i]);
        int const low = DigitOfAddress(digits[i + 1]);
        if (high < 0 || low < 0)
            return String();
        mac += static_cast<char>((high << 4) | low);
    }
    String packet(k_MacBytes, '\xFF');
    for (size_t i = 0; i < k_MacRepeats; ++i)
        packet += mac;
    return packet;
}

unsigned SendMagicPacketsTo(std::vector<String> const& macAddresses, IPPeer const& peer) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(peer.Port());
    if (inet_pton(AF_INET, peer.Host().c_str(), &address.sin_addr) != 1)
        return 0;
    UniqueFd const handle(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    int const on = 1;
    if (handle.Get() < 0 || setsockopt(handle.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0)
        return 0;
    unsigned sent = 0;
    for (String const& mac : macAddresses) {
        String const packet = MagicPacketFor(mac);
        if (packet.Empty())
            continue;
        ssize_t const bytes = sendto(handle.Get(), packet.data(), packet.size(), MSG_NOSIGNAL,
                                     reinterpret_cast<sockaddr const*>(&address), sizeof address);
        if (bytes == static_cast<ssize_t>(packet.size()))
            ++sent;
    }
    return sent;
}

void Engine::SendMagicPacket() const {
    std::vector<String> const addresses = MACAddresses();
    unsigned sent = 0;
    for (String const& host : BroadcastHosts())
        sent += SendMagicPacketsTo(addresses, IPPeer(host, k_WakePort));
    if (sent > 0)
        LogInfo(SFormat("Sent %u Wake-on-LAN packets to Engine ", sent) + Name());
    else if (addresses.empty())
        LogWarning("Cannot wake Engine " + Name() +
                   ": its network address is not known. Start its Engine by hand once.");
    else
        LogWarning("Cannot wake Engine " + Name() + ": no network of this machine took the packet. " +
                   std::strerror(errno));
}

} // namespace vorlan
