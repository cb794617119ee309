#pragma once

// What the Master has refused, told to people.

#include <corekit/string.h>

#include <vorlan/fwd.h>

namespace vorlan {

// Keeps it until the window is idle. Any thread.
void TellRefusal(String const& reason);

// Shows what has gathered in one box, each reason once. What comes while it is open waits
// for the next one. GUI thread.
void ShowRefusals();

} // namespace vorlan
