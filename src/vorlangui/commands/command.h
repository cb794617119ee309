#pragma once

// Commands as data: what a menu's file says of each of its commands. Menu bar, context
// menus, toolbar and the rules of what can be used right now are made from it.

#include <span>
#include <vector>
#include <wx/event.h>

class wxMenu;
class wxMenuBar;

namespace vorlan {

class MainWindow;

// When a command can be used.
enum class CommandNeeds {
    Nothing,
    Connection,
    JobSelected,
    EngineSelected,
    WorkSelected,
    FormerSelection, // in the selection history
    LaterSelection,
};

// Where a command stands in its group of the toolbar.
struct CommandTool {
    int place = 0;              // counted from 1; 0: it is not there
    char const* icon = nullptr; // a file of resources/icons, without its extension
    char const* tooltip = nullptr;
    bool toggles = false;
    bool (*isOn)() = nullptr; // of a button that toggles
};

struct CommandRow {
    int id;                      // 0: a line between commands, or a submenu
    char const* label = nullptr; // with its accelerator; null: on the toolbar only
    char const* help = nullptr;
    void (MainWindow::*handler)(wxCommandEvent&) = nullptr;
    CommandNeeds needs = CommandNeeds::Nothing;
    char const* restriction = nullptr; // left out for people whom it restricts
    bool administrator = false;        // only in administrator mode
    bool radio = false;
    bool check = false;
    CommandTool tool = {};
    std::span<CommandRow const> items = {}; // of a submenu; without any it is left out
    bool (*present)() = nullptr;            // left out while this says no
};

inline constexpr CommandRow k_CommandLine{0};

// This user has it.
bool IsOffered(CommandRow const& row, MainWindow const& window);

// Appends the rows that this user may have. A line that would stand at an end or beside
// another one is left out.
void AppendCommands(wxMenu& menu, MainWindow const& window, std::span<CommandRow const> rows, bool connected);

// The rows that stand on the toolbar for this user, in their order there.
std::vector<CommandRow const*> ToolbarCommands(MainWindow const& window, std::span<CommandRow const> rows);

// The tables of all menus; a menu's submenus are in it.
std::span<CommandRow const> SystemCommands();
std::span<CommandRow const> ViewCommands();
std::span<CommandRow const> HelpCommands();

// Each appends its menu to the bar.
void BuildSystemMenu(wxMenuBar& bar, MainWindow const& window, bool connected);
void BuildViewMenu(wxMenuBar& bar, MainWindow const& window, bool connected);
void BuildHelpMenu(wxMenuBar& bar, MainWindow const& window, bool connected);

// If the menu is one with the submenu of open windows, fills that with those of now.
void FillWindowsMenu(wxMenu& menu, MainWindow const& window);

} // namespace vorlan
