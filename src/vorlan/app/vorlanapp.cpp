#include <vorlan/vorlanapp.h>

#include <corekit/crashreport.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/platform.h>
#include <corekit/signal.h>
#include <vorlan/components.h>
#include <vorlan/events.h>
#include <vorlan/fileserver.h>
#include <vorlan/job.h>
#include <vorlan/messages.h>
#include <vorlan/messenger.h>

namespace vorlan {

VorlanApp::VorlanApp() {
    Messenger::SetCalls({[](boost::shared_ptr<Message> const& message) {
                             if (VorlanApp* const app = Get())
                                 app->OnUnhandledMessage(message);
                         },
                         [](UID const& id, String const& reason) {
                             if (VorlanApp* const app = Get())
                                 app->RequestHasFailed(id, reason);
                         }});
}

VorlanApp::~VorlanApp() = default;

int VorlanApp::Execute() {
    CommonMutex::Lock lock(m_guard);
    m_wake.wait(lock, [this]() CK_REQUIRES(m_guard) { return m_shutdown; });
    return 0;
}

void VorlanApp::RequestShutdown() {
    {
        CommonMutex::Lock const lock(m_guard);
        m_shutdown = true;
    }
    m_wake.notify_all();
}

bool VorlanApp::ShutdownRequested() const {
    CommonMutex::Lock const lock(m_guard);
    return m_shutdown;
}

bool VorlanApp::IsMasterComponentProcess() { return false; }

bool VorlanApp::IsTheMaster() {
    UID const master = Messenger::MasterID();
    return !master.IsNull() && master == Platform::GetUniqueSystemID();
}

bool VorlanApp::IsAMirror() { return false; }

bool VorlanApp::IsAnEngine() { return false; }

boost::shared_ptr<Job> VorlanApp::GetJobByID(UID const&) { return {}; }

Engine const& VorlanApp::GetEngineByID(UID const&) {
    static Engine const s_none;
    return s_none;
}

String VorlanApp::GetJobParameter(UID const& job, String const& name) {
    boost::shared_ptr<Job> const found = GetJobByID(job);
    return found ? found->GetParameterString(name) : String();
}

OptionMap VorlanApp::GetJobParameters(UID const& job) {
    OptionMap values;
    if (boost::shared_ptr<Job> const found = GetJobByID(job))
        values = found->Values();
    return values;
}

std::vector<UID> VorlanApp::GetAllJobs() { return {}; }

size_t VorlanApp::GetAllEngines(EngineSet& engines) {
    engines.clear();
    return 0;
}

UID VorlanApp::GetWorkParentID(UID const&) { return UID::Null; }

String VorlanApp::GetPoolName(UID const& pool) { return pool.ToString(); }

void VorlanApp::OnUnhandledMessage(boost::shared_ptr<Message> const& message) {
    LogDebug(String("Nobody took a ") + message->TypeName());
}

String VorlanApp::OptionsFilename() { return GetClientName() + ".ini"; }

void VorlanApp::SaveUpgradeInfo() {}

void VorlanApp::FinishUpgradeRestart() {}

String VorlanApp::GetClientName() { return "Vorlan"; }

void VorlanApp::RequestHasFailed(UID const&, String const&) {}

OptionsFile& VorlanApp::GetOptions() {
    // Never destroyed: what runs last may still ask.
    static OptionsFile* const s_options = [] {
        auto* const options = new OptionsFile;
        if (VorlanApp* const app = Get())
            options->Open(File::GetUserDir() / app->OptionsFilename());
        return options;
    }();
    return *s_options;
}

bool VorlanApp::IsConnected() { return Messenger::IsConnected(); }

VorlanApp* VorlanApp::Get() { return dynamic_cast<VorlanApp*>(Application::the_Application); }

class VorlanClientApp::Slots : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    explicit Slots(VorlanApp& app) : m_app(app) { ShutdownMsg::s_Signal.Connect(this, &Slots::OnShutdownMsg); }
    ~Slots() { ShutdownMsg::s_Signal.Disconnect(this); }

private:
    void OnShutdownMsg(boost::shared_ptr<ShutdownMsg> const&) {
        LogStatus("This program was asked to end");
        m_app.RequestShutdown();
    }

    VorlanApp& m_app;
};

VorlanClientApp::VorlanClientApp(Signals signals) : m_signals(signals) {}

VorlanClientApp::~VorlanClientApp() = default;

bool VorlanClientApp::Startup(CommandLine& commandLine) {
    SetLogDir(File::GetUserDir());
    CrashReport::Install(File::GetUserDir());
    m_slots = std::make_unique<Slots>(*this);
    if (m_signals == Signals::Handle)
        InstallStopSignals([] { Messenger::SSendMessageToSelf(boost::make_shared<ShutdownMsg>()); });
    if (!VorlanApp::Startup(commandLine))
        return false;
    VorlanAppStartupEvt started(true, &commandLine);
    started.Trigger();
    if (!started.success)
        return false;
    if (commandLine.HasSwitch("DisableMessenger")) {
        LogInfo("The connection to the Master is switched off");
    } else {
        MessengerOptions options(net::PeerKind::Client, GetClientName());
        options.client.find = [this](FarmKey const& key, Cancelled const& cancelled) {
            return MasterFinder::Find(key, cancelled, OwnHosts());
        };
        Messenger::Start(options);
    }
    return true;
}

void VorlanClientApp::Cleanup() {
    VorlanClientAppCleanupEvt().Trigger();
    FileServer::Shutdown();
    Messenger::Stop(false, true, false);
    Components::WaitForStops();
    m_slots.reset();
    VorlanApp::Cleanup();
}

String VorlanClientApp::OptionsFilename() { return "VorlanGui.ini"; }

String VorlanClientApp::GetClientName() { return "VorlanGui"; }

} // namespace vorlan
