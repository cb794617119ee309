#pragma once

// The status numbers of Jobs, work units and history elements, as data.

#include <array>

namespace vorlan {

// A status as it travels, is stored and is shown. A Job's own status is Paused,
// Queued, Finished, UserCanceled, Failed or AdministratorCanceled; the others are
// a work unit's. Closed only ends a run in a history.
enum JobStatus : int {
    Paused = -1,
    Queued = 0,
    Assigned = 1,
    Started = 2,
    Closed = 3,
    UserAborted = 4,
    Unsuccessful = 5,
    Lost = 6,
    Finished = 7,
    UserCanceled = 8,
    Failed = 9,
    TimedOut = 10,
    AdministratorAborted = 13,
    AdministratorCanceled = 14,
};

// What a status number means.
struct StatusInfo {
    int status;
    char const* name;
    bool active;   // an Engine has the unit
    bool finished; // the end: it is not tried again
    bool failed;
    bool canceled; // stopped by a person or lost, not by its own fault
    bool held;     // not handed out until somebody lets it go
};

inline constexpr std::array k_StatusTable{
    StatusInfo{Paused, "Paused", false, false, false, false, true},
    StatusInfo{Queued, "Queued", false, false, false, false, false},
    StatusInfo{Assigned, "Assigned", true, false, false, false, false},
    StatusInfo{Started, "Started", true, false, false, false, false},
    StatusInfo{Closed, "Closed", false, false, false, false, false},
    StatusInfo{UserAborted, "User Aborted", false, false, false, true, false},
    StatusInfo{Unsuccessful, "Unsuccessful", false, false, true, false, false},
    StatusInfo{Lost, "Lost", false, false, false, true, false},
    StatusInfo{Finished, "Finished", false, true, false, false, false},
    StatusInfo{UserCanceled, "User Canceled", false, true, false, true, false},
    StatusInfo{Failed, "Failed", false, true, true, false, false},
    StatusInfo{TimedOut, "Timed Out", false, false, true, false, false},
    StatusInfo{AdministratorAborted, "Administrator Aborted", false, false, false, true, false},
    StatusInfo{AdministratorCanceled, "Administrator Canceled", false, true, false, true, false},
};

// Null for a number that is no status.
constexpr StatusInfo const* FindStatus(int status) {
    for (StatusInfo const& info : k_StatusTable) {
        if (info.status == status)
            return &info;
    }
    return nullptr;
}

// The name for people; "Unknown" for a number that is no status.
constexpr char const* StatusName(int status) {
    StatusInfo const* const info = FindStatus(status);
    return info ? info->name : "Unknown";
}

constexpr bool IsActiveStatus(int status) { return FindStatus(status) && FindStatus(status)->active; }
constexpr bool IsFinishedStatus(int status) { return FindStatus(status) && FindStatus(status)->finished; }
constexpr bool IsFailedStatus(int status) { return FindStatus(status) && FindStatus(status)->failed; }
constexpr bool IsCanceledStatus(int status) { return FindStatus(status) && FindStatus(status)->canceled; }
constexpr bool IsHeldStatus(int status) { return FindStatus(status) && FindStatus(status)->held; }

// Whether a Job as a whole may have this status.
constexpr bool IsJobStatus(int status) { return status == Paused || status == Queued || IsFinishedStatus(status); }

} // namespace vorlan
