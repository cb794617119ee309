#include "theme/scrollbarhead.h"

#include <wx/string.h>
#include <wx/window.h>

#ifdef __WXGTK__

#include "theme/gtkheaders.h"

namespace {

// The toolkit's own drawing of `widget`, and of nothing in it, gets one more rule.
void Style(GtkWidget* widget, wxString const& rule) {
    constexpr char k_Key[] = "vorlan-header";
    if (auto* const former = static_cast<GtkStyleProvider*>(g_object_get_data(G_OBJECT(widget), k_Key)))
        gtk_style_context_remove_provider(gtk_widget_get_style_context(widget), former);
    GtkCssProvider* const provider = gtk_css_provider_new();
    wxScopedCharBuffer const text = rule.utf8_str();
    gtk_css_provider_load_from_data(provider, text.data(), static_cast<gssize>(text.length()), nullptr);
    gtk_style_context_add_provider(gtk_widget_get_style_context(widget), reinterpret_cast<GtkStyleProvider*>(provider),
                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION + 1);
    g_object_set_data_full(G_OBJECT(widget), k_Key, provider, g_object_unref);
}

} // namespace

void wxvHeadScrollbar(wxWindow& list, int height) {
    GtkWidget* const widget = list.GetHandle();
    if (!GTK_IS_SCROLLED_WINDOW(widget))
        return;
    Style(gtk_scrolled_window_get_vscrollbar(GTK_SCROLLED_WINDOW(widget)),
          wxString::Format("scrollbar { margin-top: %dpx; }", height));
    if (height > 0)
        // Not "*": that is also what the toolkit draws at the edges of the content.
        Style(widget,
              wxString::Format("scrolledwindow { background-image: linear-gradient(to bottom, @vorlan_header %dpx, "
                               "@vorlan_line %dpx, @vorlan_line %dpx, transparent %dpx); }",
                               height - 1, height - 1, height, height));
}

#else

// The scroll bars of other toolkits are no part of the window.
void wxvHeadScrollbar(wxWindow&, int) {}

#endif
