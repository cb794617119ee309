#include <wx/toplevel.h>
#include <wx/wxvfirstlayout.h>

#ifdef __WXGTK__
#include "theme/gtkheaders.h"
#endif

void wxvRealizeBeforeShow(wxTopLevelWindow& window) {
#ifdef __WXGTK__
    gtk_widget_realize(window.m_widget);
#else
    (void)window;
#endif
}
