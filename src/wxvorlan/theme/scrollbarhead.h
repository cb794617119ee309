#pragma once

class wxWindow;

// Lets the header of a list go on above its vertical scroll bar, which begins below the
// header then. `height` in pixels; 0: no header. Follows the scheme by itself.
void wxvHeadScrollbar(wxWindow& list, int height);
