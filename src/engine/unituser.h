#pragma once

// The user under whom a unit runs.

#include "engine/runner/runner.h"

namespace vorlan {

// Makes the process run as another user of this machine, with that user's home and
// groups. Only an Engine that runs as root can do it. `ownFolder`: the working folder is
// the Engine's, and becomes the user's. Empty, or what is wrong in words for people.
// Nothing for an empty name or the Engine's own user.
String RunAsUser(RunSpec& spec, String const& user, String const& host, bool ownFolder);

} // namespace vorlan
