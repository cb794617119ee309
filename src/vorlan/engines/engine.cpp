#include <vorlan/engine.h>

#include "values/limits.h"

#include <vorlan/keys.h>
#include <vorlan/optionstext.h>
#include <vorlan/product.h>
#include <vorlan/productfile.h>

#include <algorithm>

namespace vorlan {

namespace {

// The settings that people see of an Engine, in their order, then what the machine is.
constexpr char k_EngineType[] = R"json({
"Name": "Vorlan Engine", "ID": "de7a3c96-b27a-519c-8d93-162635cfc794", "Class": "Virtual Module",
"Parameters": [{"Standard": "Engine Settings"}, {"Standard": "Engine Machine"}]
})json";

} // namespace

bool Engine::Online() const { return BoolOf(Known(p_EngineOnline)); }
void Engine::SetOnline(bool online) { Set(p_EngineOnline, String::From(online)); }

int Engine::Status() const { return ToInt(IntOf(Known(p_EngineStatus))); }
void Engine::SetStatus(int status) { Set(p_EngineStatus, String::From(status)); }

Time Engine::StartTime() const { return Time(IntOf(Known(p_EngineStartTime))); }
void Engine::SetStartTime(Time const& time) { Set(p_EngineStartTime, String::From(time.Milliseconds())); }

unsigned Engine::Version() const { return ToUnsigned(IntOf(Known(p_EngineVersion))); }
void Engine::SetVersion(unsigned version) { Set(p_EngineVersion, String::From(version)); }

int Engine::Platform() const { return ToInt(IntOf(Known(p_EnginePlatform))); }
void Engine::SetPlatform(int platform) { Set(p_EnginePlatform, String::From(platform)); }

String Engine::PlatformName() const {
    switch (Platform()) {
    case 1:
        return "Windows";
    case 2:
        return "macOS";
    case 3:
        return "Linux";
    default:
        return "Unknown";
    }
}

String Engine::OperatingSystem() const { return Get(p_EngineOperatingSystem, false); }
void Engine::SetOperatingSystem(String const& text) { Set(p_EngineOperatingSystem, text); }
String Engine::Hostname() const { return Get(p_EngineHostname, false); }
void Engine::SetHostname(String const& host) { Set(p_EngineHostname, host); }
String Engine::Hardware() const { return Get(p_EngineHardware, false); }
void Engine::SetHardware(String const& text) { Set(p_EngineHardware, text); }
String Engine::Memory() const { return Get(p_EngineMemory, false); }
void Engine::SetMemory(String const& text) { Set(p_EngineMemory, text); }

unsigned Engine::MemoryMB() const { return ToUnsigned(IntOf(Known(p_EngineMemoryMB))); }
void Engine::SetMemoryMB(unsigned megabytes) { Set(p_EngineMemoryMB, String::From(megabytes)); }

unsigned Engine::MaxCores() const { return ToUnsigned(IntOf(Known(p_EngineCores))); }
void Engine::SetMaxCores(unsigned cores) { Set(p_EngineCores, String::From(cores)); }

std::set<UID> Engine::BarredProducts() const {
    std::vector<UID> const ids = StringToUIDs(Get(p_EngineBarredProducts, false));
    return {ids.begin(), ids.end()};
}
void Engine::SetBarredProducts(std::set<UID> const& products) { Set(p_EngineBarredProducts, UIDsToString(products)); }
unsigned Engine::GPUs() const { return ToUnsigned(IntOf(Known(p_EngineGPUs))); }
void Engine::SetGPUs(unsigned count) { Set(p_EngineGPUs, String::From(count)); }

unsigned Engine::UseCPUsAtTime(Time const& moment) const {
    unsigned const cores = UseCores();
    return IsRestricted(moment) ? std::min(cores, RestrictedCores()) : cores;
}

IPPeer Engine::InfoPeer() const {
    IPPeer peer;
    return IPPeer::FromString(Get(p_EngineInfoPeer, false), peer) ? peer : IPPeer();
}
void Engine::SetInfoPeer(IPPeer const& peer) { Set(p_EngineInfoPeer, peer.ToString()); }

IPPeer Engine::LastKnownIP() const {
    IPPeer peer;
    return IPPeer::FromString(Get(p_EngineLastKnownIP, false), peer) ? peer : IPPeer();
}
void Engine::SetLastKnownIP(IPPeer const& peer) { Set(p_EngineLastKnownIP, peer.ToString()); }

UID Engine::SharedHistoryLog() const { return UIDOf(Known(p_EngineSharedHistoryLog)); }
void Engine::SetSharedHistoryLog(UID const& log) { Set(p_EngineSharedHistoryLog, log.ToString()); }

std::vector<String> Engine::MACAddresses() const {
    return StringToStrings(Get(p_EngineMACAddresses, false), ',', '\\');
}
void Engine::SetMACAddresses(std::vector<String> const& addresses) {
    Set(p_EngineMACAddresses, StringsToString(addresses, ',', '\\'));
}

shared_ptr<Product const> Engine::TypeInfo() {
    static boost::shared_ptr<Product const> const s_info = ProductFromText(k_EngineType);
    return s_info;
}

} // namespace vorlan
