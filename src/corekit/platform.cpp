#include <corekit/platform.h>

#include <corekit/commonmutex.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <corekit/uniquefd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ifaddrs.h>
#include <memory>
#include <mutex>
#include <net/if.h>
#include <netpacket/packet.h>
#include <pwd.h>
#include <sched.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <thread>
#include <unistd.h>

namespace corekit {

namespace {

constexpr size_t k_MaxSystemFile = 64 * 1024;

// A small text file of the system; empty when it cannot be read.
String ReadSystemFile(char const* path) {
    UniqueFd file(::open(path, O_RDONLY | O_CLOEXEC));
    std::string text(file ? k_MaxSystemFile : 0, 0);
    size_t used = 0;
    while (used < text.size()) {
        ssize_t bytes = ::read(file.Get(), text.data() + used, text.size() - used);
        if (bytes <= 0)
            break;
        used += static_cast<size_t>(bytes);
    }
    text.resize(used);
    return text;
}

// What follows the first line's start that equals `key`, up to the line's end.
String LineValue(String const& text, std::string_view key) {
    std::string_view rest = text;
    while (!rest.empty()) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        if (line.starts_with(key))
            return String(line.substr(key.size())).Trim();
    }
    return String();
}

// The random id of this installation, made when it is not there. Several
// processes may come here at once: a link is made by one of them only.
UID StoredSystemID() {
    Path file = File::GetMachineDir() / Path("System.id");
    UID id;
    if (file.Exists() && UID::FromString(File::Read(file).Trim(), id))
        return id;
    Path made = file + "." + UID(true).ToString();
    File::WriteWhole(made, UID(true).ToString() + "\n");
    if (::link(made.c_str(), file.c_str()) != 0 && errno == EEXIST && !UID::FromString(File::Read(file).Trim(), id)) {
        LogWarning("\"" + file + "\" was damaged and is made anew: this machine counts as a new one");
        ::rename(made.c_str(), file.c_str());
    }
    ::unlink(made.c_str());
    UID::FromString(File::Read(file).Trim(), id);
    return id;
}

UID MakeSystemID(bool ownHome) {
    String machine = ReadSystemFile("/etc/machine-id").Trim();
    if (!machine.Empty() && !ownHome)
        return UID::FromName("machine " + machine);
    try {
        return UID::FromName("machine " + machine + " " + StoredSystemID().ToString());
    } catch (Exception const& exception) {
        LogError("This machine's id cannot be stored, so others take it for a new machine at each start. " +
                 exception.Message());
        return UID(true);
    }
}

} // namespace

String Platform::GetComputerNameA() {
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0)
        return String();
    return String(name.data()).LeftFirst(".");
}

UID Platform::GetUniqueSystemID() {
    static CommonMutex s_guard;
    static UID s_id CK_GUARDED_BY(s_guard);
    static String s_home CK_GUARDED_BY(s_guard);
    char const* home = std::getenv("VORLAN_HOME");
    CommonMutex::Lock const lock(s_guard);
    if (s_id.IsNull() || s_home != home) {
        s_home = home;
        s_id = MakeSystemID(!s_home.Empty());
    }
    return s_id;
}

String Platform::GetCurrentUserName() {
    std::array<char, 16384> buffer;
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found)
        return found->pw_name;
    char const* user = std::getenv("USER");
    return user && *user ? String(user) : String::From(::geteuid());
}

String Platform::GetUserAtMachine() { return GetCurrentUserName() + "@" + GetComputerNameA(); }

unsigned Platform::CoreCount() {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    if (::sched_getaffinity(0, sizeof(cores), &cores) == 0 && CPU_COUNT(&cores) > 0)
        return static_cast<unsigned>(CPU_COUNT(&cores));
    return std::max(1u, std::thread::hardware_concurrency());
}

String Platform::HardwareText() {
    String name = LineValue(ReadSystemFile("/proc/cpuinfo"), "model name").RightFirst(":").Trim();
    unsigned cores = CoreCount();
    String count = String::From(cores) + (cores == 1 ? " core" : " cores");
    return name.Empty() ? count : name + ", " + count;
}

String Platform::OperatingSystemText() {
    String name = LineValue(ReadSystemFile("/etc/os-release"), "PRETTY_NAME=");
    name.Replace("\"", "");
    utsname kernel{};
    if (::uname(&kernel) != 0)
        return name;
    String text = String(kernel.sysname) + " " + kernel.release;
    return name.Empty() ? text : name + ", " + text;
}

uint64_t Platform::PhysicalMemoryMB() {
    struct sysinfo info {};
    if (::sysinfo(&info) != 0)
        return 0;
    return static_cast<uint64_t>(info.totalram) * info.mem_unit / (1024 * 1024);
}

String Platform::MemoryText() {
    uint64_t megabytes = PhysicalMemoryMB();
    return megabytes == 0 ? String() : SFormat("%.1f GB", static_cast<double>(megabytes) / 1024.0);
}

std::vector<String> Platform::MacAddresses() {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0)
        return {};
    std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(list, &::freeifaddrs);
    std::map<String, String> byCard;
    for (ifaddrs* card = list; card; card = card->ifa_next) {
        if (!card->ifa_addr || card->ifa_addr->sa_family != AF_PACKET || (card->ifa_flags & IFF_LOOPBACK))
            continue;
        sockaddr_ll address{};
        std::memcpy(&address, card->ifa_addr, sizeof(address));
        unsigned char const* b = address.sll_addr;
        if (address.sll_halen == 6 && std::any_of(b, b + 6, [](unsigned char c) { return c != 0; }))
            byCard[card->ifa_name] = SFormat("%02x:%02x:%02x:%02x:%02x:%02x", b[0], b[1], b[2], b[3], b[4], b[5]);
    }
    std::vector<String> result;
    for (auto const& [name, address] : byCard)
        result.push_back(address);
    return result;
}

int Platform::PlatformNumber() { return 3; }

} // namespace corekit
