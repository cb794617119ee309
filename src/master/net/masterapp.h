#pragma once

// The application object of VorlanMaster.

#include "master/net/shell.h"

#include <corekit/commonmutex.h>
#include <vorlan/components.h>
#include <vorlan/vorlanapp.h>

#include <memory>
#include <vector>

namespace farm {

// VorlanMaster: takes its lock, opens log, key and store, and runs the shell.
//
// Owned by main; the main thread. Switches: `--Port N` listens there, `--Store
// CONNECTION` keeps the farm in that data base (else the option Store/Connection of
// "VorlanMaster.ini", else SQLite in the machine folder), `--Console` logs to the
// terminal too.
//
// With a farm key that was joined from another machine it stands by: it holds its
// lock and serves nobody, since that farm has a Master already.
class MasterApp final : public vorlan::VorlanApp {
public:
    bool Startup(corekit::CommandLine& commandLine) override;
    int Execute() override;
    void Cleanup() override;

    bool IsMasterComponentProcess() override { return true; }
    bool IsTheMaster() override { return true; }
    String OptionsFilename() override { return "VorlanMaster.ini"; }
    String GetClientName() override { return "VorlanMaster"; }

private:
    void InstallStop();
    std::unique_ptr<Store> OpenStore(corekit::CommandLine const& commandLine);
    std::unique_ptr<Store> OpenPlainStore(corekit::CommandLine const& commandLine);
    std::vector<boost::shared_ptr<vorlan::Product const>> LoadProducts();
    void StandBy();

    std::unique_ptr<vorlan::ComponentLock> m_lock;
    CommonMutex m_guard;
    // Made, run and ended by the main thread, asked to stop by the signal thread.
    std::unique_ptr<Shell> m_shell CK_GUARDED_BY(m_guard);
    bool m_standsBy = false;
    bool m_stopAsked CK_GUARDED_BY(m_guard) = false;
};

} // namespace farm
