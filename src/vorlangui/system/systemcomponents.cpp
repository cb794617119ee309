// The submenu "Components": the programs beside the client, and their lock files.
#include "systemcomponents.h"

#include "commands/ids.h"
#include "model/worklist.h"
#include "outside/outside.h"
#include "systemcommands.h"
#include "window/background.h"
#include "window/enginemode.h"
#include "window/mainwindow.h"

#include <corekit/file.h>
#include <corekit/filelock.h>
#include <corekit/log.h>
#include <set>
#include <vorlan/services.h>
#include <wx/intl.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvmessagedlg.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

struct IdComponent {
    int id;
    int component;
};

constexpr IdComponent k_IdComponents[] = {
    {k_IdStartMaster, k_ComponentMaster},      {k_IdStopMaster, k_ComponentMaster},
    {k_IdRemoveMasterLock, k_ComponentMaster}, {k_IdStartEngine, k_ComponentEngine},
    {k_IdStopEngine, k_ComponentEngine},       {k_IdRemoveEngineLock, k_ComponentEngine},
    {k_IdStartBrakka, k_ComponentBrakka},      {k_IdStartMerrow, k_ComponentMerrow},
    {k_IdStartPanvale, k_ComponentPanvale},
};

constexpr int k_NoComponent = -1;
constexpr size_t k_MostNamesOfWork = 8;

bool CanStart(int id) {
    int const component = ComponentOfCommand(id);
    return IsProgramInstalled(component) && !Outside::Get().IsComponentRunning(component);
}
bool CanStop(int id) { return Outside::Get().IsComponentRunning(ComponentOfCommand(id)); }
// Left behind by a program that has died.
bool HasDeadLock(int id) {
    Path const path = Components::LockFile(ComponentOfCommand(id));
    return File::Exists(path) && !FileLock::IsHeld(path);
}

wxString NamesOfWork(std::vector<boost::shared_ptr<WorkInfo>> const& work) {
    wxString names;
    for (size_t i = 0; i < work.size() && i < k_MostNamesOfWork; ++i) {
        String const job = work[i]->job && work[i]->job->job ? work[i]->job->job->Name() + ": " : String();
        names += "\n" + wxvText(job + work[i]->work->Name());
    }
    if (work.size() > k_MostNamesOfWork)
        names += "\n" + wxString::Format(_("and %zu more"), work.size() - k_MostNamesOfWork);
    return names;
}

// Asks whether to end what runs; true without a question while nothing does.
bool MayStopEngine(MainWindow& window) {
    auto const work = WorkList::Get().GetAllWorkForEngine(Outside::Get().MachineID());
    return work.empty() ||
           wxvMessageDlg::MayEnd(&window, _("Stop the Engine"), _("Stop the Engine on this machine?"),
                                 _("It would end the work that runs here, which goes back to the queue:") +
                                     NamesOfWork(work),
                                 _("Stop the Engine"));
}

bool MayStopMaster(MainWindow& window) {
    auto const work = WorkList::Get().GetAllWork();
    if (work.empty() || !Outside::Get().IsThisTheMaster())
        return true;
    wxString const running = wxString::Format(
        wxPLURAL("%zu work unit runs on the farm.", "%zu work units run on the farm.", work.size()), work.size());
    return wxvMessageDlg::MayEnd(&window, _("Stop the Master"), _("Stop the Master on this machine?"),
                                 running + " " +
                                     _("What runs goes on, but it would end the distribution: no other work starts, "
                                       "and nobody sees or controls the farm, until a Master runs again."),
                                 _("Stop the Master"));
}

void OnStartComponent(MainWindow&, wxCommandEvent& event) {
    Outside::Get().StartComponent(ComponentOfCommand(event.GetId()));
    _EngineModeTimeout::ResetCurrent();
}

void OnStopComponent(MainWindow& window, wxCommandEvent& event) {
    int const component = ComponentOfCommand(event.GetId());
    if (!(component == k_ComponentMaster ? MayStopMaster(window) : MayStopEngine(window)))
        return;
    Outside::Get().StopComponent(component);
    _EngineModeTimeout::ResetCurrent();
}

void OnRemoveLockFile(MainWindow& window, wxCommandEvent& event) {
    int const component = ComponentOfCommand(event.GetId());
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
    wxConfirmDlg(&window, _("Removed:\n") + wxvText(path), "RemoveLockFileSuccess", title).Confirm();
}

constexpr CommandRow StartComponentRow(int id, char const* label) {
    return {.id = id, .label = label, .run = &OnStartComponent, .hasEffect = &CanStart};
}
constexpr CommandRow StopComponentRow(int id, char const* label) {
    return {.id = id, .label = label, .run = &OnStopComponent, .hasEffect = &CanStop};
}
constexpr CommandRow LockFileRow(int id, char const* label) {
    return {.id = id, .label = label, .run = &OnRemoveLockFile, .hasEffect = &HasDeadLock};
}

} // namespace

int ComponentOfCommand(int id) {
    for (IdComponent const& row : k_IdComponents) {
        if (row.id == id)
            return row.component;
    }
    return k_NoComponent;
}

bool IsProgramInstalled(int component) { return File::Exists(File::s_AppDir / Components::GetName(component)); }

std::span<CommandRow const> ComponentCommands() {
    static CommandRow const s_rows[] = {
        StartComponentRow(k_IdStartEngine, "Start the Engine now"),
        StopComponentRow(k_IdStopEngine, "Stop the Engine now"),
        LockFileRow(k_IdRemoveEngineLock, "Remove Engine Lock File"),
        {.label = "Engine Service", .items = ServiceCommands(Service::Engine)},
        {.label = "Engine Control Service", .items = ServiceCommands(Service::EngineControl)},
        k_CommandLine,
        StartComponentRow(k_IdStartMaster, "Start the Master now"),
        StopComponentRow(k_IdStopMaster, "Stop the Master now"),
        LockFileRow(k_IdRemoveMasterLock, "Remove Master Lock File"),
        {.label = "Master Service", .items = ServiceCommands(Service::Master)},
    };
    return s_rows;
}

} // namespace vorlan
