#include <wx/toplevel.h>
#include <wx/wxvfirstlayout.h>

#ifdef __WXGTK__
#include "theme/gtkheaders.h"
#endif

void wxvLayOutBeforeShow(wxTopLevelWindow& window) {
#ifdef __WXGTK__
    wxSize const size = window.GetSize();
    GtkAllocation place{0, 0, size.x, size.y};
    // It must have been asked for its size before it is given one.
    int smallest = 0;
    int natural = 0;
    gtk_widget_get_preferred_width(window.m_widget, &smallest, &natural);
    gtk_widget_size_allocate(window.m_widget, &place);
#else
    (void)window;
#endif
}
