#pragma once

#include <corekit/string.h>
#include <corekit/uid.h>

#include <cstdint>
#include <vector>

namespace corekit {

// Platform answers what the machine and its user are called and made of.
// Thread: any. What cannot be learned is an empty text or zero.
class Platform {
public:
    // The machine's name, without a domain.
    static String GetComputerNameA();
    // The same for as long as the machine keeps its installation. With
    // VORLAN_HOME set each home is a machine of its own.
    static UID GetUniqueSystemID();
    static String GetCurrentUserName();
    // "user@machine".
    static String GetUserAtMachine();

    // Cores that this process may use; at least 1.
    static unsigned CoreCount();
    // The processor's name and its count of cores.
    static String HardwareText();
    // Such as "Debian GNU/Linux 12 (bookworm), Linux 6.1.0-25-amd64".
    static String OperatingSystemText();
    // Such as "15.6 GB".
    static String MemoryText();
    static uint64_t PhysicalMemoryMB();
    // Of the real network cards, "aa:bb:cc:dd:ee:ff", by the card's name.
    static std::vector<String> MacAddresses();
    // 1 Windows, 2 macOS, 3 Linux.
    static int PlatformNumber();
};

} // namespace corekit
