#include "command.h"

#include "window/mainwindow.h"

#include <algorithm>
#include <wx/intl.h>
#include <wx/menu.h>

namespace vorlan {

namespace {

bool IsLine(CommandRow const& row) { return row.id == 0 && !row.label; }

wxItemKind KindOf(CommandRow const& row) {
    if (row.radio)
        return wxITEM_RADIO;
    return row.check ? wxITEM_CHECK : wxITEM_NORMAL;
}

wxString Translated(char const* text) { return text ? wxGetTranslation(text) : wxString(); }

} // namespace

bool IsOffered(CommandRow const& row, MainWindow const& window) {
    if (row.restriction && window.IsRestricted(row.restriction))
        return false;
    if (row.present && !row.present())
        return false;
    return !row.administrator || window.IsAdministrator();
}

void AppendCommands(wxMenu& menu, MainWindow const& window, std::span<CommandRow const> rows, bool connected) {
    bool lineDue = false;
    for (CommandRow const& row : rows) {
        if (IsLine(row)) {
            lineDue = menu.GetMenuItemCount() != 0;
            continue;
        }
        if (!row.label || !IsOffered(row, window))
            continue;
        wxMenu* submenu = nullptr;
        if (row.id == 0) {
            submenu = new wxMenu;
            AppendCommands(*submenu, window, row.items, connected);
            if (submenu->GetMenuItemCount() == 0) {
                delete submenu;
                continue;
            }
        }
        if (std::exchange(lineDue, false))
            menu.AppendSeparator();
        if (submenu) {
            menu.AppendSubMenu(submenu, Translated(row.label), Translated(row.help));
            continue;
        }
        menu.Append(row.id, Translated(row.label), Translated(row.help), KindOf(row));
        menu.Enable(row.id, connected || row.needs == CommandNeeds::Nothing);
    }
    // The next table begins with a line then.
    if (lineDue)
        menu.AppendSeparator();
}

std::vector<CommandRow const*> ToolbarCommands(MainWindow const& window, std::span<CommandRow const> rows) {
    std::vector<CommandRow const*> tools;
    for (CommandRow const& row : rows) {
        if (row.tool.place != 0 && IsOffered(row, window))
            tools.push_back(&row);
    }
    std::sort(tools.begin(), tools.end(),
              [](CommandRow const* a, CommandRow const* b) { return a->tool.place < b->tool.place; });
    return tools;
}

} // namespace vorlan
