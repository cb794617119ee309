// Commands as data: what a menu's file says of each of its commands.
#pragma once

#include <span>
#include <wx/event.h>

class wxMenu;
class wxMenuBar;

namespace vorlan {

class MainWindow;

// When a command can be used.
enum class CommandNeeds { Nothing, Connection };

struct CommandRow {
    int id;                      // 0: a line between commands
    char const* label = nullptr; // with its accelerator
    char const* help = nullptr;
    void (MainWindow::*handler)(wxCommandEvent&) = nullptr;
    CommandNeeds needs = CommandNeeds::Nothing;
    char const* restriction = nullptr; // left out for people whom it restricts
    bool administrator = false;        // only in administrator mode
    bool radio = false;
};

inline constexpr CommandRow k_CommandLine{0};

// Appends the rows that this user may have.
void AppendCommands(wxMenu& menu, MainWindow const& window, std::span<CommandRow const> rows, bool connected);

// The tables of all menus.
std::span<CommandRow const> SystemCommands();
std::span<CommandRow const> SystemCommandsAtEnd();
std::span<CommandRow const> ColorCommands();
std::span<CommandRow const> HelpCommands();

} // namespace vorlan
