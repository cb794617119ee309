// The context menus of the lists.
#include "enginemode.h"
#include "lists/columnmenu.h"
#include "lists/listctrlbase.h"
#include "mainwindow.h"

#include <corekit/callentry.h>
#include <wx/listctrl.h>
#include <wx/menu.h>
#include <wx/weakref.h>

namespace vorlan {

void MainWindow::OnRightClickCol(wxListEvent& event) {
    CALL_ENTRY();
    auto* const list = dynamic_cast<ListCtrlBase*>(event.GetEventObject());
    if (!list) {
        event.Skip();
        return;
    }
    // It may go while the menu is open.
    wxWeakRef<wxWindow> const isThere(list);
    int const column = event.GetColumn();
    wxMenu menu;
    BuildViewColumnListMenu(menu, *list, column);
    int const id = GetPopupMenuSelectionFromUser(menu);
    _EngineModeTimeout::ResetCurrent();
    if (id != wxID_NONE && isThere)
        DoColumnCommand(*list, column, id);
}

} // namespace vorlan
