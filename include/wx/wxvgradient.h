#pragma once

// A rectangle that goes from one colour to another.

#include <wx/colour.h>
#include <wx/dc.h>

// Fills `rect` with a gradient. `factor` bends it: 1 is straight, above 1 keeps `from`
// longer, below 1 leaves it sooner. `vertical`: from the top down, else from left to
// right; `forward` false: the other way round. Leaves the device context's pen and brush as
// they were. GUI thread.
void DrawGradedRectangle(wxDC& dc, wxRect const& rect, wxColour const& from, wxColour const& to, double factor = 1.0,
                         bool vertical = true, bool forward = true);
