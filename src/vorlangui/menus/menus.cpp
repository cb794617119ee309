#include "menus.h"

#include "commands/ids.h"
#include "output/reportframe.h"
#include "outside/outside.h"
#include "window/mainwindow.h"

#include <wx/intl.h>

namespace vorlan {

namespace {

void OnRebuildMenus(MainWindow& window, wxCommandEvent&) { window.BuildMenus(Outside::Get().IsConnected()); }

void OnShowReport(MainWindow& window, wxCommandEvent& event) {
    wxString const text = event.GetString();
    (new ReportFrame(&window, text.BeforeFirst('|'), text.AfterFirst('|')))->Show();
}

constexpr CommandRow k_Posted[] = {
    {.id = k_IdRebuildMenus, .run = &OnRebuildMenus},
    {.id = k_IdShowReport, .run = &OnShowReport},
};

} // namespace

std::span<CommandRow const> PostedCommands() { return k_Posted; }

std::span<CommandMenu const> AllMenus() {
    static CommandMenu const s_menus[] = {
        {.title = wxTRANSLATE("&System"), .rows = SystemCommands()},
        {.title = wxTRANSLATE("&View"), .rows = ViewCommands(), .begin = &BeginViewMenu},
        {.title = wxTRANSLATE("&Help"), .rows = HelpCommands()},
        {.rows = PostedCommands()},
    };
    return s_menus;
}

} // namespace vorlan
