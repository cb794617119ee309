#pragma once

// Output of runs and hardware figures, asked of an Engine by way of the Master or
// on its own port.

#include <vorlan/messagetable.h>

namespace vorlan {

class OutputMessages;
#define VORLAN_MESSAGE_GROUP OutputMessages

// clang-format off: a line per field
VORLAN_MESSAGE(GetOutputMsg, FromClients | ToEngines, k_V300, "Send the output of a run.",
               (UID, request, "Request", "a fresh id that the answers carry"), (UID, work, "Work", "the run"),
               (UID, engine, "Engine", "where it ran"), (int64_t, offset, "Offset", "the first byte that is wanted"),
               (bool, follow, "Follow", "go on with what is written from now on"),
               (int64_t, window, "Window",
                "how many bytes may be under way behind what OutputTakenMsg has told last; 0: any number"));

VORLAN_MESSAGE(OutputDataMsg, FromEngines | ToClients, k_V300, "A piece of the output of a run.",
               (UID, request, "Request", "the id of the request"),
               (int64_t, offset, "Offset", "where the piece stands"), (String, data, "Data", "its bytes"),
               (bool, end, "End", "nothing more will come"),
               (String, error, "Error", "text for people: why there is no output"));

VORLAN_MESSAGE(OutputTakenMsg, FromClients | ToEngines, k_V300,
               "The output has been taken up to there: a request with a window goes on.",
               (UID, request, "Request", "the id of the request"),
               (int64_t, offset, "Offset", "the first byte that has not been taken"));

VORLAN_MESSAGE(CloseOutputMsg, FromClients | ToEngines, k_V300, "The output is no longer wanted.",
               (UID, request, "Request", "the id of the request"));

VORLAN_MESSAGE(GetHardwareMsg, FromClients | ToEngines, k_V300, "Send hardware figures from now on.");

VORLAN_MESSAGE(HardwareMsg, FromEngines | ToClients, k_V300, "Once a second: hardware figures.",
               (int64_t, totalPhysicalMB, "TotalPhysicalMB", "memory"),
               (int64_t, freePhysicalMB, "FreePhysicalMB", "free memory"),
               (int64_t, totalVirtualMB, "TotalVirtualMB", "memory with swap space"),
               (int64_t, freeVirtualMB, "FreeVirtualMB", "of that, free"),
               (double, cpuPercent, "CpuPercent", "how busy the processors are"));
// clang-format on

#undef VORLAN_MESSAGE_GROUP

} // namespace vorlan
