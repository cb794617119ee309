#include "engine/machinefacts.h"

#include <corekit/platform.h>
#include <corekit/uniquefd.h>
#include <vorlan/version.h>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <ctime>
#include <filesystem>
#include <memory>

namespace vorlan {

namespace {

constexpr char const* k_Loopback = "127.0.0.1";

String TextOf(sockaddr const* address) {
    char text[INET6_ADDRSTRLEN] = "";
    if (address->sa_family == AF_INET)
        inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in const*>(address)->sin_addr, text, sizeof text);
    else if (address->sa_family == AF_INET6)
        inet_ntop(AF_INET6, &reinterpret_cast<sockaddr_in6 const*>(address)->sin6_addr, text, sizeof text);
    return text;
}

String FirstNetworkAddress() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return k_Loopback;
    std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> const owner(list, freeifaddrs);
    for (ifaddrs const* one = list; one; one = one->ifa_next) {
        bool const usable = (one->ifa_flags & IFF_UP) && !(one->ifa_flags & IFF_LOOPBACK);
        if (usable && one->ifa_addr && one->ifa_addr->sa_family == AF_INET)
            return TextOf(one->ifa_addr);
    }
    return k_Loopback;
}

unsigned CountEntries(Path const& folder, std::string_view prefix) {
    unsigned count = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator at(folder.Native(), error), end; !error && at != end;
         at.increment(error)) {
        count += at->path().filename().native().starts_with(prefix) ? 1 : 0;
    }
    return count;
}

} // namespace

int UTCOffsetMinutes() {
    std::time_t const now = std::time(nullptr);
    std::tm local{};
    return localtime_r(&now, &local) ? static_cast<int>(local.tm_gmtoff / 60) : 0;
}

unsigned CountGPUs(Path const& root) {
    if (unsigned const count = CountEntries(root / "proc/driver/nvidia/gpus", ""); count > 0)
        return count;
    // A card that can compute has a render node.
    return CountEntries(root / "sys/class/drm", "renderD");
}

String OwnAddress(String const& peer) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(peer.c_str(), "9", &hints, &found) != 0)
        return FirstNetworkAddress();
    std::unique_ptr<addrinfo, void (*)(addrinfo*)> const owner(found, freeaddrinfo);
    UniqueFd const descriptor(socket(found->ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_storage own{};
    socklen_t length = sizeof own;
    // Nothing is sent: connecting only chooses the network.
    if (connect(descriptor.Get(), found->ai_addr, found->ai_addrlen) != 0 ||
        getsockname(descriptor.Get(), reinterpret_cast<sockaddr*>(&own), &length) != 0) {
        return FirstNetworkAddress();
    }
    String const text = TextOf(reinterpret_cast<sockaddr const*>(&own));
    return text.StartsWith("127.") || text == "::1" ? FirstNetworkAddress() : text;
}

Engine DescribeMachine(MachineFacts const& facts) {
    Engine engine(facts.engine);
    engine.SetName(facts.name);
    engine.SetHostname(Platform::GetComputerNameA());
    engine.SetPlatform(Platform::PlatformNumber());
    engine.SetOperatingSystem(Platform::OperatingSystemText());
    engine.SetHardware(Platform::HardwareText());
    engine.SetMemory(Platform::MemoryText());
    engine.SetMemoryMB(static_cast<unsigned>(Platform::PhysicalMemoryMB()));
    engine.SetMaxCores(facts.cores > 0 ? facts.cores : Platform::CoreCount());
    engine.SetGPUs(CountGPUs("/"));
    engine.SetMACAddresses(Platform::MacAddresses());
    engine.SetUTCOffset(UTCOffsetMinutes());
    engine.SetVersion(k_VorlanVersion);
    engine.SetStartTime(facts.started);
    if (!facts.infoPeer.IsNull()) {
        engine.SetInfoPeer(facts.infoPeer);
        engine.SetLastKnownIP(facts.infoPeer);
    }
    return engine;
}

} // namespace vorlan
