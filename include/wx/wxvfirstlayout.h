#pragma once

class wxTopLevelWindow;

// Gives the parts of a window their places before it is shown for the first time. The
// toolkit shows a window in two steps, and for the first of them its parts would still
// have the size that they were made with: a menu bar two pixels wide, of which GTK
// complains in its log. GUI thread.
void wxvLayOutBeforeShow(wxTopLevelWindow& window);
