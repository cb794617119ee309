#pragma once

#include <wx/window.h>

// Calls `apply`, which reads the colours of the scheme, now and whenever they change, for
// as long as the window lives.
template <class Apply>
void FollowColors(wxWindow& window, Apply apply) {
    apply();
    window.Bind(wxEVT_SYS_COLOUR_CHANGED, [apply](wxSysColourChangedEvent& event) {
        event.Skip();
        apply();
    });
}
