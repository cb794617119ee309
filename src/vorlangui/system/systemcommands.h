#pragma once

// The submenus of the System menu; their rows stand beside what they do.

#include "commands/command.h"

namespace vorlan {

// "Vorlan Files".
std::span<CommandRow const> FileCommands();
// "Components".
std::span<CommandRow const> ComponentCommands();
// "System Commands", for administrators.
std::span<CommandRow const> AdministratorCommands();

enum class Service;
std::span<CommandRow const> ServiceCommands(Service service);

// Enters or leaves administrator mode, the menu's own item.
void OnAdministratorMode(MainWindow& window, wxCommandEvent& event);

} // namespace vorlan
