#pragma once

// The values that every program knows: what each is called, what a text of it must be, what counts without one and
// what it is for. Names are those of keys.h; whoever needs anything else about a value reads it here.

#include <corekit/string.h>
#include <vorlan/fwd.h>
#include <vorlan/keys.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace vorlan {

// What the text of a value is.
enum class ValueKind : uint8_t {
    Text,
    Secret, // a text that no log and no list shows
    Bool,   // Yes or No
    Whole,  // a whole number
    Real,   // a number
    Moment, // milliseconds, as Time counts them
    ID,
    IDs,   // several, parted by blanks, commas or semicolons
    Frames // as FrameRange reads them
};

enum ValueFlag : uint8_t {
    v_OfJob = 0x1,
    v_OfEngine = 0x2,
    v_MastersOwn = 0x4, // of a Job: the Master gives it, nobody else sets it
    v_UnitsOwn = 0x8,   // a work unit's is its own and does not follow its Job's
    v_Setting = 0x10,   // of an Engine: one that the default Engine settings have, too
    v_EventCommand = 0x20,
    v_Slider = 0x40, // people choose it between the ends of its range
};

struct ValueInfo {
    char const* name;
    ValueKind kind;
    char const* fallback; // what counts where neither the object nor what stands behind it says otherwise
    double low;           // of numbers, both ends included
    double high;
    unsigned flags;
    char const* help;

    constexpr bool Has(ValueFlag flag) const { return (flags & flag) != 0; }
    constexpr bool IsNumber() const { return kind == ValueKind::Whole || kind == ValueKind::Real; }
};

inline constexpr double k_MostInt = 2'147'483'647;
inline constexpr double k_MostCores = 65'536;
inline constexpr double k_MostMinutes = 1'000'000;
inline constexpr double k_LastOfDayMs = 86'399'999;

