// The System menu: its own commands; those of its submenus stand in system/.
#include "commands/ids.h"
#include "menus.h"
#include "outside/outside.h"
#include "system/systemcommands.h"
#include "system/systemcomponents.h"
#include "window/mainwindow.h"

#include <array>
#include <wx/intl.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvcolors.h>

namespace vorlan {

namespace {

constexpr char k_ProcessControl[] = "Process Control";
constexpr char k_CoreProcessControl[] = "Core Process Control";

// Which scheme an id stands for.
constexpr std::array<int, k_BuiltInSchemes> k_SchemeIds{k_IdLighter, k_IdLight, k_IdDark, k_IdDarker};

void OnConnect(MainWindow& window, wxCommandEvent& event) { window.OnConnect(event); }
void OnRefresh(MainWindow& window, wxCommandEvent&) { window.RefreshData(); }
void OnEngineMode(MainWindow& window, wxCommandEvent& event) { window.OnEngineMode(event); }

void OnColorScheme(MainWindow&, wxCommandEvent& event) {
    for (size_t scheme = 0; scheme < k_SchemeIds.size(); ++scheme) {
        if (k_SchemeIds[scheme] == event.GetId())
            wxvSetColorScheme(static_cast<int>(scheme));
    }
}

bool IsSchemeOf(int id) {
    auto const scheme = static_cast<size_t>(wxvGetColorScheme());
    return scheme < k_SchemeIds.size() && k_SchemeIds[scheme] == id;
}

void OnResetAllConfirmations(MainWindow& window, wxCommandEvent&) {
    wxConfirmDlg question(&window, _("This will reset all confirmation windows, including this one"),
                          "ResetAllConfirmations");
    if (question.Confirm())
        wxConfirmDlg::ResetAll();
}

void OnStartTool(MainWindow&, wxCommandEvent& event) {
    Outside::Get().StartComponent(ComponentOfCommand(event.GetId()));
}

void OnExit(MainWindow& window, wxCommandEvent&) { window.Close(); }

bool IsConnected(CommandUser const& user) { return user.HasMaster(); }
bool IsNotConnected(CommandUser const& user) { return !user.HasMaster(); }
bool IsAdministering(CommandUser const& user) { return user.HasMaster() && user.IsAdministrator(); }
bool MayBecomeAdministrator(CommandUser const& user) { return user.HasMaster() && !user.IsAdministrator(); }

template <int Component>
bool IsInstalled(CommandUser const&) {
    return IsProgramInstalled(Component);
}

constexpr CommandRow SchemeRow(int id, char const* label) {
    return {.id = id, .label = label, .run = &OnColorScheme, .kind = CommandKind::Radio, .isOn = &IsSchemeOf};
}

constexpr CommandRow k_Schemes[] = {SchemeRow(k_IdLighter, "Lighter"), SchemeRow(k_IdLight, "Light"),
                                    SchemeRow(k_IdDark, "Dark"), SchemeRow(k_IdDarker, "Darker")};

template <int Component>
constexpr CommandRow ToolRow(int id, char const* label, char const* help, CommandTool tool) {
    return {.id = id,
            .label = label,
            .help = help,
            .run = &OnStartTool,
            .restrictions = {k_ProcessControl},
            .present = &IsInstalled<Component>,
            .tool = tool};
}

} // namespace

std::span<CommandRow const> SystemCommands() {
    static CommandRow const s_rows[] = {
        {.id = k_IdConnect,
         .label = "&Connect\tF8",
         .help = "Try to establish a connection with the Vorlan Master",
         .run = &OnConnect,
         .present = &IsNotConnected},
        {.id = k_IdConnect,
         .label = "Re&connect\tF8",
         .help = "Try to reconnect to the Vorlan Master",
         .run = &OnConnect,
         .present = &IsConnected},
        {.id = k_IdRefresh,
         .label = "&Refresh\tF5",
         .help = "Refresh all current data from the Master",
         .run = &OnRefresh,
         .needs = CommandNeeds::Connection},
        {.id = k_IdEngineMode,
         .label = "Engine Mode\tF10",
         .help = "Run as just an Engine to improve efficiency",
         .run = &OnEngineMode},
        k_CommandLine,
        {.label = "Vorlan Colors", .help = "Set the colors for interface", .items = k_Schemes},
        {.id = k_IdResetConfirmations,
         .label = "Reset all confirmation messages",
         .help = "All confirmation messages will be shown again",
         .run = &OnResetAllConfirmations},
        k_CommandLine,
        {.label = "Vorlan Files",
         .help = "Shortcuts for finding Vorlan related files on this machine",
         .items = FileCommands()},
        ToolRow<k_ComponentBrakka>(k_IdStartBrakka, "Start Brakka",
                                   "Brakka shows buttons to enable or disable your machine for doing work",
                                   {1, "Brakka", "Start Brakka"}),
        ToolRow<k_ComponentMerrow>(k_IdStartMerrow, "Start Merrow",
                                   "Merrow performs operations on Job events on your machine for you",
                                   {2, "Merrow", "Start Merrow"}),
        ToolRow<k_ComponentPanvale>(k_IdStartPanvale, "Start Panvale",
                                    "Panvale shows you an overview of your network CPU and Memory",
                                    {3, "Panvale", "Start Panvale"}),
        {.label = "Components",
         .help = "Advanced control over the internal component processes",
         .restrictions = {k_CoreProcessControl},
         .items = ComponentCommands()},
        k_CommandLine,
        {.id = k_IdAdministrator,
         .label = "Administrator Mode",
         .help = "Enter administrator mode",
         .run = &OnAdministratorMode,
         .present = &MayBecomeAdministrator},
        {.id = k_IdAdministrator,
         .label = "Normal Mode",
         .help = "Return to normal mode",
         .run = &OnAdministratorMode,
         .present = &IsAdministering},
        {.label = "System Commands",
         .help = "Advanced system commands",
         .present = &IsAdministering,
         .items = AdministratorCommands()},
        k_CommandLine,
        {.id = k_IdExit, .label = "E&xit", .help = "Close this program", .run = &OnExit},
    };
    return s_rows;
}

} // namespace vorlan
