// The System menu: its commands and what they do.
#include "command.h"
#include "mirror/componentcontrol.h"
#include "core/enginemode.h"
#include "mirror/options.h"
#include "mirror/outside.h"
#include "core/vorlangui.h"
#include "mainwindow.h"

#include <array>
#include <corekit/callentry.h>
#include <corekit/log.h>
#include <memory>
#include <wx/intl.h>
#include <wx/menu.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvcolors.h>

namespace vorlan {

namespace {

enum Id : int {
    k_IdExit = 5006,
    k_IdConnect = 10001,
    k_IdRefresh = 10002,
    k_IdEngineMode = 10003,
    k_IdLight = 10010,
    k_IdLighter = 10011,
    k_IdDark = 10012,
    k_IdDarker = 10013,
    k_IdResetConfirmations = 10063,
};

constexpr CommandRow k_System[] = {
    {k_IdConnect, "&Connect\tF8", "Try to establish a connection with the Vorlan Master", &MainWindow::OnConnect},
    {k_IdRefresh, "&Refresh\tF5", "Refresh all current data from the Master", &MainWindow::OnRefresh,
     CommandNeeds::Connection},
    {k_IdEngineMode, "Engine Mode\tF10", "Run as just an Engine to improve efficiency", &MainWindow::OnEngineMode},
    k_CommandLine,
};

constexpr CommandRow k_Colors[] = {
    {k_IdLighter, "Lighter", nullptr, &MainWindow::OnColorScheme, CommandNeeds::Nothing, nullptr, false, true},
    {k_IdLight, "Light", nullptr, &MainWindow::OnColorScheme, CommandNeeds::Nothing, nullptr, false, true},
    {k_IdDark, "Dark", nullptr, &MainWindow::OnColorScheme, CommandNeeds::Nothing, nullptr, false, true},
    {k_IdDarker, "Darker", nullptr, &MainWindow::OnColorScheme, CommandNeeds::Nothing, nullptr, false, true},
};

constexpr CommandRow k_SystemEnd[] = {
    {k_IdResetConfirmations, "Reset all confirmation messages", "All confirmation messages will be shown again",
     &MainWindow::OnResetAllConfirmations},
    k_CommandLine,
    {k_IdExit, "E&xit", "Close this program", &MainWindow::OnExit},
};

// Which scheme an id stands for.
constexpr std::array<int, k_BuiltInSchemes> k_SchemeIds{k_IdLighter, k_IdLight, k_IdDark, k_IdDarker};

std::unique_ptr<_EngineModeShutdownPipe>& ShutdownPipe() {
    static std::unique_ptr<_EngineModeShutdownPipe> s_pipe;
    return s_pipe;
}

void BuildSystemMenu(wxMenuBar& bar, MainWindow const& window, bool connected) {
    auto menu = std::make_unique<wxMenu>();
    AppendCommands(*menu, window, k_System, connected);
    if (connected) {
        menu->SetLabel(k_IdConnect, _("Re&connect\tF8"));
        menu->SetHelpString(k_IdConnect, _("Try to reconnect to the Vorlan Master"));
    }
    auto* colors = new wxMenu;
    AppendCommands(*colors, window, k_Colors, connected);
    if (int const scheme = static_cast<int>(wxvGetColorScheme()); scheme < k_BuiltInSchemes)
        colors->Check(k_SchemeIds[static_cast<size_t>(scheme)], true);
    menu->AppendSubMenu(colors, _("Vorlan Colors"), _("Set the colors for interface"));
    AppendCommands(*menu, window, k_SystemEnd, connected);
    bar.Append(menu.release(), _("&System"));
}

void BuildHelpMenu(wxMenuBar& bar, MainWindow const& window, bool connected) {
    auto* menu = new wxMenu;
    AppendCommands(*menu, window, HelpCommands(), connected);
    bar.Append(menu, _("&Help"));
}

} // namespace

std::span<CommandRow const> SystemCommands() { return k_System; }
std::span<CommandRow const> SystemCommandsAtEnd() { return k_SystemEnd; }
std::span<CommandRow const> ColorCommands() { return k_Colors; }

void MainWindow::BuildMenus(bool connected) {
    CALL_ENTRY();
    auto* bar = new wxMenuBar;
    BuildSystemMenu(*bar, *this, connected);
    BuildHelpMenu(*bar, *this, connected);
    std::unique_ptr<wxMenuBar> const former(GetMenuBar());
    SetMenuBar(bar);
}

void MainWindow::OnConnect(wxCommandEvent&) {
    CALL_ENTRY();
    Outside::Get().StopMessenger(false, false, true);
    OptionsFile& options = VorlanApp::GetOptions();
    if (m_firstRun || options.GetValue(k_Configuration, k_OptionWasTheMaster, false)) {
        if (VorlanGui* const gui = VorlanGui::Get())
            gui->_StartComponent(k_ComponentMaster, k_StartNotSet);
    }
    ShowView(k_ViewConnecting);
    StopEngineModeShutdownPipe();
    options.SetValue(k_Configuration, k_OptionInEngineMode, false);
}

void MainWindow::OnRefresh(wxCommandEvent&) { RefreshData(); }

void MainWindow::OnEngineMode(wxCommandEvent&) {
    CALL_ENTRY();
    LogSystem("Entering Engine Mode...");
    LogStatus("To return to normal GUI operation, manually force a connect from the System menu");
    ShowView(k_ViewEngineMode);

    OptionsFile& options = VorlanApp::GetOptions();
    OptionsFile::PauseAutoWrite const pause(options);
    options.SetValue(k_Configuration, k_OptionInEngineMode, true);
    Outside& outside = Outside::Get();
    if (outside.IsThisTheMaster()) {
        options.SetValue(k_Configuration, k_OptionWasTheMaster, true);
    } else if (options.GetValue(k_Configuration, k_OptionWasTheMaster, false)) {
        if (VorlanGui* const gui = VorlanGui::Get())
            gui->_StartComponent(k_ComponentMaster, k_StartNotSet);
    } else {
        outside.StopComponent(k_ComponentMaster);
        options.ClearKey(k_Configuration, k_OptionWasTheMaster);
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
