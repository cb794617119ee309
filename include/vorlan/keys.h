#pragma once

// The names of values, options, sections and commands, and the typed defaults of
// the options; what a value is stands in values.h. A constant `p_X` is the text "X"; likewise `o_`, `c_` and `e_`.
// `p_` are values of Jobs and Engines, `o_` options and their sections, `c_` special
// Commands of a Product, `e_` the limits of a Product or Pool.

#include <corekit/string.h>

namespace vorlan {

// A Job's identity and state.
inline constexpr char const* p_ID = "ID";
inline constexpr char const* p_ParentID = "ParentID";
inline constexpr char const* p_Name = "Name";
inline constexpr char const* p_Note = "Note";
inline constexpr char const* p_JobName = "JobName"; // of a work unit
inline constexpr char const* p_Type = "Type";
inline constexpr char const* p_Status = "Status";
inline constexpr char const* p_Creator = "Creator";
inline constexpr char const* p_Created = "Created";
inline constexpr char const* p_FinishedTime = "FinishedTime";
inline constexpr char const* p_PercentDone = "PercentDone";
inline constexpr char const* p_Standstill = "Standstill";
inline constexpr char const* p_JobSummary = "JobSummary";

// Work division. p_RangeCount is derived: the frames of p_Range.
inline constexpr char const* p_Range = "Range";
inline constexpr char const* p_SubRange = "SubRange";
inline constexpr char const* p_PacketSize = "PacketSize";
inline constexpr char const* p_RangeCount = "RangeCount";

// Scheduling.
inline constexpr char const* p_Priority = "Priority";
inline constexpr char const* p_PriorityBoost = "PriorityBoost";
inline constexpr char const* p_CPUs = "CPUs";
inline constexpr char const* p_DispatchCPUs = "DispatchCPUs";
inline constexpr char const* p_GPUs = "GPUs";
inline constexpr char const* p_UseGPUs = "UseGPUs";
inline constexpr char const* p_RAM = "RAM";
inline constexpr char const* p_Resources = "Resources";
inline constexpr char const* p_Pool = "Pool";
inline constexpr char const* p_Pools = "Pools";
inline constexpr char const* p_UsageLimit = "UsageLimit";
inline constexpr char const* p_FailureLimit = "FailureLimit";
inline constexpr char const* p_OvertimeKill = "OvertimeKill";
inline constexpr char const* p_StaggerCount = "StaggerCount";
inline constexpr char const* p_StaggerMode = "StaggerMode";
inline constexpr char const* p_StaggerStart = "StaggerStart";
inline constexpr char const* p_FinishDisposition = "FinishDisposition";
inline constexpr char const* p_IncludeEngines = "IncludeEngines";
inline constexpr char const* p_ExcludeEngines = "ExcludeEngines";
inline constexpr char const* p_WaitForJobID = "WaitForJobID";
inline constexpr char const* p_WaitForWholeJob = "WaitForWholeJob";
inline constexpr char const* p_WaitForAnyEnd = "WaitForAnyEnd";

// Credentials for the work process.
inline constexpr char const* p_Username = "Username";
inline constexpr char const* p_Password = "Password";

// Event commands of a Job.
inline constexpr char const* p_DeleteJobEvt = "DeleteJobEvt";
inline constexpr char const* p_FinishedJobEvt = "FinishedJobEvt"; // an Engine's own
inline constexpr char const* p_FirstWorkEvt = "FirstWorkEvt";
inline constexpr char const* p_JobAssignWorkEvt = "JobAssignWorkEvt";
inline constexpr char const* p_JobFinishedEvt = "JobFinishedEvt";
inline constexpr char const* p_JobFirstStartedEvt = "JobFirstStartedEvt";
inline constexpr char const* p_WorkAssignedEvt = "WorkAssignedEvt";
inline constexpr char const* p_WorkFinishedEvt = "WorkFinishedEvt";
inline constexpr char const* p_WorkFinishedSuccessfulEvt = "WorkFinishedSuccessfulEvt";
inline constexpr char const* p_WorkFinishedUnsuccessfulEvt = "WorkFinishedUnsuccessfulEvt";
inline constexpr char const* p_WorkParameterChangedEvt = "WorkParameterChangedEvt";
inline constexpr char const* p_WorkPostExecuteEvt = "WorkPostExecuteEvt";
inline constexpr char const* p_WorkPostExecuteSuccessfulEvt = "WorkPostExecuteSuccessfulEvt";
inline constexpr char const* p_WorkPostExecuteUnsuccessfulEvt = "WorkPostExecuteUnsuccessfulEvt";
inline constexpr char const* p_WorkStartedEvt = "WorkStartedEvt";

// An Engine as configured. Shared with the default Engine settings.
inline constexpr char const* p_EngineEnabled = "Enabled";
inline constexpr char const* p_EnginePriority = "Priority";
inline constexpr char const* p_EngineUseCores = "UseCores";
inline constexpr char const* p_EngineForceCores = "ForceCores";
inline constexpr char const* p_EngineRestricted = "Restricted";
inline constexpr char const* p_EngineRestrictedCores = "RestrictedCores";
inline constexpr char const* p_EngineRestrictedDays = "RestrictedDays";
inline constexpr char const* p_EngineRestrictedFrom = "RestrictedFrom";
inline constexpr char const* p_EngineRestrictedTo = "RestrictedTo";
inline constexpr char const* p_EngineIdleSleepTime = "IdleSleepTime";
inline constexpr char const* p_EngineMinSleepTime = "MinSleepTime";
inline constexpr char const* p_EnginePools = "Pools";
inline constexpr char const* p_EngineDisabledProducts = "DisabledProducts";
inline constexpr char const* p_EngineUseGPUs = "UseGPUs";
inline constexpr char const* p_EngineGPUDistribution = "GPUDistribution";

// An Engine as it is: told by the Engine itself or by the Master.
inline constexpr char const* p_EngineOnline = "Online";
inline constexpr char const* p_EngineStatus = "Status";
inline constexpr char const* p_EngineStartTime = "StartTime";
inline constexpr char const* p_EngineVersion = "Version";
inline constexpr char const* p_EnginePlatform = "Platform";
inline constexpr char const* p_EngineOperatingSystem = "OperatingSystem";
inline constexpr char const* p_EngineHostname = "Hostname";
inline constexpr char const* p_EngineHardware = "Hardware";
inline constexpr char const* p_EngineMemory = "Memory";
inline constexpr char const* p_EngineCores = "Cores";
inline constexpr char const* p_EngineGPUs = "GPUs";
inline constexpr char const* p_EngineMemoryMB = "MemoryMB";
inline constexpr char const* p_EngineBarredProducts = "BarredProducts";
inline constexpr char const* p_EngineUTCOffset = "UTCOffset";
inline constexpr char const* p_EngineInfoPeer = "InfoPeer";
inline constexpr char const* p_EngineLastKnownIP = "LastKnownIP";
inline constexpr char const* p_EngineMACAddresses = "MACAddresses";
inline constexpr char const* p_EngineSharedHistoryLog = "SharedHistoryLog";

// Special Commands of a Product.
inline constexpr char const* c_CheckFileSequences = "CheckFileSequences";
inline constexpr char const* c_Output = "Output";
inline constexpr char const* c_OutputTrunc = "OutputTrunc";
inline constexpr char const* c_ViewCommand = "ViewCommand";

// Limits of a Product on an Engine, or of a Pool.
inline constexpr char const* e_Limit = "Limit";
inline constexpr char const* e_StaggerCount = "StaggerCount";
inline constexpr char const* e_StaggerMode = "StaggerMode";
inline constexpr char const* e_StaggerStart = "StaggerStart";

// Sections of the options.
inline constexpr char const* o_Setup = "Setup";
inline constexpr char const* o_Communication = "Communication";
inline constexpr char const* o_Distribution = "Distribution";
inline constexpr char const* o_Administrate = "Administrate";
inline constexpr char const* o_Message = "Message";
inline constexpr char const* o_ViewPresets = "ViewPresets";
inline constexpr char const* o_UserLimits = "UserLimits";
inline constexpr char const* o_PoolExtInfo = "PoolExtInfo";

// Connection.
inline constexpr char const* o_Master = "Master";
inline constexpr char const* o_MasterPort = "MasterPort";

// Distribution.
inline constexpr char const* o_DistributeFrequency = "DistributeFrequency";
inline constexpr char const* o_FIFO = "FIFO";
inline constexpr char const* o_IgnorePoolPriority = "IgnorePoolPriority";
inline constexpr char const* o_PriorityBoost = "PriorityBoost";
inline constexpr char const* o_GlobalPriorityBoost = "GlobalPriorityBoost";
inline constexpr char const* o_PriorityZeroIsPaused = "PriorityZeroIsPaused";
inline constexpr char const* o_PackEngine = "PackEngine";
inline constexpr char const* o_OverloadEngine = "OverloadEngine";
inline constexpr char const* o_AllowFewerCPUs = "AllowFewerCPUs";
inline constexpr char const* o_AllowDynamicPackSize = "AllowDynamicPackSize";
inline constexpr char const* o_StartWorkTimeout = "StartWorkTimeout";
inline constexpr char const* o_LostWorkTimeout = "LostWorkTimeout";
inline constexpr char const* o_LogDispatch = "LogDispatch";
inline constexpr char const* o_ExceptMirrors = "ExceptMirrors";
inline constexpr char const* o_AllowMirrors = "AllowMirrors";
inline constexpr char const* o_UseWholeSystem = "UseWholeSystem";
inline constexpr char const* o_CreatorMode = "CreatorMode";
inline constexpr char const* o_GlobalStaggerCount = "GlobalStaggerCount";
inline constexpr char const* o_GlobalStaggerDelay = "GlobalStaggerDelay";
inline constexpr char const* o_WOLStaggerCount = "WOLStaggerCount";
inline constexpr char const* o_WOLStaggerDelay = "WOLStaggerDelay";
inline constexpr char const* o_MinOnlineEngines = "MinOnlineEngines";

// Job keeping.
inline constexpr char const* o_AutoDelete = "AutoDelete";
inline constexpr char const* o_DeleteAfter = "DeleteAfter";
inline constexpr char const* o_ArchiveFolder = "ArchiveFolder";
inline constexpr char const* o_ArchiveOnDelete = "ArchiveOnDelete";
inline constexpr char const* o_ResetCreationTime = "ResetCreationTime";
inline constexpr char const* o_OutputFileCleanup = "OutputFileCleanup";

// Failures.
inline constexpr char const* o_MaxJobFailures = "MaxJobFailures";
inline constexpr char const* o_MaxTotalJobFailures = "MaxTotalJobFailures";
inline constexpr char const* o_MaxTypeFailures = "MaxTypeFailures";
inline constexpr char const* o_AllowJobFailureDeleteReset = "AllowJobFailureDeleteReset";

// Client side.
inline constexpr char const* o_AutoComplete = "AutoComplete";
inline constexpr char const* o_AutoDetect = "AutoDetect";
inline constexpr char const* o_IdleTimeout = "IdleTimeout";
inline constexpr char const* o_MaxEngineHistoryItems = "MaxEngineHistoryItems";

// Typed defaults of the options.
inline constexpr char const* o_MasterDefault = ""; // nobody: the Master is looked for
inline constexpr unsigned short o_MasterPortDefault = 7466;
inline constexpr bool o_AllowDynamicPackSizeDefault = false;
inline constexpr bool o_AllowJobFailureDeleteResetDefault = true;
inline constexpr bool o_AllowMirrorsDefault = true;
inline constexpr bool o_ArchiveOnDeleteDefault = false;
inline constexpr bool o_AutoCompleteDefault = true;
inline constexpr bool o_IgnorePoolPriorityDefault = false;
inline constexpr bool o_PriorityZeroIsPausedDefault = false;
inline constexpr bool o_ResetCreationTimeDefault = false;
inline constexpr bool o_UseWholeSystemDefault = true;
inline constexpr int o_GlobalPriorityBoostDefault = 0;    // packets
inline constexpr float o_StartWorkTimeoutDefault = 60.0F; // seconds
inline constexpr unsigned o_MaxEngineHistoryItemsDefault = 1000;
inline constexpr unsigned o_MinOnlineEnginesDefault = 0;
inline constexpr unsigned o_OutputFileCleanupDefault = 30; // days; 0 keeps them
inline constexpr bool o_FIFODefault = true;                // false: round-robin
inline constexpr bool o_PackEngineDefault = true;          // false: one unit at a time
inline constexpr bool o_AllowFewerCPUsDefault = false;
inline constexpr bool o_OverloadEngineDefault = false;
inline constexpr bool o_LogDispatchDefault = false;
inline constexpr float o_LostWorkTimeoutDefault = 120.0F;    // seconds
inline constexpr float o_DistributeFrequencyDefault = 5.0F;  // seconds
inline constexpr int o_AutoDeleteDefault = 0;                // 0 keep, 1 delete, 2 delete after some hours
inline constexpr float o_DeleteAfterDefault = 24.0F;         // hours
inline constexpr unsigned o_MaxJobFailuresDefault = 3;       // of one Engine on one Job; 0: no limit
inline constexpr unsigned o_MaxTypeFailuresDefault = 10;     // of one Engine on one Product; 0: no limit
inline constexpr unsigned o_MaxTotalJobFailuresDefault = 50; // of one Job; 0: no limit
inline constexpr int o_CreatorModeDefault = 0;               // 0 user, 1 machine, 2 user@machine
inline constexpr unsigned o_GlobalStaggerCountDefault = 0;   // 0: no stagger
inline constexpr float o_GlobalStaggerDelayDefault = 0.0F;   // seconds
inline constexpr unsigned o_WOLStaggerCountDefault = 0;      // 0: nobody is woken
inline constexpr float o_WOLStaggerDelayDefault = 0.0F;      // seconds
inline constexpr int o_IdleTimeoutDefault = -1;              // minutes; 0 never, negative: as the Master says

// Given to a history total in place of a sub-range: the Job's longest total stays
// as it is. No sub-range has this text.
extern corekit::String const k_DontUpdateLongestTotal;

} // namespace vorlan
