// The Help menu: its commands and what they do. Documents that are not installed beside
// the program have no item.
#include "command.h"
#include "config/aboutdlg.h"
#include "system/systemfolders.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <corekit/file.h>
#include <wx/intl.h>
#include <wx/menu.h>
#include <wx/utils.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

enum HelpId : int {
    k_IdAbout = 5014,
    k_IdUserManual = 14108,
    k_IdAdministratorManual = 14109,
    k_IdAfterEffects = 14111,
    k_IdDocsFolder = 14114,
};

constexpr char k_DocsFolder[] = "docs";

Path DocsFolder() { return corekit::File::s_AppDir / k_DocsFolder; }

Path DocumentOf(int id) {
    switch (id) {
    case k_IdUserManual:
        return DocsFolder() / "User Manual.pdf";
    case k_IdAdministratorManual:
        return DocsFolder() / "Administrator Manual.pdf";
    case k_IdAfterEffects:
        return DocsFolder() / "Using Vorlan with After Effects.pdf";
    default:
        return DocsFolder();
    }
}

template <int id>
bool IsThere() {
    return DocumentOf(id).Exists();
}

template <int id>
constexpr CommandRow Document(char const* label) {
    CommandRow row{id, label, nullptr, &MainWindow::OnOpenDocument};
    row.present = &IsThere<id>;
    return row;
}

constexpr CommandRow k_Help[] = {
    Document<k_IdUserManual>("&User Manual"),
    Document<k_IdAdministratorManual>("&Administrator Manual"),
    Document<k_IdAfterEffects>("Using Vorlan with &After Effects"),
    k_CommandLine,
    Document<k_IdDocsFolder>("Browse the Docs folder"),
    k_CommandLine,
    {k_IdAbout, "&About VorlanGUI", "Displays program information about VorlanGUI", &MainWindow::OnAbout},
};

} // namespace

std::span<CommandRow const> HelpCommands() { return k_Help; }

void BuildHelpMenu(wxMenuBar& bar, MainWindow const& window, bool connected) {
    auto* menu = new wxMenu;
    AppendCommands(*menu, window, HelpCommands(), connected);
    bar.Append(menu, _("&Help"));
}

void MainWindow::OnOpenDocument(wxCommandEvent& event) {
    Path const document = DocumentOf(event.GetId());
    if (document.IsFolder()) {
        InBackground(_("Browse the Docs folder"), [document] { ShowFolder(document); });
        return;
    }
    if (!wxLaunchDefaultApplication(wxvText(document.Text())))
        ShowError(_("Help"), "No program of this desktop could show the document:\n" + document.Text() +
                                 "\nInstall a PDF viewer, or open it by hand.");
}

void MainWindow::OnAbout(wxCommandEvent&) {
    AboutDlg dialog(this);
    dialog.ShowModal();
}

} // namespace vorlan
