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

bool IsNativeListUp(wxWindow const& choice) {
    gboolean shown = FALSE;
    if (GtkWidget* const widget = choice.GetHandle(); widget && GTK_IS_COMBO_BOX(widget))
        g_object_get(widget, "popup-shown", &shown, nullptr);
    return shown != FALSE;
}

void LeaveWheelToParent(wxWindow& choice) {
    if (GtkWidget* const widget = choice.GetHandle())
        g_signal_connect(widget, "scroll-event", G_CALLBACK(PassOn), nullptr);
}

#else

void PopUpNativeList(wxWindow&) {}
bool IsNativeListUp(wxWindow const&) { return false; }
void LeaveWheelToParent(wxWindow&) {}

#endif
