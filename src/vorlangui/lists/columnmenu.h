#pragma once

// The menu of a column's header: which columns a list has, and in which order.

class wxMenu;

namespace vorlan {

class ListCtrlBase;

// Fills the menu. `column` is the one that was clicked; -1: the room beside all of them.
// GUI thread.
void BuildViewColumnListMenu(wxMenu& menu, ListCtrlBase const& list, int column);

// Does what an item stands for, and keeps the columns in the options. GUI thread.
void DoColumnCommand(ListCtrlBase& list, int column, int id);

} // namespace vorlan
