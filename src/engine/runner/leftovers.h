#pragma once

// Finding and ending the processes that carry an Engine's mark.

#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <sys/types.h>

#include <optional>
#include <vector>

namespace vorlan::runner {

// The name of the environment variable that marks each process of a unit, and all
// that it starts.
inline constexpr char const* k_MarkName = "VORLAN_ENGINE_MARK";

// The mark of one unit: the Engine, a stroke, the unit.
String MarkOf(UID const& machine, UID const& work);

// What every mark of an Engine begins with.
String MarkPrefix(UID const& machine);

// The live processes whose environment carries a mark that begins with `prefix`.
// Processes of other users, which cannot be read, are not among them.
std::vector<pid_t> MarkedProcesses(String const& prefix);

// The unit whose mark this process carries; nothing when it carries none of this Engine.
std::optional<UID> MarkedWork(pid_t pid, UID const& machine);

// The processes, ended and not yet collected ones too, whose parent is this thread of
// this program; of all its threads.
std::vector<pid_t> ChildrenOfThread(pid_t thread);
std::vector<pid_t> ChildrenOfAllThreads();

// Kills all processes with such a mark, again and again until none is left or the
// time is over. The number of processes killed.
size_t EndMarkedProcesses(String const& prefix, int timeoutMs);

} // namespace vorlan::runner
