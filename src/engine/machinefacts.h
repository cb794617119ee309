#pragma once

// What this machine is, for the Engine's record.

#include <corekit/path.h>
#include <vorlan/engine.h>

namespace vorlan {

// What the Engine says of its machine beyond what can be looked up.
struct MachineFacts {
    UID engine;
    String name;
    unsigned cores = 0; // 0: as many as there are
    Time started;
    IPPeer infoPeer; // null: there is no information port
};

// The Engine's record as it sees itself; settings are the Master's.
Engine DescribeMachine(MachineFacts const& facts);

// Minutes that local time is ahead of UTC, now.
int UTCOffsetMinutes();

// Graphics processors below "/proc/driver" and "/sys" of this root.
unsigned CountGPUs(Path const& root);

// The address under which other machines reach this one: that of the network towards
// `peer` (an address in numbers), or of any network when that is this machine itself.
String OwnAddress(String const& peer);

} // namespace vorlan
