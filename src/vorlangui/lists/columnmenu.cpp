#include "columnmenu.h"

#include "commands/ids.h"
#include "listctrlbase.h"

#include <wx/control.h>
#include <wx/intl.h>
#include <wx/menu.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

void AppendMoves(wxMenu& menu, ListCtrlBase const& list, int column) {
    int const last = list.GetColumnCount() - 1;
    menu.Append(wxID_ANY, wxControl::EscapeMnemonics(wxvText(list.GetColumnName(column))))->Enable(false);
    menu.AppendSeparator();
    menu.Append(k_IdColumnFarLeft, _("|<<    (Move Far Left)"))->Enable(column > 0);
    menu.Append(k_IdColumnLeft, _("  <      (Move Left)"))->Enable(column > 0);
    menu.Append(k_IdColumnRight, _("  >      (Move Right)"))->Enable(column < last);
    menu.Append(k_IdColumnFarRight, _(">>|    (Move Far Right)"))->Enable(column < last);
    menu.Append(k_IdColumnRemove, _("Remove"))->Enable(last > 0);
    menu.AppendSeparator();
}

// Shows it where the menu was opened, or hides it. The last column stays.
void ToggleColumn(ListCtrlBase& list, int column, int type) {
    int const shown = list.FindColumnByType(type);
    if (shown < 0)
        list.InsertKnownColumn(column, type);
    else if (shown >= 0 && list.GetColumnCount() > 1)
        list.RemoveColumn(shown);
}

} // namespace

void BuildViewColumnListMenu(wxMenu& menu, ListCtrlBase const& list, int column) {
    if (column >= 0 && column < list.GetColumnCount())
        AppendMoves(menu, list, column);
    menu.Append(wxID_ANY, _("   Available Columns"))->Enable(false);
    for (int type = 0; type < k_CustomType; ++type) {
        char const* const title = list.ColumnMenuTitle(type);
        if (!title)
            continue;
        wxMenuItem& item = *menu.AppendCheckItem(k_IdColumnFirstType + type, wxGetTranslation(title));
        bool const isShown = list.FindColumnByType(type) >= 0;
        item.Check(isShown);
        item.Enable(!isShown || list.GetColumnCount() > 1);
    }
    menu.AppendSeparator();
    menu.Append(k_IdColumnDefaults, _("Restore Defaults"));
}

void DoColumnCommand(ListCtrlBase& list, int column, int id) {
    switch (id) {
    case k_IdColumnLeft:
        list.MoveColumn(column, -1);
        break;
    case k_IdColumnFarLeft:
        list.MoveColumn(column, -column);
        break;
    case k_IdColumnRight:
        list.MoveColumn(column, 1);
        break;
    case k_IdColumnFarRight:
        list.MoveColumn(column, list.GetColumnCount() - column);
        break;
    case k_IdColumnRemove:
        if (list.GetColumnCount() > 1)
            list.RemoveColumn(column);
        break;
    case k_IdColumnDefaults:
        list.SetDefaultColumns();
        list.Update();
        return;
    default:
        ToggleColumn(list, column, id - k_IdColumnFirstType);
    }
    list.SaveColumnInfo();
}

} // namespace vorlan
