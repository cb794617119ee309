#include <vorlan/engine.h>

#include "values/limits.h"

#include <boost/make_shared.hpp>
#include <vorlan/keys.h>
#include <vorlan/product.h>

#include <algorithm>

namespace vorlan {

namespace {

constexpr char k_EngineTypeName[] = "Vorlan Engine";

void AddParameter(Product& product, Parameter::TYPE type, char const* name, char const* niceName, char const* help,
                  char const* range = nullptr) {
    MutableParameterInfo parameter = product.NewParam(type);
    parameter.SetName(name, niceName);
    parameter.SetSetting(k_SettingHelp, help);
    if (range)
        parameter.SetSetting(k_SettingRange, range);
}

boost::shared_ptr<Product const> MakeTypeInfo() {
    auto const product = boost::make_shared<Product>(k_EngineTypeName, UID::FromName(k_EngineTypeName), false);
    AddParameter(*product, Parameter::t_Text, p_Name, "Name", "Name of the Engine");
    AddParameter(*product, Parameter::t_Text, p_Note, "Note", "What people should know of the Engine");
    AddParameter(*product, Parameter::t_Bool, p_EngineEnabled, "Enabled", "Is the Engine allowed to take on work");
    AddParameter(*product, Parameter::t_Signed, p_EnginePriority, "Priority",
                 "Engines with a higher priority get work first", "0-100");
    AddParameter(*product, Parameter::t_Unsigned, p_EngineUseCores, "Use Cores", "Cores that are available for work");
    AddParameter(*product, Parameter::t_Signed, p_EngineForceCores, "Override Cores",
                 "Cores that each work counts for: -1 as the Job says, 0 all");
    AddParameter(*product, Parameter::t_Text, p_EngineUseGPUs, "Use GPUs",
                 "A count (\"4\" for 4 GPU devices) or device ids separated by commas");
    MutableParameterInfo gpus = product->NewParam(Parameter::t_Choice);
    gpus.SetName(p_EngineGPUDistribution, "GPU Distribution");
    gpus.SetSetting(k_SettingHelp, "How the GPUs of this Engine are given to work");
    gpus.SetSetting(k_SettingRestriction, "GPU Distribution");
    gpus.AddChoice("", "As the Job says");
    gpus.AddChoice("Shared", "All work shares all GPUs");
    gpus.AddChoice("Exclusive", "Each work gets GPUs of its own");
    AddParameter(*product, Parameter::t_Bool, p_EngineRestricted, "Restricted", "The restricted times apply");
    AddParameter(*product, Parameter::t_Unsigned, p_EngineRestrictedCores, "Restricted Cores",
                 "Cores that are available within the restricted times");
    AddParameter(*product, Parameter::t_Text, p_EngineHostname, "Host", "Name of the machine");
    AddParameter(*product, Parameter::t_Text, p_EngineOperatingSystem, "Operating System", "Operating system");
    AddParameter(*product, Parameter::t_Text, p_EngineHardware, "Hardware", "Processor of the machine");
    AddParameter(*product, Parameter::t_Text, p_EngineMemory, "Memory", "Memory of the machine");
    AddParameter(*product, Parameter::t_Unsigned, p_EngineCores, "Max Cores", "Cores of the machine");
    AddParameter(*product, Parameter::t_Unsigned, p_EngineGPUs, "GPUs", "GPUs of the machine");
    product->ClearCache();
    return product;
}

} // namespace

bool Engine::Online() const {
    static uint32_t const s_number = NameTable::Number(p_EngineOnline);
    return BoolOf(s_number, false);
}
void Engine::SetOnline(bool online) { Set(p_EngineOnline, String::From(online)); }

int Engine::Status() const {
    static uint32_t const s_number = NameTable::Number(p_EngineStatus);
    return ToInt(IntOf(s_number, 0));
}
void Engine::SetStatus(int status) { Set(p_EngineStatus, String::From(status)); }

Time Engine::StartTime() const {
    static uint32_t const s_number = NameTable::Number(p_EngineStartTime);
    return Time(IntOf(s_number, 0));
}
void Engine::SetStartTime(Time const& time) { Set(p_EngineStartTime, String::From(time.Milliseconds())); }

unsigned Engine::Version() const {
    static uint32_t const s_number = NameTable::Number(p_EngineVersion);
    return ToUnsigned(IntOf(s_number, 0));
}
void Engine::SetVersion(unsigned version) { Set(p_EngineVersion, String::From(version)); }

int Engine::Platform() const {
    static uint32_t const s_number = NameTable::Number(p_EnginePlatform);
    return ToInt(IntOf(s_number, 0));
}
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

unsigned Engine::MemoryMB() const {
    static uint32_t const s_number = NameTable::Number(p_EngineMemoryMB);
    return ToUnsigned(IntOf(s_number, 0));
}
void Engine::SetMemoryMB(unsigned megabytes) { Set(p_EngineMemoryMB, String::From(megabytes)); }

unsigned Engine::MaxCores() const {
    static uint32_t const s_number = NameTable::Number(p_EngineCores);
    return ToUnsigned(IntOf(s_number, 0));
}
void Engine::SetMaxCores(unsigned cores) { Set(p_EngineCores, String::From(cores)); }

unsigned Engine::GPUs() const {
    static uint32_t const s_number = NameTable::Number(p_EngineGPUs);
    return ToUnsigned(IntOf(s_number, 0));
}
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

UID Engine::SharedHistoryLog() const {
    static uint32_t const s_number = NameTable::Number(p_EngineSharedHistoryLog);
    return UIDOf(s_number);
}
void Engine::SetSharedHistoryLog(UID const& log) { Set(p_EngineSharedHistoryLog, log.ToString()); }

std::vector<String> Engine::MACAddresses() const {
    return StringToStrings(Get(p_EngineMACAddresses, false), ',', '\\');
}
void Engine::SetMACAddresses(std::vector<String> const& addresses) {
    Set(p_EngineMACAddresses, StringsToString(addresses, ',', '\\'));
}

shared_ptr<Product const> Engine::TypeInfo() {
    static boost::shared_ptr<Product const> const s_info = MakeTypeInfo();
    return s_info;
}

} // namespace vorlan