// In the order of their numbers in the NameTable.
inline constexpr auto k_Values = [] {
    using enum ValueKind;
    constexpr unsigned k_Job = v_OfJob;
    constexpr unsigned k_Master = v_OfJob | v_MastersOwn;
    constexpr unsigned k_JobEvent = v_OfJob | v_EventCommand;
    constexpr unsigned k_BothEvent = k_JobEvent | v_OfEngine | v_Setting;
    constexpr unsigned k_Engine = v_OfEngine;
    constexpr unsigned k_Setting = v_OfEngine | v_Setting;
    // clang-format off
    return std::to_array<ValueInfo>({
        // A Job: identity and state.
        {p_ID, ID, "", 0, 0, k_Master | v_OfEngine | v_UnitsOwn, "The Job's identity, which never changes."},
        {p_ParentID, ID, "", 0, 0, k_Master | v_UnitsOwn, "The Job of a work unit."},
        {p_Name, Text, "", 0, 0, k_Job | v_OfEngine | v_UnitsOwn, "The Job's name, as all lists show it."},
        {p_Note, Text, "", 0, 0, k_Job | v_OfEngine | v_UnitsOwn, "Anything that others should know of the Job."},
        {p_Type, ID, "", 0, 0, k_Master, "The Job's Product."},
        {p_Status, Whole, "0", -1, 14, k_Master | v_OfEngine | v_UnitsOwn,
         "Paused: the Job waits until somebody resumes it. Pending: it starts as soon as an Engine is free."},
        {p_Creator, Text, "", 0, 0, k_Job, "Who submitted the Job."},
        {p_Created, Moment, "", 0, 0, k_Master | v_UnitsOwn, "When the Job was submitted."},
        {p_FinishedTime, Moment, "", 0, 0, k_Master | v_UnitsOwn, "When the Job was finished."},
        {p_PercentDone, Real, "0", 0, 100, k_Master | v_UnitsOwn, "How much of the Job is done."},
        {p_Standstill, Text, "", 0, 0, k_Master | v_UnitsOwn,
         "Why nothing of the Job can run until somebody changes something. Empty as long as it can."},
        {p_JobName, Text, "", 0, 0, k_Job, "The name of a work unit's Job."},
        {p_JobSummary, Text, "", 0, 0, k_Job, "What the Job is about, in one line."},
        // Work division. A Product without frames has no range, so none stands in for it.
        {p_Range, Frames, "", 0, 0, k_Job,
         "The frames, such as 1-100 or 1-10,20,30-50x2. x2 takes every second one; numbers may be negative."},
        {p_SubRange, Frames, "", 0, 0, k_Job | v_UnitsOwn, "The frames of a work unit."},
        {p_PacketSize, Whole, "1", 1, k_MostInt, k_Job,
         "How many consecutive frames one Engine gets at a time. Small packets spread better, large ones save the time "
         "that the program needs to start."},
        {p_RangeCount, Whole, "", 0, 0, k_Master, "How many frames the range has."},
        // Scheduling.
        {p_Priority, Whole, "50", 0, 100, k_Job | k_Setting | v_Slider, "Jobs of higher priority are worked on first."},
        {p_PriorityBoost, Whole, "0", -k_MostInt, k_MostInt, k_Job,
         "This many packets at the start of the Job go before all other Jobs, so that its results can be judged early. "
         "Below zero: none, whatever the Product or the farm says."},
        {p_CPUs, Whole, "1", 0, k_MostCores, k_Job, "How many cores of an Engine one work unit takes up."},
        {p_DispatchCPUs, Whole, "", 0, k_MostCores, k_Job, "The cores that a work unit was given."},
        {p_GPUs, Whole, "0", 0, k_MostCores, k_Job | v_OfEngine, "How many GPUs of an Engine one work unit takes up."},
        {p_UseGPUs, Text, "", 0, 0, k_Job | k_Setting,
         "The numbers of the GPUs to use, such as 0,1. Empty: any that are free."},
        {p_RAM, Whole, "0", 0, k_MostInt, k_Job, "The free memory that an Engine needs for one work unit."},
        {p_Resources, Text, "", 0, 0, k_Job,
         "Network shares to connect before the work starts: local = remote, several joined by \" ; \"."},
        {p_Pool, ID, "", 0, 0, k_Job, "The Pool of Engines that may work on the Job. None: the whole system."},
        {p_Pools, IDs, "", 0, 0, k_Job | k_Setting, "Pools, the most important one first."},
        {p_UsageLimit, Whole, "0", -k_MostInt, k_MostInt, k_Job,
         "How much of the farm the Job may use at a time: this many work units, or, below zero, this many Engines."},
        {p_FailureLimit, Whole, "3", 0, k_MostInt, k_Job,
         "How often a work unit may fail before it counts as failed for good."},
        {p_OvertimeKill, Real, "0", 0, 1e6, k_Job,
         "A work unit that runs longer than this many times the Job's average is stopped and tried again."},
        {p_StaggerCount, Whole, "1", 0, k_MostInt, k_Job, "How many are started at once."},
        {p_StaggerMode, Whole, "0", 0, 2, k_Job, "What is started little by little when staggering is on."},
        {p_StaggerStart, Real, "0", 0, 1e8, k_Job, "The seconds between one start and the next."},
        {p_FinishDisposition, Whole, "-1", -1, 1, k_Job, "What becomes of the Job in the queue once it is finished."},
        {p_IncludeEngines, IDs, "", 0, 0, k_Job, "The Engines and Pools that alone may work on the Job."},
        {p_ExcludeEngines, IDs, "", 0, 0, k_Job, "The Engines and Pools that may not work on the Job."},
        {p_WaitForJobID, IDs, "", 0, 0, k_Job, "The IDs of the Jobs that must be finished before this one starts."},
        {p_WaitForWholeJob, Bool, k_Yes, 0, 0, k_Job,
         "Wait until those Jobs are finished altogether. Otherwise each frame waits for the same frame of theirs."},
        {p_WaitForAnyEnd, Bool, k_No, 0, 0, k_Job,
         "Start also when those Jobs failed, or were canceled or deleted. Otherwise only their success will do."},
        {p_Username, Text, "", 0, 0, k_Job, "Whose rights the work has on its network shares."},
        {p_Password, Secret, "", 0, 0, k_Job, "The password of that user."},
        // Event commands.
        {p_DeleteJobEvt, Text, "", 0, 0, k_JobEvent, "Run by an Engine that the Job may use, as the Job's user, when the Job is deleted."},
        {p_JobAssignWorkEvt, Text, "", 0, 0, k_JobEvent, "Run by the Engine that is given work of the Job, as the Job's user."},
        {p_JobFinishedEvt, Text, "", 0, 0, k_JobEvent, "Run by an Engine that the Job may use, as the Job's user, when the Job is finished."},
        {p_JobFirstStartedEvt, Text, "", 0, 0, k_JobEvent, "Run by the Engine on which the first work of the Job starts, as the Job's user."},
        {p_WorkAssignedEvt, Text, "", 0, 0, k_BothEvent, "Run by the Engine when it gets a work unit."},
        {p_FirstWorkEvt, Text, "", 0, 0, k_BothEvent, "Run by each Engine before its first work of the Job."},
        {p_WorkStartedEvt, Text, "", 0, 0, k_BothEvent, "Run by the Engine when a work unit has started."},
        {p_WorkParameterChangedEvt, Text, "", 0, 0, k_BothEvent,
         "Run by the Engine when a value of a running work unit changes."},
        {p_WorkPostExecuteEvt, Text, "", 0, 0, k_BothEvent,
         "Run by the Engine when the process of a work unit has ended, before the unit is reported."},
        {p_WorkPostExecuteSuccessfulEvt, Text, "", 0, 0, k_BothEvent, "The same, after success alone."},
        {p_WorkPostExecuteUnsuccessfulEvt, Text, "", 0, 0, k_BothEvent, "The same, after a failure alone."},
        {p_WorkFinishedEvt, Text, "", 0, 0, k_BothEvent, "Run by the Engine when a work unit is over and reported."},
        {p_WorkFinishedSuccessfulEvt, Text, "", 0, 0, k_BothEvent, "The same, after success alone."},
        {p_WorkFinishedUnsuccessfulEvt, Text, "", 0, 0, k_BothEvent, "The same, after a failure alone."},
        {p_FinishedJobEvt, Text, "", 0, 0, k_Setting | v_EventCommand, "Run by the Engine when a Job is finished."},
        // An Engine as configured.
        {p_EngineEnabled, Bool, k_Yes, 0, 0, k_Setting, "Is the Engine allowed to take on work"},
        {p_EngineUseCores, Whole, "", 0, k_MostCores, k_Setting, "Cores that are available for work"},
        {p_EngineForceCores, Whole, "-1", -1, k_MostCores, k_Setting,
         "Cores that each work counts for: -1 as the Job says, 0 all"},
        {p_EngineRestricted, Bool, k_No, 0, 0, k_Setting, "The restricted times apply"},
        {p_EngineRestrictedCores, Whole, "0", 0, k_MostCores, k_Setting,
         "Cores that are available within the restricted times"},
        {p_EngineRestrictedDays, Whole, "62", 0, 127, k_Setting, // Monday to Friday
         "The days of the restricted times: 1 Sunday, 2 Monday, 4 Tuesday and so on, added up"},
        {p_EngineRestrictedFrom, Whole, "32400000", 0, k_LastOfDayMs, k_Setting,
         "The start of the restricted times, in milliseconds of the Engine's day"},
        {p_EngineRestrictedTo, Whole, "64800000", 0, k_LastOfDayMs, k_Setting,
         "The end of the restricted times, in milliseconds of the Engine's day"},
        {p_EngineIdleSleepTime, Whole, "0", 0, k_MostMinutes, k_Setting,
         "Minutes without work until the Engine sleeps; 0: never"},
        {p_EngineMinSleepTime, Whole, "0", 0, k_MostMinutes, k_Setting,
         "Minutes that the Engine sleeps at least; 0: it is not woken"},
        {p_EngineDisabledProducts, IDs, "", 0, 0, k_Setting, "The Products that the Engine does not work on"},
        {p_EngineGPUDistribution, Text, "", 0, 0, k_Setting, "How the GPUs of this Engine are given to work"},
        // An Engine as it is.
        {p_EngineOnline, Bool, k_No, 0, 0, k_Engine, "The Engine is connected"},
        {p_EngineStartTime, Moment, "", 0, 0, k_Engine, "When the Engine was started"},
        {p_EngineVersion, Whole, "0", 0, k_MostInt, k_Engine, "The Engine's version"},
        {p_EnginePlatform, Whole, "0", 0, 3, k_Engine, "1 Windows, 2 macOS, 3 Linux"},
        {p_EngineOperatingSystem, Text, "", 0, 0, k_Engine, "Operating system"},
        {p_EngineHostname, Text, "", 0, 0, k_Engine, "Name of the machine"},
        {p_EngineHardware, Text, "", 0, 0, k_Engine, "Processor of the machine"},
        {p_EngineMemory, Text, "", 0, 0, k_Engine, "Memory of the machine"},
        {p_EngineCores, Whole, "0", 0, k_MostCores, k_Engine, "Cores of the machine"},
        {p_EngineMemoryMB, Whole, "0", 0, k_MostInt, k_Engine, "Memory of the machine in MB"},
        {p_EngineBarredProducts, IDs, "", 0, 0, k_Engine,
         "The Products that the Engine gets no work of, because it failed on several Jobs of theirs"},
        {p_EngineUTCOffset, Whole, "0", -1440, 1440, k_Engine, "Minutes that the Engine's clock is ahead of UTC"},
        {p_EngineInfoPeer, Text, "", 0, 0, k_Engine, "Where the Engine tells of its hardware"},
        {p_EngineLastKnownIP, Text, "", 0, 0, k_Engine, "The Engine's last address"},
        {p_EngineMACAddresses, Text, "", 0, 0, k_Engine, "The addresses of its network cards"},
        {p_EngineSharedHistoryLog, ID, "", 0, 0, k_Engine, "The folder of logs that it shares with others"},
        // A Product's option on an Engine.
        {e_Limit, Whole, "0", 0, k_MostInt, 0,
         "How many work units of this type may run at a time: on one Engine, or on the whole farm."},
    });
    // clang-format on
}();

// A value of the table, found while compiling. Its number is the one of the NameTable.
struct KnownValue {
    uint32_t number;
    int64_t fallback; // of a number or a Bool

    constexpr ValueInfo const& Info() const { return k_Values[number]; }
};

consteval KnownValue Known(std::string_view name) {
    for (uint32_t i = 0; i < k_Values.size(); ++i) {
        if (name != k_Values[i].name)
            continue;
        std::string_view text = k_Values[i].fallback;
        if (k_Values[i].kind == ValueKind::Bool)
            return {i, text == k_Yes};
        bool const negative = text.starts_with("-");
        int64_t number = 0;
        for (char const c : text.substr(negative ? 1 : 0))
            number = number * 10 + (c - '0');
        return {i, k_Values[i].IsNumber() ? (negative ? -number : number) : 0};
    }
    throw "no value of the table has this name";
}

// Null for a name that is none of the table's; case does not matter.
ValueInfo const* FindValue(std::string_view name);

// Why the text is no value of that name, for people; empty when it is one, when it is empty, and for a name that is
// none of the table's.
String CheckValue(std::string_view name, String const& text);

} // namespace vorlan
