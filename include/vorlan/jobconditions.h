#pragma once

// Which commands change something of a Job, by its values: whoever offers the command
// asks here. Pure; any thread.

#include <vorlan/fwd.h>
#include <vorlan/values.h>

namespace vorlan {

inline constexpr int k_LowestPriority = static_cast<int>(Known(p_Priority).Info().low);
inline constexpr int k_HighestPriority = static_cast<int>(Known(p_Priority).Info().high);

// Neither finished nor paused.
bool CanPause(Job const& job);
// Paused, and not finished.
bool CanResume(Job const& job);
// Not finished, and its priority is below the highest.
bool CanRaisePriority(Job const& job);
// Not finished, and its priority is above the lowest.
bool CanLowerPriority(Job const& job);

} // namespace vorlan
