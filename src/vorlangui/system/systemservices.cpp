// The commands of the three services: install, start, stop, remove.
#include "systemservices.h"

#include "client/componentcontrol.h"
#include "client/options.h"
#include "installservicedlg.h"
#include "outside/outside.h"
#include "systemids.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <chrono>
#include <corekit/callentry.h>
#include <corekit/commonmutex.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/threadpool.h>
#include <future>
#include <vorlan/components.h>
#include <vorlan/vorlanapp.h>
#include <wx/intl.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextentry.h>

namespace vorlan {

namespace {

enum class Action { Install, Start, Stop, Remove };

// One command of the menu.
struct ServiceCommand {
    Service service;
    Action action;
    char const* key; // of its confirmation
    char const* question;
};

constexpr ServiceCommand k_Engine[] = {
    {Service::Engine, Action::Install, "OnInstallEngine",
     wxTRANSLATE("Are you sure you want to install the Engine as a service on this machine?")},
    {Service::Engine, Action::Start, "OnStartEngineService",
     wxTRANSLATE("Are you sure you want to start the Engine service on this machine?")},
    {Service::Engine, Action::Stop, "OnStopEngineService",
     wxTRANSLATE("Are you sure you want to stop the Engine service on this machine?")},
    {Service::Engine, Action::Remove, "OnRemoveEngine",
     wxTRANSLATE("Are you sure you want to remove the Engine service from this machine?")},
};
constexpr ServiceCommand k_Control[] = {
    {Service::EngineControl, Action::Install, "OnInstallEngineControl",
     wxTRANSLATE("Are you sure you want to install the Engine control service on this machine?")},
    {Service::EngineControl, Action::Start, "OnStartEngineControlService",
     wxTRANSLATE("Are you sure you want to start the Engine control service on this machine?")},
    {Service::EngineControl, Action::Stop, "OnStopEngineControlService",
     wxTRANSLATE("Are you sure you want to stop the Engine control service on this machine?")},
    {Service::EngineControl, Action::Remove, "OnRemoveEngineControl",
     wxTRANSLATE("Are you sure you want to remove the Engine control service from this machine?")},
};
constexpr ServiceCommand k_Master[] = {
    {Service::Master, Action::Install, "OnInstallMaster",
     wxTRANSLATE("Are you sure you want to install the Master as a service on this machine?")},
    {Service::Master, Action::Start, "OnStartMasterService",
     wxTRANSLATE("Are you sure you want to start the Master service on this machine?")},
    {Service::Master, Action::Stop, "OnStopMasterService",
     wxTRANSLATE("Are you sure you want to stop the Master service on this machine?")},
    {Service::Master, Action::Remove, "OnRemoveMaster",
     wxTRANSLATE("Are you sure you want to remove the Master service from this machine?")},
};

ServiceCommand const* CommandOf(int id) {
    auto const within = [id](int first, auto const& rows) {
        return id >= first && id < first + static_cast<int>(std::size(rows)) ? &rows[id - first] : nullptr;
    };
    if (ServiceCommand const* const command = within(k_IdEngineService, k_Engine))
        return command;
    if (ServiceCommand const* const command = within(k_IdControlService, k_Control))
        return command;
    return within(k_IdMasterService, k_Master);
}

char const* Verb(Action action) {
    switch (action) {
    case Action::Install:
        return "Install";
    case Action::Start:
        return "Start";
    case Action::Stop:
        return "Stop";
    case Action::Remove:
        return "Remove";
    }
    return "";
}

// "VorlanEngine", and what follows it for the control service.
String Subject(Service service) {
    String const program = Components::GetName(ServiceComponent(service));
    return service == Service::EngineControl ? program + " Control" : program;
}

// Asks on the GUI thread and waits for the answer; nothing when there is none.
std::optional<String> AskPassword() {
    auto const answer = std::make_shared<std::promise<std::optional<String>>>();
    std::future<std::optional<String>> future = answer->get_future();
    OnGuiThread([answer](MainWindow& window) {
        wxString const typed =
            wxvGetPasswordFromUser(_("Supply the password for this account"), _("Install Service"), &window);
        answer->set_value(typed.empty() ? std::nullopt : std::optional(wxvString(typed)));
    });
    // The end of the program does not wait for it.
    while (ThreadPool::IsReady()) {
        if (future.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready)
            return future.get();
    }
    return std::nullopt;
}

std::shared_ptr<ServiceManager> NewManager() {
    SystemdManager::Options options;
    options.askPassword = &AskPassword;
    options.run = [](Path const& program, std::vector<String> const& args, String const& input) {
        return RunCommand(program, args, SystemdManager::k_TimeoutMs, input, &ThreadPool::IsReady);
    };
    return std::make_shared<SystemdManager>(std::move(options));
}

CommonMutex s_managerGuard;
std::shared_ptr<ServiceManager> s_manager CK_GUARDED_BY(s_managerGuard);

ServiceScope InstalledScope(Service service) {
    std::optional<ServiceScope> const scope = MachineServices()->FindScope(ServiceUnitName(service));
    if (!scope)
        throw ServiceException(String("The ") + ServiceName(service) + " service is not installed on this machine.");
    return *scope;
}

// The client's own one makes room for that of the service.
void EndOwn(int component) {
    if (Outside::Get().DidStartComponent(component))
        Components::StopAndWait(component);
}

// On a thread of the pool.
void Act(ServiceCommand const& command, ServiceSetup const& setup) {
    std::shared_ptr<ServiceManager> const manager = MachineServices();
    String const unit = ServiceUnitName(command.service);
    switch (command.action) {
    case Action::Install:
        manager->Install(setup.scope, MakeServiceUnits(command.service, setup, FindResourceFolder("services")), unit);
        break;
    case Action::Start: {
        ServiceScope const scope = InstalledScope(command.service);
        if (command.service != Service::EngineControl)
            EndOwn(ServiceComponent(command.service));
        manager->Start(scope, unit);
        break;
    }
    case Action::Stop:
        manager->Stop(InstalledScope(command.service), unit);
        break;
    case Action::Remove:
        manager->Remove(InstalledScope(command.service), ServiceUnitNames(command.service), unit);
        break;
    }
}

// What the client changes on its side once it is done.
void Finish(ServiceCommand const& command) {
    LogStatus(String(Verb(command.action)) + " of " + Subject(command.service) + " as a service is done");
    if (command.service == Service::EngineControl)
        return;
    int const component = ServiceComponent(command.service);
    if (command.action == Action::Install)
        KeepStartOption(VorlanApp::GetOptions(), component);
    else if (command.action == Action::Remove)
        RestoreStartOption(VorlanApp::GetOptions(), component);
}

// Who runs it; nothing when the user has given up.
std::optional<ServiceSetup> SetupFor(wxWindow* parent, Service service) {
    if (service != Service::EngineControl)
        return InstallServiceDlg::Ask(parent, service);
    // It stands beside the service that it looks after, and runs no program of ours.
    ServiceSetup setup;
    setup.scope = InstalledScope(Service::Engine);
    setup.programs = File::s_AppDir;
    setup.account = "root";
    return setup;
}

} // namespace

std::shared_ptr<ServiceManager> MachineServices() {
    CommonMutex::Lock const lock(s_managerGuard);
    if (!s_manager)
        s_manager = NewManager();
    return s_manager;
}

void SetMachineServices(std::shared_ptr<ServiceManager> manager) {
    CommonMutex::Lock const lock(s_managerGuard);
    s_manager = std::move(manager);
}

void KeepStartOption(OptionsFile& options, int component) {
    String const key = StartKey(component);
    OptionsFile::PauseAutoWrite const pause(options);
    // A second installation must not keep what the first one has set.
    if (!options.HasKey(k_Configuration, "Old" + key))
        options.SetValue(k_Configuration, "Old" + key, options.GetValue(k_Configuration, key, int{k_StartNotSet}));
    options.SetValue(k_Configuration, key, int{k_StartAndLeave});
}

void RestoreStartOption(OptionsFile& options, int component) {
    String const key = StartKey(component);
    OptionsFile::PauseAutoWrite const pause(options);
    if (!options.HasKey(k_Configuration, "Old" + key))
        return;
    options.SetValue(k_Configuration, key, options.GetValue(k_Configuration, "Old" + key, int{k_StartNotSet}));
    options.ClearKey(k_Configuration, "Old" + key);
}

void MainWindow::OnService(wxCommandEvent& event) {
    CALL_ENTRY();
    ServiceCommand const* const command = CommandOf(event.GetId());
    if (!command)
        return;
    wxString const title = wxString::Format("%s Service", Verb(command->action));
    if (!wxConfirmDlg(this, wxGetTranslation(command->question), command->key, title).Confirm())
        return;
    ServiceSetup setup;
    try {
        if (command->action == Action::Install) {
            std::optional<ServiceSetup> const asked = SetupFor(this, command->service);
            if (!asked)
                return;
            setup = *asked;
        }
    } catch (Exception const& exception) {
        ShowError(title, exception.what());
        return;
    }
    LogStatus(String("Trying to ") + Verb(command->action) + " " + Subject(command->service));
    InBackground(
        title, [command = *command, setup] { Act(command, setup); },
        [command = *command](MainWindow&) {
            Finish(command);
            // The service's own one takes its place.
            if (command.action == Action::Install && command.service != Service::EngineControl)
                Outside::Get().StopComponent(ServiceComponent(command.service));
        });
}

} // namespace vorlan
