#include "command.h"

#include "mainwindow.h"

#include <wx/intl.h>
#include <wx/menu.h>

namespace vorlan {

void AppendCommands(wxMenu& menu, MainWindow const& window, std::span<CommandRow const> rows, bool connected) {
    for (CommandRow const& row : rows) {
        if (row.id == k_CommandLine.id) {
            menu.AppendSeparator();
            continue;
        }
        bool const restricted = row.restriction && window.IsRestricted(row.restriction);
        if (restricted || (row.administrator && !window.IsAdministrator()))
            continue;
        wxString const help = row.help ? wxGetTranslation(row.help) : wxString();
        menu.Append(row.id, wxGetTranslation(row.label), help, row.radio ? wxITEM_RADIO : wxITEM_NORMAL);
        menu.Enable(row.id, connected || row.needs == CommandNeeds::Nothing);
    }
}

} // namespace vorlan
