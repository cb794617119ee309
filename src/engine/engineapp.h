#pragma once

// The program VorlanEngine.

#include "engine/asidethreads.h"
#include "engine/engineloop.h"
#include "engine/machinefacts.h"
#include "engine/masterdispatch.h"
#include "engine/masterlink.h"
#include "engine/report/hardware.h"
#include "engine/report/infoport.h"

#include <vorlan/components.h>
#include <vorlan/vorlanapp.h>

#include <memory>

namespace vorlan {

// Puts the parts of the Engine together and runs them until it is told to stop.
//
// Owned by main. All parts live on the loop's thread, which is the main thread; what
// comes from the network, the Runner and other threads is posted there. It may start
// before the Master and before there is a farm key: the link waits for both.
class EngineApp final : public VorlanApp {
public:
    explicit EngineApp(Path program) : m_program(std::move(program)) {}
    ~EngineApp() override;

    bool Startup(CommandLine& commandLine) override;
    int Execute() override;
    void Cleanup() override;

    bool IsAnEngine() override { return true; }
    String OptionsFilename() override { return "VorlanEngine.ini"; }
    String GetClientName() override { return "VorlanEngine"; }

private:
    // Something to be done again and again.
    struct Timer {
        int64_t everyMs;
        int64_t nextMs = 0;
        bool Due(int64_t now) {
            bool const due = nextMs <= now;
            nextMs = due ? now + everyMs : nextMs;
            return due;
        }
    };

    void MakeParts(Path const& folder);
    void MakeLink();
    void OnConnected(SinkPtr const& master, String const& name, String const& address);
    void OnGone(String const& reason);
    Engine Describe() const;
    int OnTurn();
    void Heartbeat(int64_t now);
    void SleepWhenIdle(int64_t now);
    void CleanOutput();
    void StopPrograms();
    void BeginStop(String const& reason);

    // Constant after Startup.
    Path const m_program;
    MachineFacts m_facts;
    EngineClock m_clock;
    std::unique_ptr<ComponentLock> m_lock;

    // The parts, in the order in which they are made; they end in the opposite one.
    EngineLoop m_loop;
    AsideThreads m_aside{[this](AsideThreads::Then then) { m_loop.Post(std::move(then)); }};
    LoopListener m_listener{m_loop};
    std::unique_ptr<HardwareSampler> m_hardware;
    std::unique_ptr<OutputFolder> m_outputFolder;
    std::unique_ptr<Runner> m_runner;
    std::unique_ptr<WorkDesk> m_desk;
    std::unique_ptr<OutputService> m_output;
    std::unique_ptr<InfoPort> m_infoPort;
    std::unique_ptr<MasterDispatch> m_dispatch;
    std::unique_ptr<MasterLink> m_link;

    // The loop's thread only.
    SinkPtr m_master;
    Timer m_heartbeat{5000};
    Timer m_figures{1000};
    Timer m_minute{60000};
    Timer m_hour{3600000};
    int64_t m_busyMs = 0; // when it last had work
    int m_registeredOffset = 0;
    unsigned m_outputDays = 0;
    int64_t m_stopByMs = 0; // 0: it is not stopping
};

} // namespace vorlan
