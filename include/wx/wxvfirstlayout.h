#pragma once

class wxTopLevelWindow;

// Gives a window its place on the screen before it is shown for the first time. The
// toolkit would wait with that for the width of the frame that the window manager draws,
// and lay the window out once without a size meanwhile: its menu bar two pixels wide, of
// which GTK complains. GUI thread.
void wxvRealizeBeforeShow(wxTopLevelWindow& window);
