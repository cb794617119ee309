#pragma once

// Commands as data. A row says all that menu bar, context menus, toolbar and the rules of
// what can be used now need of one command; the tables stand in menus/ and system/, each
// row in the file of its function. A new command is a number in ids.h and a row with its
// function.

#include <corekit/string.h>

#include <array>
#include <span>
#include <vector>
#include <vorlan/fwd.h>

class wxCommandEvent;
class wxMenu;

namespace vorlan {

class MainWindow;

// When a command can be used.
enum class CommandNeeds {
    Nothing,
    Connection,
    JobSelected,
    EngineSelected,
    OfflineEngineSelected,
    WorkSelected,
    FormerSelection, // in the selection history
    LaterSelection,
};

// CommandUser is what the commands ask of whoever uses them.
// Thread: the GUI thread.
class CommandUser {
public:
    virtual ~CommandUser() = default;

    // May not do what the Master's restrictions call so.
    virtual bool IsRestricted(String const& action) const = 0;
    virtual bool IsAdministrator() const = 0;
    // There is a Master.
    virtual bool HasMaster() const = 0;
    virtual bool CanUse(CommandNeeds needs) const = 0;
};

// In which menus a command stands.
enum class CommandMenus { Bar, Context, Both };
enum class CommandKind { Plain, Check, Radio };

// Where a command stands in its group of the toolbar.
struct CommandTool {
    int place = 0;              // counted from 1; 0: it is not there
    char const* icon = nullptr; // a file of resources/icons, without its extension
    char const* tooltip = nullptr;
    bool toggles = false; // shows what `isOn` of the row says
};

struct CommandRow {
    int id = 0;                         // 0: a line between commands, or a submenu
    int lastId = 0;                     // of a block of numbers that have this row in common; 0: of `id` alone
    char const* label = nullptr;        // with its accelerator; null: it is in no menu
    char const* contextLabel = nullptr; // null: `label` without its accelerator
    char const* help = nullptr;
    void (*run)(MainWindow& window, wxCommandEvent& event) = nullptr;
    CommandNeeds needs = CommandNeeds::Nothing;
    CommandMenus menus = CommandMenus::Bar;
    CommandKind kind = CommandKind::Plain;
    bool administrator = false;                         // only in administrator mode
    std::array<char const*, 2> restrictions{};          // left out for people whom one of them restricts
    bool (*present)(CommandUser const& user) = nullptr; // left out while this says no
    bool (*hasEffect)(int id) = nullptr;                // grey in a menu that opens while this says no
    bool (*isOn)(int id) = nullptr;                     // of one that is checked, chosen or toggled
    CommandTool tool = {};
    std::span<CommandRow const> items = {}; // of a submenu; one without any is left out
    // Of a submenu with a number whose items are those of the moment in which its menu opens.
    void (*fill)(wxMenu& submenu, MainWindow& window) = nullptr;
};

inline constexpr CommandRow k_CommandLine{};

// One menu of the bar, and the toolbar's group that belongs to it.
struct CommandMenu {
    char const* title = nullptr; // null: it is none, its commands stand elsewhere
    std::span<CommandRow const> rows = {};
    bool needsMaster = false; // left out of the bar without one
    // Puts in front of the rows what no table can say, while the menu is made.
    void (*begin)(wxMenu& menu, MainWindow& window) = nullptr;
    // Adds behind the rows what belongs to the moment in which the menu opens.
    void (*open)(wxMenu& menu, MainWindow& window) = nullptr;
};

// The user has it.
bool IsOffered(CommandRow const& row, CommandUser const& user);

// The row of a number that the user has, in a submenu also; null if there is none.
CommandRow const* FindCommand(std::span<CommandRow const> rows, CommandUser const& user, int id);

// Appends the rows that the user has and that stand in menus of that kind. A line that
// would stand at an end or beside another one is left out.
void AppendCommands(wxMenu& menu, CommandUser const& user, std::span<CommandRow const> rows,
                    CommandMenus kind = CommandMenus::Bar);

// The rows that stand on the toolbar for this user, in their order there.
std::vector<CommandRow const*> ToolbarCommands(CommandUser const& user, std::span<CommandRow const> rows);

// Takes the items from that position on out of the menu, with their submenus.
void TrimMenu(wxMenu& menu, size_t from);

} // namespace vorlan
