#pragma once

// The small process beside the Engine that starts and ends the processes of units.

#include <corekit/uid.h>
#include <vorlan/fwd.h>

namespace vorlan::runner {

// The descriptor on which the helper finds its socket.
inline constexpr int k_HelperSocket = 3;

// The body of `VorlanEngine --runner`: serves the socket until the Engine closes it,
// then ends every process of every unit, and itself.
//
// A process of its own because its memory stays small, so that starting is quick;
// because it outlives an Engine that is killed, and can then clean up; and because,
// as the reaper of its descendants, it sees also those that left their group.
[[noreturn]] void HelperMain(UID const& machine);

} // namespace vorlan::runner
