#pragma once

#include <optional>

class wxDC;
class wxRegion;
class wxWindow;

// What drawing on `dc` changes in the window, in client coordinates; nothing:
// that is not known. The toolkit's update region may be one rectangle around
// pieces far from each other, while all between them stays as it is. In a paint
// event, with its wxPaintDC.
std::optional<wxRegion> PaintedRegion(wxWindow const& window, wxDC& dc);
