#pragma once

// The programs beside the client, as the System menu sees them.

#include <vorlan/components.h>

namespace vorlan {

// The component that a command is about; -1: none.
int ComponentOfCommand(int id);

// The program lies beside this one.
bool IsProgramInstalled(int component);

} // namespace vorlan
