#include "command.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <wx/intl.h>
#include <wx/menu.h>

namespace vorlan {

namespace {

bool IsLine(CommandRow const& row) { return row.id == 0 && !row.label; }

bool IsSubmenu(CommandRow const& row) { return row.id == 0 || row.fill; }

bool Matches(CommandRow const& row, int id) {
    return row.id != 0 && id >= row.id && id <= std::max(row.id, row.lastId);
}

bool StandsIn(CommandRow const& row, CommandMenus kind) {
    return row.label && (row.menus == CommandMenus::Both || row.menus == kind);
}

wxItemKind KindOf(CommandRow const& row) {
    switch (row.kind) {
    case CommandKind::Check:
        return wxITEM_CHECK;
    case CommandKind::Radio:
        return wxITEM_RADIO;
    default:
        return wxITEM_NORMAL;
    }
}

wxString Translated(char const* text) { return text ? wxGetTranslation(text) : wxString(); }

wxString LabelOf(CommandRow const& row, CommandMenus kind) {
    if (kind == CommandMenus::Bar)
        return Translated(row.label);
    return row.contextLabel ? Translated(row.contextLabel) : Translated(row.label).BeforeFirst('\t');
}

// Null when nothing of it is for this user.
std::unique_ptr<wxMenu> NewSubmenu(CommandRow const& row, CommandUser const& user, CommandMenus kind) {
    auto submenu = std::make_unique<wxMenu>();
    AppendCommands(*submenu, user, row.items, kind);
    return row.fill || submenu->GetMenuItemCount() != 0 ? std::move(submenu) : nullptr;
}

void AppendCommand(wxMenu& menu, CommandUser const& user, CommandRow const& row, CommandMenus kind) {
    menu.Append(row.id, LabelOf(row, kind), Translated(row.help), KindOf(row));
    menu.Enable(row.id, user.CanUse(row.needs));
    if (row.isOn && row.kind != CommandKind::Plain && row.isOn(row.id))
        menu.Check(row.id, true);
}

} // namespace

bool IsOffered(CommandRow const& row, CommandUser const& user) {
    for (char const* const restriction : row.restrictions) {
        if (restriction && user.IsRestricted(restriction))
            return false;
    }
    if (row.present && !row.present(user))
        return false;
    return !row.administrator || user.IsAdministrator();
}

CommandRow const* FindCommand(std::span<CommandRow const> rows, CommandUser const& user, int id) {
    for (CommandRow const& row : rows) {
        if (!(Matches(row, id) || !row.items.empty()) || !IsOffered(row, user))
            continue;
        if (Matches(row, id))
            return &row;
        if (CommandRow const* const item = FindCommand(row.items, user, id))
            return item;
    }
    return nullptr;
}

void AppendCommands(wxMenu& menu, CommandUser const& user, std::span<CommandRow const> rows, CommandMenus kind) {
    bool lineDue = false;
    for (CommandRow const& row : rows) {
        if (IsLine(row)) {
            lineDue = menu.GetMenuItemCount() != 0;
            continue;
        }
        if (!StandsIn(row, kind) || !IsOffered(row, user))
            continue;
        std::unique_ptr<wxMenu> submenu = IsSubmenu(row) ? NewSubmenu(row, user, kind) : nullptr;
        if (IsSubmenu(row) && !submenu)
            continue;
        if (std::exchange(lineDue, false))
            menu.AppendSeparator();
        if (!submenu)
            AppendCommand(menu, user, row, kind);
        else
            menu.Append(row.id == 0 ? int{wxID_ANY} : row.id, LabelOf(row, kind), submenu.release(),
                        Translated(row.help));
    }
}

std::vector<CommandRow const*> ToolbarCommands(CommandUser const& user, std::span<CommandRow const> rows) {
    std::vector<CommandRow const*> tools;
    for (CommandRow const& row : rows) {
        if (row.tool.place != 0 && IsOffered(row, user))
            tools.push_back(&row);
    }
    std::ranges::sort(tools, {}, [](CommandRow const* row) { return row->tool.place; });
    return tools;
}

void TrimMenu(wxMenu& menu, size_t from) {
    while (menu.GetMenuItemCount() > from)
        menu.Destroy(menu.FindItemByPosition(menu.GetMenuItemCount() - 1));
}

} // namespace vorlan
