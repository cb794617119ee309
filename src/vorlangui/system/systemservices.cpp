// The commands of the three services: install, start, stop, remove.
#include "systemservices.h"

#include "client/componentcontrol.h"
#include "client/options.h"
#include "client/serviceoptions.h"
#include "commands/ids.h"
#include "installservicedlg.h"
#include "outside/outside.h"
#include "systemcommands.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <array>
#include <chrono>
#include <corekit/callentry.h>
#include <corekit/commonmutex.h>
#include <corekit/file.h>
#include <corekit/filelock.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
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

// What the four commands of each service have in common, in the order of their numbers.
struct ServiceVerb {
    char const* name;
    char const* key;      // of the confirmation, around the service's name
    char const* question; // about the service of that name
};

constexpr ServiceVerb k_ServiceVerbs[] = {
    {"Install", "OnInstall%s", wxTRANSLATE("Are you sure you want to install the %s as a service on this machine?")},
    {"Start", "OnStart%sService", wxTRANSLATE("Are you sure you want to start the %s service on this machine?")},
    {"Stop", "OnStop%sService", wxTRANSLATE("Are you sure you want to stop the %s service on this machine?")},
    {"Remove", "OnRemove%s", wxTRANSLATE("Are you sure you want to remove the %s service from this machine?")},
};

// What a command's number stands for.
struct ServiceCommand {
    Service service;
    Action action;

    ServiceVerb const& Verb() const { return k_ServiceVerbs[static_cast<size_t>(action)]; }
    // Of its confirmation.
    String Key() const {
        String name = ServiceName(service);
        name.Replace(" ", "");
        String key = Verb().key;
        key.Replace("%s", name);
        return key;
    }
};

std::optional<ServiceCommand> ServiceCommandOf(int id) {
    for (auto const& [first, service] :
         {std::pair{k_IdEngineService, Service::Engine}, std::pair{k_IdControlService, Service::EngineControl},
          std::pair{k_IdMasterService, Service::Master}}) {
        if (id >= first && id < first + static_cast<int>(std::size(k_ServiceVerbs)))
            return ServiceCommand{service, static_cast<Action>(id - first)};
    }
    return std::nullopt;
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

// The client's own one makes room for that of the service. Another one would end the
// service's at once, which the service manager calls a success.
void MakeRoom(Service service) {
    int const component = ServiceComponent(service);
    if (Outside::Get().DidStartComponent(component))
        Components::StopAndWait(component);
    if (String holder; FileLock::IsHeld(Components::LockFile(component), &holder))
        throw ServiceException(
            SFormat("The %s service was not started: %s runs on this machine already (%s).", ServiceName(service),
                    Components::GetName(component), holder.c_str()),
            SFormat("If it is not that of the service, end it with \"Stop the %s now\" first.", ServiceName(service)));
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
            MakeRoom(command.service);
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
    LogStatus(String(command.Verb().name) + " of " + Subject(command.service) + " as a service is done");
    if (command.service == Service::EngineControl)
        return;
    int const component = ServiceComponent(command.service);
    if (command.action == Action::Install)
        MoveStartOptionAway(component);
    else if (command.action == Action::Remove)
        BringStartOptionBack(component);
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

// Where it is installed; does not wait.
bool IsServiceInstalled(Service service) { return MachineServices()->FindScope(ServiceUnitName(service)).has_value(); }

bool CanAct(int id) {
    std::optional<ServiceCommand> const command = ServiceCommandOf(id);
    if (!command)
        return false;
    if (command->action != Action::Install)
        return IsServiceInstalled(command->service);
    return command->service != Service::EngineControl || IsServiceInstalled(Service::Engine);
}

// OnInstallEngine and its eleven fellows, by the number of the command.
void OnService(MainWindow& window, wxCommandEvent& event) {
    CALL_ENTRY();
    std::optional<ServiceCommand> const command = ServiceCommandOf(event.GetId());
    if (!command)
        return;
    char const* const verb = command->Verb().name;
    wxString const title = wxString::Format("%s Service", verb);
    wxString const question =
        wxString::Format(wxGetTranslation(command->Verb().question), ServiceName(command->service));
    if (!wxConfirmDlg(&window, question, command->Key(), title, wxGetTranslation(verb)).Confirm())
        return;
    ServiceSetup setup;
    try {
        if (command->action == Action::Install) {
            std::optional<ServiceSetup> const asked = SetupFor(&window, command->service);
            if (!asked)
                return;
            setup = *asked;
        }
    } catch (Exception const& exception) {
        ShowError(title, exception.what());
        return;
    }
    LogStatus(String("Trying to ") + verb + " " + Subject(command->service));
    InBackground(
        title, [command = *command, setup] { Act(command, setup); },
        [command = *command](MainWindow&) {
            Finish(command);
            // The service's own one takes its place.
            if (command.action == Action::Install && command.service != Service::EngineControl)
                Outside::Get().StopComponent(ServiceComponent(command.service));
        });
}

constexpr std::array<CommandRow, 4> ServiceRows(int first, std::array<char const*, 4> const& labels) {
    std::array<CommandRow, 4> rows{};
    for (size_t i = 0; i < rows.size(); ++i) {
        rows[i].id = first + static_cast<int>(i);
        rows[i].label = labels[i];
        rows[i].run = &OnService;
        rows[i].hasEffect = &CanAct;
    }
    return rows;
}

constexpr auto k_EngineService =
    ServiceRows(k_IdEngineService, {"Install the Engine as a Service", "Start the Engine Service",
                                    "Stop the Engine Service", "Remove the Engine Service"});
constexpr auto k_ControlService =
    ServiceRows(k_IdControlService, {"Install the Engine Control Service", "Start the Engine Control Service",
                                     "Stop the Engine Control Service", "Remove the Engine Control Service"});
constexpr auto k_MasterService =
    ServiceRows(k_IdMasterService, {"Install the Master as a Service", "Start the Master Service",
                                    "Stop the Master Service", "Remove the Master Service"});

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

std::span<CommandRow const> ServiceCommands(Service service) {
    switch (service) {
    case Service::Engine:
        return k_EngineService;
    case Service::EngineControl:
        return k_ControlService;
    default:
        return k_MasterService;
    }
}

} // namespace vorlan
