// The submenu "Vorlan Files": folders, this program's log, scripts for other programs.
#include "commands/ids.h"
#include "output/logframe.h"
#include "submitscripts.h"
#include "systemcommands.h"
#include "systemfolders.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <corekit/file.h>
#include <corekit/log.h>
#include <memory>
#include <vorlan/services.h>
#include <wx/dirdlg.h>
#include <wx/intl.h>
#include <wx/utils.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

void OnBrowseFolder(MainWindow&, wxCommandEvent& event) {
    Path const folder = SystemFolder(event.GetId());
    if (folder.Empty()) {
        ShowError(_("Browse Folder"), "This folder does not come with this installation. Install Vorlan anew.");
        return;
    }
    InBackground(_("Browse Folder"), [folder] { ShowFolder(folder); });
}

void OnViewGuiHistoryLog(MainWindow& window, wxCommandEvent&) {
    Path const file = Log::FileName();
    if (file.Empty()) {
        ShowError(_("Log Files"), "This program writes no log: its folder could not be written when it started.");
        return;
    }
    Log::Flush();
    (new LogFrame(&window, _("VorlanGui History.log"), file))->Show();
}

// Empty when the user has given up.
Path AskScriptFolder(MainWindow& window, SubmitScript const& script) {
    LogStatus(String("No folder of ") + script.application + " was found on this machine");
    wxDirDialog dialog(
        &window, wxString::Format(_("Where does %s keep its scripts? Usually: %s"), script.application, script.usually),
        wxGetHomeDir(), wxDD_DEFAULT_STYLE | wxDD_DIR_MUST_EXIST);
    return dialog.ShowModal() == wxID_OK ? Path(wxvString(dialog.GetPath())) : Path();
}

void OnInstallScript(MainWindow& window, wxCommandEvent& event) {
    SubmitScript const* const script = FindSubmitScript(event.GetId());
    if (!script)
        return;
    Path target = FindScriptFolder(*script);
    if (target.Empty())
        target = AskScriptFolder(window, *script);
    if (target.Empty())
        return;
    wxString const title = wxString::Format(_("Install %s Submit Script"), script->application);
    auto const list = std::make_shared<String>();
    InBackground(
        title,
        [script, target, list] {
            Path const source = FindResourceFolder("submit");
            if (source.Empty())
                throw FileException("The folder \"submit\" that comes with Vorlan was not found. Install Vorlan anew.");
            for (Path const& path : InstallSubmitScript(*script, source, target, File::s_AppDir / "vorlan"))
                *list += path + k_NL;
            LogStatus("Installed: " + String(*list).Trim());
        },
        [script, list, name = title.ToStdWstring()](MainWindow& parent) {
            wxConfirmDlg(&parent, _("Installed:\n") + wxvText(*list) + wxGetTranslation(script->howToUse),
                         "InstallScriptSuccess", name)
                .Confirm();
        });
}

constexpr CommandRow Folder(int id, char const* label, char const* help) {
    return {.id = id, .label = label, .help = help, .run = &OnBrowseFolder};
}

constexpr CommandRow Script(int id, char const* label, char const* help) {
    return {.id = id, .label = label, .help = help, .run = &OnInstallScript};
}

constexpr CommandRow k_Files[] = {
    Folder(k_IdAppFolder, "Browse the Application Folder", "Explore the Vorlan program folder contents"),
    Folder(k_IdModulesFolder, "Browse the Modules Folder", "Explore the Vorlan modules folder contents"),
    Folder(k_IdUtilitiesFolder, "Browse the Utilities Folder", "Explore the Vorlan utilities folder contents"),
    Folder(k_IdLogFolder, "Browse the Log Folder", "Explore the Vorlan program log folder"),
    {.id = k_IdGuiHistoryLog,
     .label = "View the History.log",
     .help = "View the local VorlanGui History.log file",
     .run = &OnViewGuiHistoryLog},
    Folder(k_IdUserFolder, "Browse the User Folder", "Explore the Vorlan user account folder"),
    Folder(k_IdMachineFolder, "Browse the Machine Folder", "Explore the Vorlan common machine data folder"),
    Folder(k_IdTempFolder, "Browse the TEMP Folder", "Explore the current TEMP folder for this user on this machine"),
    k_CommandLine,
    Script(k_IdInstallMaya, "Install Maya Submit Script", "Install the Maya submit script on this machine"),
    Script(k_IdInstall3DSMax, "Install 3DS Max Submit Script", "Install the 3DS Max submit script on this machine"),
    Script(k_IdInstallCinema4D, "Install Cinema 4D Submit Script",
           "Install the Cinema 4D submit script on this machine"),
    Script(k_IdInstallAfterEffects, "Install After Effects Submit Script",
           "Install the After Effects submit script on this machine"),
    Script(k_IdInstallNuke, "Install Nuke Submit Script", "Install the Nuke submit script on this machine"),
    Script(k_IdInstallLightWave, "Install LightWave Script", "Install the LightWave submit script on this machine"),
};

} // namespace

std::span<CommandRow const> FileCommands() { return k_Files; }

} // namespace vorlan
