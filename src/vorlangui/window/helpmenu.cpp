// The Help menu: its commands and what they do.
#include "command.h"
#include "config/aboutdlg.h"
#include "mainwindow.h"

#include <wx/intl.h>
#include <wx/menu.h>

namespace vorlan {

namespace {

constexpr int k_IdAbout = 5014;

constexpr CommandRow k_Help[] = {
    {k_IdAbout, "&About...", "Show the version of this program and of the Master", &MainWindow::OnAbout},
};

} // namespace

std::span<CommandRow const> HelpCommands() { return k_Help; }

void BuildHelpMenu(wxMenuBar& bar, MainWindow const& window, bool connected) {
    auto* menu = new wxMenu;
    AppendCommands(*menu, window, HelpCommands(), connected);
    bar.Append(menu, _("&Help"));
}

void MainWindow::OnAbout(wxCommandEvent&) {
    AboutDlg dialog(this);
    dialog.ShowModal();
}

} // namespace vorlan
