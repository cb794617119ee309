// Starting and stopping the programs beside the client, and their lock files.
#include "systemcomponents.h"

#include "core/enginemode.h"
#include "outside/outside.h"
#include "systemids.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <array>
#include <corekit/file.h>
#include <corekit/filelock.h>
#include <corekit/log.h>
#include <wx/intl.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

struct IdComponent {
    int id;
    int component;
};

constexpr IdComponent k_Ids[] = {
    {k_IdStartMaster, k_ComponentMaster},      {k_IdStopMaster, k_ComponentMaster},
    {k_IdRemoveMasterLock, k_ComponentMaster}, {k_IdStartEngine, k_ComponentEngine},
    {k_IdStopEngine, k_ComponentEngine},       {k_IdRemoveEngineLock, k_ComponentEngine},
    {k_IdStartBrakka, k_ComponentBrakka},      {k_IdStartMerrow, k_ComponentMerrow},
    {k_IdStartPanvale, k_ComponentPanvale},
};

constexpr int k_NoComponent = -1;

int ComponentOf(int id) {
    for (IdComponent const& row : k_Ids) {
        if (row.id == id)
            return row.component;
    }
    return k_NoComponent;
}

} // namespace

bool IsProgramInstalled(int component) { return File::Exists(File::s_AppDir / Components::GetName(component)); }

void MainWindow::OnStartTool(wxCommandEvent& event) { Outside::Get().StartComponent(ComponentOf(event.GetId())); }

void MainWindow::OnStartComponent(wxCommandEvent& event) {
    Outside::Get().StartComponent(ComponentOf(event.GetId()));
    _EngineModeTimeout::ResetCurrent();
}

void MainWindow::OnStopComponent(wxCommandEvent& event) {
    Outside::Get().StopComponent(ComponentOf(event.GetId()));
    _EngineModeTimeout::ResetCurrent();
}

void MainWindow::OnRemoveLockFile(wxCommandEvent& event) {
    int const component = ComponentOf(event.GetId());
    if (component == k_NoComponent) {
        LogWarning("Asked to remove lock file for unknown component");
        return;
    }
    wxString const title = _("Remove Lock File");
    Path const path = Components::LockFile(component);
    try {
        // Without the file a second program could start beside the one that holds it.
        if (String holder; FileLock::IsHeld(path, &holder)) {
            ShowError(title, "The lock file is in use by " + (holder.Empty() ? String("a program") : holder) +
                                 ", which still runs. Stop it first.\n" + path);
            return;
        }
        if (!File::Delete(path)) {
            ShowError(title, "There is no lock file to remove:\n" + path);
            return;
        }
    } catch (Exception const& exception) {
        ShowError(title, exception.what());
        return;
    }
    wxConfirmDlg(this, _("Removed:\n") + wxvText(path), "RemoveLockFileSuccess", title).Confirm();
}

} // namespace vorlan
