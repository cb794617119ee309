// The Help menu: its commands and what they do. Documents that are not installed beside
// the program have no item.
#include "commands/ids.h"
#include "config/aboutdlg.h"
#include "menus.h"
#include "system/systemfolders.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <corekit/file.h>
#include <wx/intl.h>
#include <wx/utils.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

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
bool IsThere(CommandUser const&) {
    return DocumentOf(id).Exists();
}

void OnOpenDocument(MainWindow&, wxCommandEvent& event) {
    Path const document = DocumentOf(event.GetId());
    if (document.IsFolder()) {
        InBackground(_("Browse the Docs folder"), [document] { ShowFolder(document); });
        return;
    }
    if (!wxLaunchDefaultApplication(wxvText(document.Text())))
        ShowError(_("Help"), "No program of this desktop could show the document:\n" + document.Text() +
                                 "\nInstall a PDF viewer, or open it by hand.");
}

void OnAbout(MainWindow& window, wxCommandEvent&) { AboutDlg(&window).ShowModal(); }

template <int Id>
constexpr CommandRow Document(char const* label) {
    return {.id = Id, .label = label, .run = &OnOpenDocument, .present = &IsThere<Id>};
}

constexpr CommandRow k_Help[] = {
    Document<k_IdUserManual>("&User Manual"),
    Document<k_IdAdministratorManual>("&Administrator Manual"),
    Document<k_IdAfterEffects>("Using Vorlan with &After Effects"),
    k_CommandLine,
    Document<k_IdDocsFolder>("Browse the Docs folder"),
    k_CommandLine,
    {.id = k_IdAbout,
     .label = "&About VorlanGUI",
     .help = "Displays program information about VorlanGUI",
     .run = &OnAbout},
};

} // namespace

std::span<CommandRow const> HelpCommands() { return k_Help; }

} // namespace vorlan
