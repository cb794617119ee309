#pragma once

#include <wx/iconbndl.h>

namespace vorlan {

// The client's mark in the sizes that desktops ask for.
wxIconBundle WindowIcons();

} // namespace vorlan
