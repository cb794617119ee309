// The System menu: the table of its commands, and the short ones among them.
#include "client/componentcontrol.h"
#include "client/options.h"
#include "command.h"
#include "core/enginemode.h"
#include "core/vorlangui.h"
#include "outside/outside.h"
#include "system/systemcomponents.h"
#include "system/systemids.h"
#include "window/mainwindow.h"

#include <array>
#include <corekit/callentry.h>
#include <corekit/log.h>
#include <memory>
#include <vector>
#include <wx/intl.h>
#include <wx/menu.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvcolors.h>

namespace vorlan {

namespace {

constexpr auto k_Nothing = CommandNeeds::Nothing;
constexpr auto k_Connection = CommandNeeds::Connection;
constexpr char k_ProcessControl[] = "Process Control";
constexpr char k_CoreProcessControl[] = "Core Process Control";

constexpr CommandRow Plain(int id, char const* label, char const* help, void (MainWindow::*handler)(wxCommandEvent&)) {
    return {id, label, help, handler};
}

constexpr CommandRow Submenu(char const* label, char const* help, std::span<CommandRow const> items) {
    CommandRow row{0, label, help};
    row.items = items;
    return row;
}

constexpr CommandRow Radio(int id, char const* label) {
    CommandRow row{id, label, nullptr, &MainWindow::OnColorScheme};
    row.radio = true;
    return row;
}

constexpr CommandRow Tool(int id, char const* label, char const* help, CommandTool tool, bool (*present)()) {
    CommandRow row{id, label, help, &MainWindow::OnStartTool, k_Nothing, k_ProcessControl};
    row.tool = tool;
    row.present = present;
    return row;
}

constexpr CommandRow Administrators(int id, char const* label, char const* help,
                                    void (MainWindow::*handler)(wxCommandEvent&)) {
    CommandRow row{id, label, help, handler, k_Connection};
    row.administrator = true;
    return row;
}

constexpr CommandRow k_Colors[] = {
    Radio(k_IdLighter, "Lighter"), Radio(k_IdLight, "Light"),   Radio(k_IdDark, "Dark"),
    Radio(k_IdDarker, "Darker"),   Radio(k_IdCustom, "Custom"),
};

constexpr CommandRow k_Files[] = {
    Plain(k_IdAppFolder, "Browse the Application Folder", "Explore the Vorlan program folder contents",
          &MainWindow::OnBrowseFolder),
    Plain(k_IdModulesFolder, "Browse the Modules Folder", "Explore the Vorlan modules folder contents",
          &MainWindow::OnBrowseFolder),
    Plain(k_IdUtilitiesFolder, "Browse the Utilities Folder", "Explore the Vorlan utilities folder contents",
          &MainWindow::OnBrowseFolder),
    Plain(k_IdLogFolder, "Browse the Log Folder", "Explore the Vorlan program log folder", &MainWindow::OnBrowseFolder),
    Plain(k_IdGuiHistoryLog, "View the History.log", "View the local VorlanGui History.log file",
          &MainWindow::OnViewGuiHistoryLog),
    Plain(k_IdUserFolder, "Browse the User Folder", "Explore the Vorlan user account folder",
          &MainWindow::OnBrowseFolder),
    Plain(k_IdMachineFolder, "Browse the Machine Folder", "Explore the Vorlan common machine data folder",
          &MainWindow::OnBrowseFolder),
    Plain(k_IdTempFolder, "Browse the TEMP Folder", "Explore the current TEMP folder for this user on this machine",
          &MainWindow::OnBrowseFolder),
    k_CommandLine,
    Plain(k_IdInstallMaya, "Install Maya Submit Script", "Install the Maya submit script on this machine",
          &MainWindow::OnInstallScript),
    Plain(k_IdInstall3DSMax, "Install 3DS Max Submit Script", "Install the 3DS Max submit script on this machine",
          &MainWindow::OnInstallScript),
    Plain(k_IdInstallCinema4D, "Install Cinema 4D Submit Script", "Install the Cinema 4D submit script on this machine",
          &MainWindow::OnInstallScript),
    Plain(k_IdInstallAfterEffects, "Install After Effects Submit Script",
          "Install the After Effects submit script on this machine", &MainWindow::OnInstallScript),
    Plain(k_IdInstallNuke, "Install Nuke Submit Script", "Install the Nuke submit script on this machine",
          &MainWindow::OnInstallScript),
    Plain(k_IdInstallLightWave, "Install LightWave Script", "Install the LightWave submit script on this machine",
          &MainWindow::OnInstallScript),
};

// In the order of the ids.
constexpr std::array<CommandRow, 4> ServiceRows(int first, std::array<char const*, 4> const& labels) {
    std::array<CommandRow, 4> rows{};
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i] = Plain(first + static_cast<int>(i), labels[i], nullptr, &MainWindow::OnService);
    return rows;
}

constexpr auto k_EngineService =
    ServiceRows(k_IdEngineService, {"Install the Engine as a Service", "Start the Engine Service",
                                    "Stop the Engine Service", "Remove the Engine Service"});
constexpr auto k_ControlService =
    ServiceRows(k_IdControlService, {"Install the Engine Control Service", "Start the Engine Control Service",
                                     "Stop the Engine Control Service", "Remove the Engine Control Service"});
constexpr auto k_MasterService =
    ServiceRows(k_IdMasterService, {"Install the Master as a Service", "Start the Master Service",
                                    "Stop the Master Service", "Remove the Master Service"});

constexpr CommandRow k_Components[] = {
    Plain(k_IdStartEngine, "Start the Engine now", nullptr, &MainWindow::OnStartComponent),
    Plain(k_IdStopEngine, "Stop the Engine now", nullptr, &MainWindow::OnStopComponent),
    Plain(k_IdRemoveEngineLock, "Remove Engine Lock File", nullptr, &MainWindow::OnRemoveLockFile),
    Submenu("Engine Service", nullptr, k_EngineService),
    Submenu("Engine Control Service", nullptr, k_ControlService),
    k_CommandLine,
    Plain(k_IdStartMaster, "Start the Master now", nullptr, &MainWindow::OnStartComponent),
    Plain(k_IdStopMaster, "Stop the Master now", nullptr, &MainWindow::OnStopComponent),
    Plain(k_IdRemoveMasterLock, "Remove Master Lock File", nullptr, &MainWindow::OnRemoveLockFile),
    Submenu("Master Service", nullptr, k_MasterService),
};

constexpr CommandRow ComponentsMenu() {
    CommandRow row = Submenu("Components", "Advanced control over the internal component processes", k_Components);
    row.restriction = k_CoreProcessControl;
    return row;
}

constexpr CommandRow k_Commands[] = {
    Administrators(k_IdMasterHistoryLog, "View Master History.log", "Download and view the Master's History.log file",
                   &MainWindow::OnViewMasterLogs),
    Administrators(k_IdDispatchLog, "View Current Dispatch.log",
                   "Generate, download and view the lateste available Dispatch.log file",
                   &MainWindow::OnViewMasterLogs),
    Administrators(k_IdLogDispatch, "Restart Dispatch logging",
                   "Tell the master to start logging the dispatch loop again", &MainWindow::OnLogDispatch),
    Administrators(k_IdSuperExit, "System-wide exit", "Request a system wide shutdown of all Vorlan components",
                   &MainWindow::OnSuperShutdown),
};

constexpr CommandRow CommandsMenu() {
    CommandRow row = Submenu("System Commands", "Advanced system commands", k_Commands);
    row.administrator = true;
    return row;
}

constexpr CommandRow k_Top[] = {
    Plain(k_IdConnect, "&Connect\tF8", "Try to establish a connection with the Vorlan Master", &MainWindow::OnConnect),
    {k_IdRefresh, "&Refresh\tF5", "Refresh all current data from the Master", &MainWindow::OnRefresh, k_Connection},
    Plain(k_IdEngineMode, "Engine Mode\tF10", "Run as just an Engine to improve efficiency", &MainWindow::OnEngineMode),
    k_CommandLine,
    Submenu("Vorlan Colors", "Set the colors for interface", k_Colors),
    Plain(k_IdResetConfirmations, "Reset all confirmation messages", "All confirmation messages will be shown again",
          &MainWindow::OnResetAllConfirmations),
    k_CommandLine,
    Submenu("Vorlan Files", "Shortcuts for finding Vorlan related files on this machine", k_Files),
    Tool(k_IdStartBrakka, "Start Brakka", "Brakka shows buttons to enable or disable your machine for doing work",
         {1, "Brakka", "Start Brakka"}, &IsInstalled<k_ComponentBrakka>),
    Tool(k_IdStartMerrow, "Start Merrow", "Merrow performs operations on Job events on your machine for you",
         {2, "Merrow", "Start Merrow"}, &IsInstalled<k_ComponentMerrow>),
    Tool(k_IdStartPanvale, "Start Panvale", "Panvale shows you an overview of your network CPU and Memory",
         {3, "Panvale", "Start Panvale"}, &IsInstalled<k_ComponentPanvale>),
    ComponentsMenu(),
    k_CommandLine,
};

// Only while there is a Master.
constexpr CommandRow k_Administration[] = {
    Plain(k_IdAdministrator, "Administrator Mode", "Enter administrator mode", &MainWindow::OnAdministratorMode),
    CommandsMenu(),
    k_CommandLine,
};

constexpr CommandRow k_End[] = {
    Plain(k_IdExit, "E&xit", "Close this program", &MainWindow::OnExit),
};

// Which scheme an id stands for.
constexpr std::array<int, k_BuiltInSchemes + 1> k_SchemeIds{k_IdLighter, k_IdLight, k_IdDark, k_IdDarker, k_IdCustom};

std::unique_ptr<_EngineModeShutdownPipe>& ShutdownPipe() {
    static std::unique_ptr<_EngineModeShutdownPipe> s_pipe;
    return s_pipe;
}

} // namespace

