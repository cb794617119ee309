#include "engine/engineapp.h"

#include "engine/runner/leftovers.h"
#include "engine/runner/localrunner.h"

#include <corekit/crashreport.h>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/platform.h>
#include <corekit/sformat.h>
#include <corekit/threadpool.h>
#include <vorlan/keys.h>
#include <vorlan/version.h>

#include <algorithm>
#include <cstdio>

namespace vorlan {

namespace {

// A stop of the Engine ends its units, who get five seconds, and then the Engine.
constexpr int64_t k_StopMs = 8000;

} // namespace

EngineApp::~EngineApp() = default;

bool EngineApp::Startup(CommandLine& commandLine) {
    Path const folder = Components::Folder("VorlanEngine");
    File::MakeFolder(folder);
    String holder;
    m_lock = ComponentLock::TakeLock(k_ComponentEngine, &holder);
    if (!m_lock) {
        std::fprintf(stderr, "VorlanEngine runs already on this machine: %s. This one ends.\n", holder.c_str());
        return false;
    }
    Log::SetConsole(commandLine.HasSwitch("Console"));
    SetLogDir(folder);
    CrashReport::Install(folder);
    GetOptions().Open(folder / Path(OptionsFilename()));
    InstallStopSignals([this] { m_loop.Post([this] { BeginStop("VorlanEngine was stopped while this ran"); }); });
    ThreadPool::Initialize();

    m_facts.engine = Platform::GetUniqueSystemID();
    m_facts.name = commandLine.GetArgument("Name", 0, Platform::GetComputerNameA());
    m_facts.cores = static_cast<unsigned>(std::max(commandLine.GetArgument("Cores", 0, 0), 0));
    m_facts.started = m_clock.Now();
    m_outputDays = GetOptions().GetValue(o_Setup, o_OutputFileCleanup, o_OutputFileCleanupDefault);
    LogSystem(SFormat("VorlanEngine %s starts on %s.", k_VorlanVersionText, m_facts.name.c_str()));
    MakeParts(folder);
    return true;
}

void EngineApp::MakeParts(Path const& folder) {
    m_hardware = std::make_unique<HardwareSampler>();
    m_outputFolder = std::make_unique<OutputFolder>(folder / "output");
    // Nothing is told to the Master before all that an earlier Engine ran has ended.
    m_runner = std::make_unique<LocalRunner>(m_program, m_facts.engine, m_listener,
                                             [this] { m_loop.Post([this] { MakeLink(); }); });

    DeskSetup setup;
    setup.engine = m_facts.engine;
    setup.host = m_facts.name;
    setup.folder = folder;
    setup.clock = &m_clock;
    setup.runner = m_runner.get();
    setup.output = m_outputFolder.get();
    setup.users = WorkUsers::Read(GetOptions());
    setup.aside = [this](AsideThreads::Work work) { m_aside.Run(std::move(work)); };
    setup.describe = [this] { return Describe(); };
    m_desk = std::make_unique<WorkDesk>(std::move(setup));
    m_listener.SetListener(m_desk.get());

    m_output =
        std::make_unique<OutputService>(*m_outputFolder, [this](UID const& work) { return m_desk->OutputOf(work); });
    m_infoPort = std::make_unique<InfoPort>(
        *m_output, [this](std::function<void()> task) { m_loop.Post(std::move(task)); }, m_facts.name);
    MasterDispatch::Hooks hooks;
    hooks.takesCommands = GetOptions().GetValue(o_Setup, "RemoteCommands", true);
    hooks.stop = [this] { BeginStop("VorlanEngine was shut down while this ran"); };
    hooks.stopPrograms = [this] { StopPrograms(); };
    hooks.keepOutputDays = [this](unsigned days) {
        m_outputDays = days;
        m_hour.nextMs = 0;
    };
    m_dispatch = std::make_unique<MasterDispatch>(*m_desk, *m_output, std::move(hooks));
}

void EngineApp::MakeLink() {
    MasterEvents events;
    events.connected = [this](SinkPtr const& master, String const& name, String const& address) {
        m_loop.Post([this, master, name, address] { OnConnected(master, name, address); });
    };
    events.message = [this](boost::shared_ptr<Message> const& message) {
        m_loop.Post([this, message] {
            if (m_master)
                m_dispatch->Handle(m_master, message);
        });
    };
    events.gone = [this](String const& reason) { m_loop.Post([this, reason] { OnGone(reason); }); };
    m_link = std::make_unique<NetMasterLink>(std::move(events), m_facts.name);
    m_link->Start();
}

Engine EngineApp::Describe() const { return DescribeMachine(m_facts); }

void EngineApp::OnConnected(SinkPtr const& master, String const& name, String const& address) {
    LogStatus("Connected to the Master on " + name + ".");
    try {
        m_infoPort->Open(FarmKey::Load(File::GetMachineDir()));
    } catch (Exception const& error) {
        LogError(error.what());
    }
    m_facts.infoPeer = m_infoPort->Port() == 0 ? IPPeer() : IPPeer(OwnAddress(address), m_infoPort->Port());
    m_registeredOffset = UTCOffsetMinutes();
    m_master = master;
    m_desk->SetMaster(master);
    m_heartbeat.nextMs = 0;
}

void EngineApp::OnGone(String const& reason) {
    LogStatus("The Master is gone: " + reason + " Work goes on; results are kept until it is back.");
    m_output->Gone(m_master);
    m_master.reset();
    m_desk->SetMaster({});
}

int EngineApp::Execute() {
    m_loop.Run([this] { return OnTurn(); });
    return 0;
}

int EngineApp::OnTurn() {
    int64_t const now = m_clock.SteadyMs();
    if (m_desk->NextTickMs() <= now)
        m_desk->Tick();
    m_desk->EndTurn();
    int const pumpMs = m_output->Pump();
    if (m_infoPort->HasListeners() && m_figures.Due(now))
        m_infoPort->SendHardware(m_hardware->Sample());
    if (m_heartbeat.Due(now))
        Heartbeat(now);
    if (m_minute.Due(now) && m_master && m_registeredOffset != UTCOffsetMinutes()) {
        m_link->Reconnect(); // summer time: restricted times are local
    }
    if (m_hour.Due(now))
        CleanOutput();
    if (m_stopByMs > 0 && (m_desk->Idle() || m_stopByMs <= now)) {
        m_desk->EndTurn();
        m_loop.Close();
    }
    int64_t next = std::min({m_desk->NextTickMs(), m_heartbeat.nextMs, m_minute.nextMs, m_hour.nextMs});
    if (m_infoPort->HasListeners())
        next = std::min(next, m_figures.nextMs);
    if (m_stopByMs > 0)
        next = std::min(next, m_stopByMs);
    if (pumpMs >= 0)
        next = std::min(next, now + pumpMs);
    return static_cast<int>(std::clamp<int64_t>(next - now, 0, 60000));
}

void EngineApp::Heartbeat(int64_t now) {
    if (m_desk->UnitCount() > 0 || m_busyMs == 0)
        m_busyMs = now;
    SleepWhenIdle(now);
    if (!m_master)
        return;
    HardwareMsg const figures = m_hardware->Sample();
    auto message = HeartbeatMsg::New();
    message->freePhysicalMB = figures.freePhysicalMB;
    message->cpuPercent = figures.cpuPercent;
    m_master->Send(message);
}

void EngineApp::SleepWhenIdle(int64_t now) {
    unsigned const minutes = m_desk->Settings() ? m_desk->Settings()->GetIdleSleepTime() : 0;
    if (minutes == 0 || !m_master || now - m_busyMs < int64_t{minutes} * 60000)
        return;
    m_busyMs = now; // once it is awake again it has that time anew
    m_desk->History().Note(SFormat("Sleeps after %u minutes without work", minutes));
    m_desk->Side().Run(MakeSideCommand({"stand-by", {MachineScript(0), {}}}, Path("/")));
}

void EngineApp::CleanOutput() {
    if (m_outputDays == 0)
        return;
    Time const before = m_clock.Now() - Time::Days(m_outputDays);
    m_aside.Run([folder = *m_outputFolder, before] {
        if (size_t const deleted = folder.Cleanup(before); deleted > 0)
            LogInfo(SFormat("Deleted the output of %zu old runs.", deleted));
        return AsideThreads::Then();
    });
    m_desk->CleanFolders(before);
}

void EngineApp::StopPrograms() {
    LogSystem("All programs of this machine are to end.");
    for (int const component : {k_ComponentBrakka, k_ComponentMerrow, k_ComponentPanvale, k_ComponentMaster}) {
        if (Components::IsRunning(component))
            Components::Stop(component);
    }
    BeginStop("All programs of the machine were stopped");
}

void EngineApp::BeginStop(String const& reason) {
    if (m_stopByMs > 0)
        return;
    LogSystem(SFormat("VorlanEngine stops; %zu units run.", m_desk->UnitCount()));
    m_stopByMs = m_clock.SteadyMs() + k_StopMs;
    m_desk->StopAll(reason);
}

void EngineApp::Cleanup() {
    m_loop.Close();
    if (m_link)
        m_link->Stop();
    m_infoPort.reset();
    m_runner.reset();
    ThreadPool::Shutdown();
    if (m_lock) {
        Components::WaitForStops();
        LogSystem("VorlanEngine ends.");
        Log::Close();
    }
    m_lock.reset();
}

} // namespace vorlan
