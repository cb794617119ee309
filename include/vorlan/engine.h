#pragma once

// A worker machine of the farm.

#include <vorlan/commonengine.h>
#include <vorlan/ippeer.h>

#include <set>
#include <vector>

namespace vorlan {

// An Engine's record: its settings, and what it is.
//
// Copied freely: messages and dialogs hold their own, the Master's and the client's
// lists share one by boost::shared_ptr. Any thread, as VorlanObject says. What it is
// comes from the Engine itself, whether it is online from the Master.
class Engine : public CommonEngine {
public:
    Engine() = default;
    explicit Engine(UID const& engineID) : CommonEngine(engineID) {}

    bool Online() const;
    void SetOnline(bool online);
    // -1 asleep, otherwise 0.
    int Status() const;
    void SetStatus(int status);
    Time StartTime() const;
    void SetStartTime(Time const& time);
    // As k_VorlanVersion.
    unsigned Version() const;
    void SetVersion(unsigned version);
    // 1 Windows, 2 macOS, 3 Linux, 0 unknown.
    int Platform() const;
    void SetPlatform(int platform);
    String PlatformName() const;
    String OperatingSystem() const;
    void SetOperatingSystem(String const& text);
    String Hostname() const;
    void SetHostname(String const& host);
    String Hardware() const;
    void SetHardware(String const& text);
    String Memory() const;
    void SetMemory(String const& text);
    // Physical memory; 0: unknown.
    unsigned MemoryMB() const;
    void SetMemoryMB(unsigned megabytes);
    unsigned MaxCores() const;
    void SetMaxCores(unsigned cores);
    // Those that the Master gives it no work of, because it failed on several Jobs of theirs.
    std::set<UID> BarredProducts() const;
    void SetBarredProducts(std::set<UID> const& products);
    unsigned GPUs() const;
    void SetGPUs(unsigned count);

    // Cores for work at a moment, the restricted times considered; whether the
    // Engine is enabled at all is not.
    unsigned UseCPUsAtTime(Time const& moment) const;

    // Where the Engine's information service listens.
    IPPeer InfoPeer() const;
    void SetInfoPeer(IPPeer const& peer);
    IPPeer LastKnownIP() const;
    void SetLastKnownIP(IPPeer const& peer);
    // The output id of the Engine's own log.
    UID SharedHistoryLog() const;
    void SetSharedHistoryLog(UID const& log);
    std::vector<String> MACAddresses() const;
    void SetMACAddresses(std::vector<String> const& addresses);

    // Wakes the machine by Wake-on-LAN: a packet to the local network for each of its
    // network addresses. Returns at once; a failure is a line in the log.
    void SendMagicPacket() const;

    // The parameters of an Engine as a Product, for forms.
    static shared_ptr<Product const> TypeInfo();
};

// The 102 bytes that wake the machine with a MAC address ("00:11:22:aa:bb:cc", also
// with "-" or nothing between); empty for a text that is no such address.
String MagicPacketFor(String const& macAddress);

// Sends the packets of all addresses to one UDP peer, broadcast allowed. The number
// sent.
unsigned SendMagicPacketsTo(std::vector<String> const& macAddresses, IPPeer const& peer);

} // namespace vorlan
