#pragma once

#include <vector>
#include <wx/gdicmn.h>

// Where a window opens: at `wanted`, no smaller than `smallest`, brought within the
// screen of which it covers most, or the first one. `screens`: their client areas. A
// window that several screens show whole stays as it is. Without screens: `wanted`.
wxRect wxvPlaceWithin(wxRect wanted, wxSize const& smallest, std::vector<wxRect> const& screens);

// The client areas of the screens that are there, the main one first.
std::vector<wxRect> wxvScreens();
