#include "keynames.h"

#include <vorlan/fwd.h>
#include <vorlan/keys.h>

namespace vorlan {

String const k_DontUpdateLongestTotal = "*";

namespace {

constexpr char const* k_KnownNames[] = {
    p_ID,
    p_ParentID,
    p_Name,
    p_Note,
    p_Type,
    p_Status,
    p_Creator,
    p_Created,
    p_FinishedTime,
    p_PercentDone,
    p_JobSummary,
    p_Range,
    p_SubRange,
    p_PacketSize,
    p_RangeCount,
    p_Priority,
    p_PriorityBoost,
    p_CPUs,
    p_DispatchCPUs,
    p_GPUs,
    p_UseGPUs,
    p_RAM,
    p_Resources,
    p_Pool,
    p_Pools,
    p_UsageLimit,
    p_FailureLimit,
    p_OvertimeKill,
    p_StaggerCount,
    p_StaggerMode,
    p_StaggerStart,
    p_FinishDisposition,
    p_IncludeEngines,
    p_ExcludeEngines,
    p_WaitForJobID,
    p_WaitForWholeJob,
    p_Username,
    p_Password,
    p_DeleteJobEvt,
    p_FirstWorkEvt,
    p_JobAssignWorkEvt,
    p_JobFinishedEvt,
    p_JobFirstStartedEvt,
    p_WorkAssignedEvt,
    p_WorkFinishedEvt,
    p_WorkFinishedSuccessfulEvt,
    p_WorkFinishedUnsuccessfulEvt,
    p_WorkParameterChangedEvt,
    p_WorkPostExecuteEvt,
    p_WorkPostExecuteSuccessfulEvt,
    p_WorkPostExecuteUnsuccessfulEvt,
    p_WorkStartedEvt,
    p_EngineEnabled,
    p_EngineUseCores,
    p_EngineForceCores,
    p_EngineRestricted,
    p_EngineRestrictedCores,
    p_EngineRestrictedDays,
    p_EngineRestrictedFrom,
    p_EngineRestrictedTo,
    p_EngineIdleSleepTime,
    p_EngineMinSleepTime,
    p_EngineDisabledProducts,
    p_EngineGPUDistribution,
    p_EngineOnline,
    p_EngineStartTime,
    p_EngineVersion,
    p_EnginePlatform,
    p_EngineOperatingSystem,
    p_EngineHostname,
    p_EngineHardware,
    p_EngineMemory,
    p_EngineCores,
    p_EngineMemoryMB,
    p_EngineUTCOffset,
    p_EngineInfoPeer,
    p_EngineLastKnownIP,
    p_EngineMACAddresses,
    p_EngineSharedHistoryLog,
};

} // namespace

std::span<char const* const> KnownNames() { return k_KnownNames; }

} // namespace vorlan