std::span<CommandRow const> SystemCommands() {
    static std::vector<CommandRow> const s_rows = [] {
        std::vector<CommandRow> rows;
        for (std::span<CommandRow const> const group :
             {std::span<CommandRow const>(k_Top), std::span<CommandRow const>(k_Administration),
              std::span<CommandRow const>(k_End)})
            rows.insert(rows.end(), group.begin(), group.end());
        return rows;
    }();
    return s_rows;
}

void BuildSystemMenu(wxMenuBar& bar, MainWindow const& window, bool connected) {
    auto menu = std::make_unique<wxMenu>();
    AppendCommands(*menu, window, k_Top, connected);
    if (connected)
        AppendCommands(*menu, window, k_Administration, connected);
    AppendCommands(*menu, window, k_End, connected);
    if (connected) {
        menu->SetLabel(k_IdConnect, _("Re&connect\tF8"));
        menu->SetHelpString(k_IdConnect, _("Try to reconnect to the Vorlan Master"));
    }
    if (connected && window.IsAdministrator()) {
        menu->SetLabel(k_IdAdministrator, _("Normal Mode"));
        menu->SetHelpString(k_IdAdministrator, _("Return to normal mode"));
    }
    menu->Check(k_SchemeIds[static_cast<size_t>(wxvGetColorScheme())], true);
    bar.Append(menu.release(), _("&System"));
}

