#include <algorithm>
#include <wx/dialog.h>
#include <wx/wxvopenmodals.h>

#ifdef __WXGTK__
#include "theme/gtkheaders.h"
#endif

namespace {

// A message box of the desktop has a loop of its own, of which the toolkit does not know.
void CancelNativeDialog([[maybe_unused]] wxDialog& dialog) {
#ifdef __WXGTK__
    if (GtkWidget* const widget = dialog.GetHandle(); widget && GTK_IS_DIALOG(widget))
        gtk_dialog_response(GTK_DIALOG(widget), GTK_RESPONSE_CANCEL);
#endif
}

// So has a menu. True: one was open.
bool CancelMenus() {
    bool any = false;
#ifdef __WXGTK__
    GList* const windows = gtk_window_list_toplevels();
    for (GList const* at = windows; at; at = at->next) {
        auto* const widget = static_cast<GtkWidget*>(at->data);
        GtkWidget* const child = GTK_IS_BIN(widget) ? gtk_bin_get_child(GTK_BIN(widget)) : nullptr;
        if (!child || !GTK_IS_MENU(child) || !gtk_widget_get_visible(widget))
            continue;
        gtk_menu_shell_cancel(GTK_MENU_SHELL(child));
        gtk_menu_popdown(GTK_MENU(child));
        any = true;
    }
    g_list_free(windows);
#endif
    return any;
}

} // namespace

int wxvOpenModals::Enter(wxDialog* dialog) {
    m_open.push_back(dialog);
    return wxID_NONE;
}

void wxvOpenModals::Exit(wxDialog* dialog) {
    auto const last = std::find(m_open.rbegin(), m_open.rend(), dialog);
    if (last != m_open.rend())
        m_open.erase(std::next(last).base());
}

bool wxvOpenModals::EndUppermost() {
    if (CancelMenus())
        return true;
    if (m_open.empty())
        return false;
    wxDialog& last = *m_open.back();
    if (last.IsModal())
        last.EndModal(wxID_CANCEL);
    else
        CancelNativeDialog(last);
    return true;
}
