#pragma once

#include <boost/shared_ptr.hpp>
#include <corekit/application.h>
#include <corekit/commonmutex.h>
#include <corekit/optionmap.h>
#include <corekit/optionsfile.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/discovery.h>
#include <vorlan/engine.h>
#include <vorlan/fwd.h>

#include <memory>
#include <set>
#include <vector>

namespace vorlan {

// VorlanApp is the base of the application object of a program of the farm: its
// options, and the questions that the library asks of its program.
// Owner: the program's main. Works with: Messenger, OptionsFile.
// Thread: the main thread for the life cycle; the questions on any.
class VorlanApp : public Application {
public:
    VorlanApp();
    ~VorlanApp() override;
    // Waits until RequestShutdown.
    int Execute() override;

    // The order of the virtual operations is fixed: other code counts on it.
    virtual bool IsMasterComponentProcess();
    // This machine is the one of the Master.
    virtual bool IsTheMaster();
    virtual bool IsAMirror();
    virtual bool IsAnEngine();
    // Null when it is not known.
    virtual boost::shared_ptr<Job> GetJobByID(UID const& id);
    // One with a null id when it is not known.
    virtual Engine const& GetEngineByID(UID const& id);
    virtual String GetJobParameter(UID const& job, String const& name);
    virtual OptionMap GetJobParameters(UID const& job);
    virtual std::vector<UID> GetAllJobs();
    struct EngineOrder {
        bool operator()(Engine const& a, Engine const& b) const { return a.id < b.id; }
    };
    using EngineSet = std::set<Engine, EngineOrder>;
    // Replaces what is in the set; the number of them.
    virtual size_t GetAllEngines(EngineSet& engines);
    // The Job of a work unit; null when it is not known.
    virtual UID GetWorkParentID(UID const& work);
    virtual String GetPoolName(UID const& pool);
    // Called on the message thread for a message that nobody listens to.
    virtual void OnUnhandledMessage(boost::shared_ptr<Message> const& message);
    // The leaf name of the options file in the user's folder.
    virtual String OptionsFilename();
    // Around a restart by a newer version of the program.
    virtual void SaveUpgradeInfo();
    virtual void FinishUpgradeRestart();
    // The program's name towards the Master.
    virtual String GetClientName();
    // The Master refused a command; `id` is what was refused. Message thread.
    virtual void RequestHasFailed(UID const& id, String const& reason);

    // The options of this program; of no file while there is no VorlanApp.
    static OptionsFile& GetOptions();
    static bool IsConnected();
    // The application object, null if there is none or it is another kind.
    static VorlanApp* Get();

    // Lets Execute return; any thread.
    void RequestShutdown();
    bool ShutdownRequested() const;

private:
    mutable CommonMutex m_guard;
    CommonCondition m_wake;
    bool m_shutdown CK_GUARDED_BY(m_guard) = false;
};

// VorlanClientApp is the base of the programs that follow a Master as a client:
// log, crash reports, start-up event, Messenger.
// Thread: the main thread.
class VorlanClientApp : public VorlanApp {
public:
    enum class Signals { Handle, LeaveAlone };

    // Handle: SIGTERM, SIGINT and SIGHUP send this program a ShutdownMsg.
    explicit VorlanClientApp(Signals signals = Signals::Handle);
    ~VorlanClientApp() override;

    // Opens the log and the crash reports in the user's folder, raises
    // VorlanAppStartupEvt, and starts the Messenger unless the command line has the
    // switch DisableMessenger then. False when a listener clears the event's flag.
    bool Startup(CommandLine& commandLine) override;
    // Raises VorlanClientAppCleanupEvt and stops the Messenger.
    void Cleanup() override;
    String OptionsFilename() override;
    String GetClientName() override;
    // Where its own options say that the Master is; the other programs of the machine do
    // not look there. Asked before each search, on the connection's thread.
    virtual MasterHosts OwnHosts() { return {}; }

private:
    // Hears ShutdownMsg, which calls RequestShutdown. Not a base: a program's own
    // application class is the destination of signals itself.
    class Slots;

    Signals const m_signals;
    std::unique_ptr<Slots> m_slots;
};

} // namespace vorlan
