#pragma once

// The numbers of the System menu's commands.

namespace vorlan {

enum SystemId : int {
    k_IdExit = 5006,
    k_IdConnect = 10001,
    k_IdRefresh = 10002,
    k_IdEngineMode = 10003,
    k_IdLight = 10010,
    k_IdLighter = 10011,
    k_IdDark = 10012,
    k_IdDarker = 10013,
    k_IdCustom = 10014,
    k_IdAdministrator = 10016,
    k_IdSuperExit = 10018,
    k_IdLogDispatch = 10021,
    k_IdStartMaster = 10026,
    k_IdStartEngine = 10027,
    k_IdStartBrakka = 10028,
    k_IdStartMerrow = 10029,
    k_IdStartPanvale = 10030,
    k_IdStopMaster = 10033,
    k_IdStopEngine = 10034,
    // Each block in the order install, start, stop, remove.
    k_IdEngineService = 10039,
    k_IdMasterService = 10043,
    k_IdControlService = 10048,
    k_IdLogFolder = 10055,
    k_IdAppFolder = 10056,
    k_IdModulesFolder = 10057,
    k_IdUtilitiesFolder = 10058,
    k_IdUserFolder = 10059,
    k_IdMachineFolder = 10060,
    k_IdTempFolder = 10061,
    k_IdResetConfirmations = 10063,
    k_IdGuiHistoryLog = 10064,
    k_IdMasterHistoryLog = 10066,
    k_IdDispatchLog = 10067,
    k_IdRemoveMasterLock = 10070,
    k_IdRemoveEngineLock = 10071,
    k_IdInstallMaya = 10074,
    k_IdInstall3DSMax = 10075,
    k_IdInstallCinema4D = 10076,
    k_IdInstallAfterEffects = 10077,
    k_IdInstallNuke = 10078,
    k_IdInstallLightWave = 10079,
};

} // namespace vorlan
