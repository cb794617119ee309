#pragma once

// The menu of a column's header: which columns a list has, and in which order.

class wxMenu;

namespace vorlan {

class ListCtrlBase;

// The numbers of its items.
enum ColumnMenuId : int {
    k_IdColumnLeft = 16001,
    k_IdColumnFarLeft = 16002,
    k_IdColumnRight = 16003,
    k_IdColumnFarRight = 16004,
    k_IdColumnDefaults = 16005,
    k_IdColumnRemove = 16006,
    // Of the type 0; the others follow by their number.
    k_IdColumnFirstType = 16007,
    k_IdColumnLastType = 16107,
};

// Fills the menu. `column` is the one that was clicked; -1: the room beside all of them.
// GUI thread.
void BuildViewColumnListMenu(wxMenu& menu, ListCtrlBase const& list, int column);

// Does what an item stands for, and keeps the columns in the options. GUI thread.
void DoColumnCommand(ListCtrlBase& list, int column, int id);

} // namespace vorlan