void MainWindow::OnConnect(wxCommandEvent&) {
    CALL_ENTRY();
    Outside::Get().StopMessenger(false, false, true);
    if (m_firstRun || k_OptionWasTheMaster.Get()) {
        if (VorlanGui* const gui = VorlanGui::Get())
            gui->_StartComponent(k_ComponentMaster, k_StartNotSet);
    }
    ShowView(k_ViewConnecting);
    StopEngineModeShutdownPipe();
    k_OptionInEngineMode.Set(false);
}

void MainWindow::OnRefresh(wxCommandEvent&) { RefreshData(); }

void MainWindow::OnEngineMode(wxCommandEvent&) {
    CALL_ENTRY();
    LogSystem("Entering Engine Mode...");
    LogStatus("To return to normal GUI operation, manually force a connect from the System menu");
    ShowView(k_ViewEngineMode);

    OptionsFile::PauseAutoWrite const pause(VorlanApp::GetOptions());
    k_OptionInEngineMode.Set(true);
    Outside& outside = Outside::Get();
    if (outside.IsThisTheMaster()) {
        k_OptionWasTheMaster.Set(true);
    } else if (k_OptionWasTheMaster.Get()) {
        if (VorlanGui* const gui = VorlanGui::Get())
            gui->_StartComponent(k_ComponentMaster, k_StartNotSet);
    } else {
        outside.StopComponent(k_ComponentMaster);
        k_OptionWasTheMaster.Clear();
    }
    outside.StartComponent(k_ComponentEngine);
    outside.StopMessenger(false, false, false);
    if (!ShutdownPipe())
        ShutdownPipe() = std::make_unique<_EngineModeShutdownPipe>();
}

void MainWindow::StopEngineModeShutdownPipe() { ShutdownPipe().reset(); }

void MainWindow::OnColorScheme(wxCommandEvent& event) {
    for (size_t scheme = 0; scheme < k_SchemeIds.size(); ++scheme) {
        if (k_SchemeIds[scheme] == event.GetId())
            wxvSetColorScheme(static_cast<int>(scheme));
    }
}

void MainWindow::OnResetAllConfirmations(wxCommandEvent&) {
    wxConfirmDlg question(this, _("This will reset all confirmation windows, including this one"),
                          "ResetAllConfirmations");
    if (question.Confirm())
        wxConfirmDlg::ResetAll();
}

void MainWindow::OnExit(wxCommandEvent&) { Close(); }

} // namespace vorlan
