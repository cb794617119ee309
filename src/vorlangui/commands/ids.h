#pragma once

// The numbers of all commands. Menus, toolbar, lists and events know a command by its
// number alone. This page includes nothing, and no header includes it: a new number builds
// the few files anew that name one.

namespace vorlan {

enum CommandId : int {
    // System menu.
    k_IdExit = 5006,
    k_IdConnect = 10001,
    k_IdRefresh = 10002,
    k_IdEngineMode = 10003,
    k_IdLight = 10010,
    k_IdLighter = 10011,
    k_IdDark = 10012,
    k_IdDarker = 10013,
    k_IdAdministrator = 10016,
    k_IdSuperExit = 10018,
    k_IdLogDispatch = 10021,
    k_IdLogDump = 10022,
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

    // What a double click on a row of each kind of list stands for.
    k_IdEditEngine = 11011,
    k_IdViewJobHistory = 12017,
    k_IdViewOutput = 13005,

    // View menu. A tab of the views each, up to the last one.
    k_IdFirstView = 14000,
    k_IdLastView = 14099,
    k_IdInfoPane = 14101,
    k_IdToolbar = 14102,
    k_IdStatusBar = 14103,
    k_IdInfoPaneTool = 14104,
    k_IdSelectPrev = 14105,
    k_IdSelectNext = 14106,
    k_IdWindows = 14115,

    // Help menu.
    k_IdAbout = 5014,
    k_IdUserManual = 14108,
    k_IdAdministratorManual = 14109,
    k_IdAfterEffects = 14111,
    k_IdDocsFolder = 14114,

    // The menu of a column's header. One for each type of column, the type 0 first.
    k_IdColumnLeft = 16001,
    k_IdColumnFarLeft = 16002,
    k_IdColumnRight = 16003,
    k_IdColumnFarRight = 16004,
    k_IdColumnDefaults = 16005,
    k_IdColumnRemove = 16006,
    k_IdColumnFirstType = 16007,
    k_IdColumnLastType = 16107,

    // In no menu: the program sends them to its own window.
    k_IdRebuildMenus = 17000,
    k_IdShowReport = 17001, // the event's text: title "|" body

    // The windows that are open, in the order of the View menu.
    k_IdFirstWindow = 18000,
    k_IdLastWindow = 18099,

    // Given out at run time to the commands of Products.
    k_IdFirstCustom = 20000,
    k_IdLastCustom = 29999,
};

// The number belongs to this table or to the toolkit, not to a command of a Product.
constexpr bool IsFixedCommandId(int id) {
    constexpr struct {
        int first, last;
    } k_Ranges[] = {{4999, 5999},   {10001, 10080}, {11001, 11028}, {12000, 12035}, {12900, 12964},
                    {13000, 13006}, {14000, 14115}, {16001, 16209}, {17000, 17001}, {18000, 18099}};
    // The toolkit gives out negative ones.
    bool isFixed = id <= 0;
    for (auto const& range : k_Ranges)
        isFixed = isFixed || (id >= range.first && id <= range.last);
    return isFixed;
}

} // namespace vorlan
