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

void wxvOpenModals::EndLast() {
    if (m_open.empty())
        return;
    wxDialog& last = *m_open.back();
    if (last.IsModal())
        last.EndModal(wxID_CANCEL);
    else
        CancelNativeDialog(last);
}
