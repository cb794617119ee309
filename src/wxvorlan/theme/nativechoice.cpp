#include "theme/nativechoice.h"

#include <wx/window.h>

#ifdef __WXGTK__

#include "theme/gtkheaders.h"

namespace {

gboolean PassOn(GtkWidget* widget, GdkEvent* event, gpointer) {
    if (GtkWidget* const parent = gtk_widget_get_parent(widget))
        gtk_propagate_event(parent, event);
    return TRUE;
}

} // namespace

void PopUpNativeList(wxWindow& choice) {
    GtkWidget* const widget = choice.GetHandle();
    if (widget && GTK_IS_COMBO_BOX(widget) && gtk_widget_get_mapped(widget))
        gtk_combo_box_popup(GTK_COMBO_BOX(widget));
}

void LeaveWheelToParent(wxWindow& choice) {
    if (GtkWidget* const widget = choice.GetHandle())
        g_signal_connect(widget, "scroll-event", G_CALLBACK(PassOn), nullptr);
}

#else

void PopUpNativeList(wxWindow&) {}
void LeaveWheelToParent(wxWindow&) {}

#endif
