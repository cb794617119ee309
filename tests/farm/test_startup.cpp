// The Master's word on what starts, done with the real programs.
#include "farm/farm.h"

#include "vorlangui/client/componentcontrol.h"
#include "vorlangui/client/farmclient.h"
#include "vorlangui/client/options.h"
#include "vorlangui/outside/outside.h"

#include <corekit/filelock.h>
#include <vorlan/components.h>
#include <vorlan/vorlanapp.h>

namespace vorlan::farmtest::test_startup {

// The real one, as if connected to a Master on another machine.
struct ElsewhereServed : Outside {
    ElsewhereServed() { Set(this); }
    ~ElsewhereServed() override { Set(nullptr); }
    void Send(boost::shared_ptr<Message> const&) override {}
    UID MasterID() override { return UID::FromName("another machine"); }
};

class StartupFarm : public FarmFixture {
protected:
    StartupFarm() {
        VorlanApp::GetOptions().Clear();
        k_OptionVersion.Set(k_VorlanVersion);
        m_mirror.ConnectMessages();
    }
    ~StartupFarm() override {
        Components::StopAndWait(k_ComponentEngine);
        Components::WaitForStops();
    }
    static void TheMasterSays(int engine) {
        auto message = MasterDefaultStartupMsg::New();
        message->components[k_ComponentEngine] = engine;
        MasterDefaultStartupMsg::s_Signal.Emit(message);
    }
    void TheClientEnds() {
        for (int const component : k_StopOrder)
            m_mirror._StopComponent(component);
        Components::WaitForStops();
    }
    // The process that has the Engine's lock; 0 for none.
    static int EngineProcess() {
        int process = 0;
        bool const held = FileLock::IsHeld(Components::LockFile(k_ComponentEngine), nullptr, &process);
        return held ? process : 0;
    }
    static bool WaitForEngine() {
        return WaitFor([] { return EngineProcess() != 0; }, k_StartMs);
    }

private:
    ElsewhereServed m_outside;
    FarmClient m_mirror;
};

TEST_F(StartupFarm, TheMasterStartsLeavesAndStopsTheEngine) {
    TheMasterSays(k_StartAndStop);
    ASSERT_TRUE(WaitForEngine());
    int const first = EngineProcess();
    TheMasterSays(k_StartAndStop);
    TheMasterSays(k_StartAndLeave);
    TheClientEnds();
    EXPECT_EQ(EngineProcess(), first) << "left running, and not started twice";
    TheMasterSays(k_StartAndStop);
    TheClientEnds();
    EXPECT_EQ(EngineProcess(), 0);
    TheMasterSays(k_StartAndLeave);
    ASSERT_TRUE(WaitForEngine());
    TheMasterSays(k_StartNot);
    Components::WaitForStops();
    EXPECT_EQ(EngineProcess(), 0) << "told not to start, it ends at once";
}

} // namespace vorlan::farmtest::test_startup
