#include "master/net/masterapp.h"

#include "master/store/sealedstore.h"
#include "master/store/sqlstore.h"

#include <corekit/crashreport.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/platform.h>
#include <corekit/sformat.h>
#include <vorlan/discovery.h>
#include <vorlan/productfile.h>
#include <vorlan/version.h>

#include <chrono>
#include <cstdio>
#include <sys/stat.h>
#include <thread>

namespace farm {

using namespace corekit;
using vorlan::Components;

namespace {

constexpr auto k_StandbyLook = std::chrono::milliseconds(500);

// "2026-11-20" as a moment.
Time DateOf(char const* text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    if (std::sscanf(text, "%d-%u-%u", &year, &month, &day) != 3)
        return {};
    std::chrono::sys_days const days{std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day)};
    return Time::FromUnixMs(std::chrono::milliseconds(days.time_since_epoch()).count());
}

} // namespace

bool MasterApp::Startup(CommandLine& commandLine) {
    Path const folder = Components::Folder("VorlanMaster");
    File::MakeFolder(folder);
    ::chmod(folder.c_str(), 0700);
    String holder;
    m_lock = vorlan::ComponentLock::TakeLock(vorlan::k_ComponentMaster, &holder);
    if (!m_lock) {
        std::fprintf(stderr, "VorlanMaster runs already on this machine: %s. This one ends.\n", holder.c_str());
        return false;
    }
    Log::SetConsole(commandLine.HasSwitch("Console"));
    SetLogDir(folder);
    CrashReport::Install(folder);
    GetOptions().Open(folder / OptionsFilename());
    InstallStop();
    LogSystem(
        SFormat("VorlanMaster %s starts on %s.", vorlan::k_VorlanVersionText, Platform::GetComputerNameA().c_str()));

    Shell::Options options;
    options.key = vorlan::FarmKey::LoadOrCreate(File::GetMachineDir());
    m_standsBy = options.key.IsJoined();
    if (m_standsBy)
        return true;
    options.port = static_cast<unsigned short>(commandLine.GetArgument("Port", 0, vorlan::MasterFinder::ListenPort()));
    options.machine = Platform::GetUniqueSystemID();
    options.machineName = Platform::GetComputerNameA();
    options.products = LoadProducts();
    options.releaseDate = DateOf(vorlan::k_VorlanReleaseDate);
    options.stateFile = folder / "State.jsonl";
    options.logFolder = folder;
    options.answerMulticast = std::getenv("VORLAN_HOME") == nullptr;
    auto shell = std::make_unique<Shell>(std::move(options), OpenStore(commandLine));
    shell->Start();
    vorlan::MasterFinder::WritePortFile(shell->Port());
    LogSystem(SFormat("VorlanMaster listens on port %u.", shell->Port()));
    CommonMutex::Lock const lock(m_guard);
    m_shell = std::move(shell);
    return true;
}

void MasterApp::InstallStop() {
    InstallStopSignals([this] {
        CommonMutex::Lock const lock(m_guard);
        m_stopAsked = true;
        if (m_shell)
            m_shell->Stop();
    });
}

std::unique_ptr<Store> MasterApp::OpenStore(CommandLine const& commandLine) {
    auto key = vorlan::SecretsKey::LoadOrCreate(File::GetMachineDir());
    return std::make_unique<SealedStore>(OpenPlainStore(commandLine), std::move(key));
}

std::unique_ptr<Store> MasterApp::OpenPlainStore(CommandLine const& commandLine) {
    String const configured = GetOptions().GetValue("Store", "Connection", String());
    String const connection = commandLine.GetArgument("Store", 0, configured);
    if (!connection.Empty())
        return std::make_unique<SqlStore>(connection);
    String report;
    auto store = OpenSqliteStore(Components::Folder("VorlanMaster") / "farm.db", report);
    if (!report.Empty())
        LogError(report);
    return store;
}

std::vector<boost::shared_ptr<vorlan::Product const>> MasterApp::LoadProducts() {
    Path const folder = vorlan::FindProductFolder();
    std::vector<String> errors;
    std::vector<boost::shared_ptr<vorlan::Product const>> products;
    if (folder.Empty()) {
        LogError("No folder \"products\" was found beside VorlanMaster: there are no job types. Install it anew.");
        return products;
    }
    for (auto const& product : vorlan::LoadProductFolder(folder, errors))
        products.push_back(product);
    for (String const& error : errors)
        LogError(error);
    return products;
}

int MasterApp::Execute() {
    Shell* shell = nullptr;
    {
        CommonMutex::Lock const lock(m_guard);
        if (m_stopAsked) {
            return 0; // while it started, before there was a shell to stop
        }
        shell = m_shell.get();
    }
    if (m_standsBy)
        StandBy();
    else
        shell->Run();
    return 0;
}

void MasterApp::StandBy() {
    LogSystem("This machine's farm key was joined from another farm, which has a Master: this one stands by.");
    for (;;) {
        std::this_thread::sleep_for(k_StandbyLook);
        CommonMutex::Lock const lock(m_guard);
        if (m_stopAsked)
            return;
    }
}

void MasterApp::Cleanup() {
    std::unique_ptr<Shell> shell;
    {
        CommonMutex::Lock const lock(m_guard);
        shell = std::move(m_shell);
    }
    shell.reset();
    if (m_lock) {
        LogSystem("VorlanMaster ends.");
        Log::Close();
    }
    m_lock.reset();
}

} // namespace farm
