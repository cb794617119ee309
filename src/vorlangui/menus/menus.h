#pragma once

// The tables of all commands, a file for each menu of the bar.

#include "commands/command.h"

namespace vorlan {

std::span<CommandRow const> SystemCommands();
std::span<CommandRow const> ViewCommands();
std::span<CommandRow const> HelpCommands();
// In no menu.
std::span<CommandRow const> PostedCommands();

// All of them, in the order of the bar. A menu that is added here stands in the bar and on
// the toolbar, and its commands are obeyed.
std::span<CommandMenu const> AllMenus();

// What the View menu adds to its rows: the tabs of the views.
void BeginViewMenu(wxMenu& menu, MainWindow& window);

} // namespace vorlan
