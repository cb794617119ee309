// Engine Mode: how the client enters and leaves it, and when by itself.
#include "guitest.h"

#include "window/messagepane.h"

#include <corekit/namedpipe.h>
#include <wx/wxvorlandlg.h>

namespace vorlan {

using corekit::NamedPipeServerThread;

TEST(IdleSpan, TheLocalWordBeatsTheMasters) {
    for (auto const& [local, master, minutes] :
         Rows<int, int, int>{{-1, 0, 0}, {-1, 10, 10}, {0, 10, 0}, {5, 10, 5}, {-7, 3, 3}, {-1, -1, 0}})
        EXPECT_EQ(IdleSpan(local, master), Time::Minutes(minutes)) << local << " " << master;
}

struct EngineModeTest : GuiTest {
    EngineModeTest() { HasRunBefore(); }
    void Enter() { Command(k_IdEngineMode); }
    // An own Engine, and the Master's word: it times out.
    void StartIdle() {
        StartClient();
        outside.started.insert(k_ComponentEngine);
        MasterSaysIdleMinutes(10);
        Timeout().Reset();
    }
    void MasterSaysIdleMinutes(int minutes) {
        outside.masterInfo = MasterInfoMsg::New();
        outside.masterInfo->idleTimeout = minutes;
    }
    bool InEngineMode() { return Options().GetValue("Configuration", "InEngineMode", false); }
    _EngineModeTimeout& Timeout() { return *Window().IdleTimeout(); }
    Time Later() { return Time::CurrentTime() + Time::Minutes(60 * 24); }
};

TEST_F(EngineModeTest, ShowsItsPaneAndStopsTheMessenger) {
    MainWindow& window = StartClient();
    outside.TakeSteps();
    LogLines log(LogLevel::Status);
    Enter();
    EXPECT_EQ(outside.TakeSteps(),
              (std::vector<String>{"stop VorlanMaster", "start VorlanEngine", "messenger stop 0 0 0"}));
    EXPECT_EQ(window.ShownView(), MainWindow::k_ViewEngineMode);
    EXPECT_TRUE(window.GetTitle().EndsWith(" [ Engine Mode ]")) << window.GetTitle();
    EXPECT_TRUE(InEngineMode());
    EXPECT_EQ(FindPart<MessagePane>(window, "EngineModePane").Texts(),
              (std::vector<wxString>{"Engine Mode", "This machine is running just as an Engine.",
                                     "This conserves resources for rendering, but you cannot see or control things and",
                                     "this machine may not be available as a Master automatically.",
                                     "To return to normal operation, use the Connect option in the System menu.",
                                     "To change the system timeout to enter Engine Mode, use the Administator Options",
                                     "To change how your machine enters Engine Mode, use the VorlanGui Options."}));
    EXPECT_TRUE(FindPart<MessagePane>(window, "EngineModePane").IsShownOnScreen());
    EXPECT_FALSE(FindPart<MessagePane>(window, "SearchingPane").IsShownOnScreen());
    // A second time: no second pipe.
    Enter();
    EXPECT_EQ(CountLines(log, "Entering Engine Mode..."), 2u);
    EXPECT_EQ(CountLines(log, "Listening for shutdown requests on: VorlanGui-EngineMode"), 1u);
    // A disconnect does not lead out of it.
    Disconnected();
    EXPECT_EQ(window.ShownView(), MainWindow::k_ViewEngineMode);
}

TEST_F(EngineModeTest, ConnectLeavesIt) {
    MainWindow& window = StartClient();
    Enter();
    outside.TakeSteps();
    LogLines log(LogLevel::Status);
    Command(k_IdConnect);
    EXPECT_EQ(outside.TakeSteps(), std::vector<String>{"messenger stop 0 0 1"});
    EXPECT_EQ(window.ShownView(), MainWindow::k_ViewSearching);
    EXPECT_TRUE(FindPart<MessagePane>(window, "SearchingPane").IsShownOnScreen());
    EXPECT_FALSE(window.GetTitle().Contains("Engine Mode"));
    EXPECT_FALSE(InEngineMode());
    EXPECT_EQ(CountLines(log, "No longer listening for shutdown requests on: VorlanGui-EngineMode"), 1u);
    EXPECT_FALSE(NamedPipeServerThread::Signal("VorlanGui-EngineMode"));
}

TEST_F(EngineModeTest, ANameThatIsTakenIsNotListenedTo) {
    struct Other : NamedPipeServerThread {
        Other() : NamedPipeServerThread("VorlanGui-EngineMode") {}
        ~Other() override { Stop(); }
        void OnConnect() override {}
    } other;
    ASSERT_TRUE(other.IsListening());
    StartClient();
    LogLines log(LogLevel::Status);
    Enter();
    Command(k_IdConnect);
    EXPECT_EQ(CountLines(log, "istening for shutdown requests on"), 0u);
    EXPECT_EQ(CountLines(log, "another process does"), 1u);
}

TEST_F(EngineModeTest, AMachineThatServesGoesOnServing) {
    StartClient();
    outside.TakeSteps();
    outside.master = outside.MachineID();
    Enter();
    EXPECT_EQ(outside.TakeSteps(), (std::vector<String>{"start VorlanEngine", "messenger stop 0 0 0"}));
    EXPECT_TRUE(Options().GetValue("Configuration", "WasTheMaster", false));
    // The connection is gone now, and with it who the Master is.
    outside.master = UID::Null;
    Enter();
    EXPECT_EQ(outside.TakeSteps(),
              (std::vector<String>{"start VorlanMaster", "start VorlanEngine", "messenger stop 0 0 0"}));
    Command(k_IdConnect);
    EXPECT_EQ(outside.TakeSteps(), (std::vector<String>{"messenger stop 0 0 1", "start VorlanMaster"}));
    // Another one serves: this machine forgets that it did.
    outside.master = UID::FromName("another");
    Window().ShowView(MainWindow::k_ViewMain);
    EXPECT_FALSE(Options().HasKey("Configuration", "WasTheMaster"));
    Enter();
    EXPECT_EQ(outside.TakeSteps().front(), "stop VorlanMaster");
}

TEST_F(EngineModeTest, OnlyAnIdleClientWithItsOwnEngineTimesOut) {
    Rows<char const*, bool, bool, int, int, bool> const k_Cases = {
        {"the Master's minutes", true, true, -1, 10, true},   {"an Engine of somebody else", false, true, 5, 10, false},
        {"no Master yet", true, false, 5, 0, false},          {"never, says this machine", true, true, 0, 10, false},
        {"never, says the Master", true, true, -1, 0, false}, {"this machine alone", true, true, 5, 0, true}};
    StartClient();
    for (auto const& [what, ownEngine, connected, local, master, timesOut] : k_Cases) {
        outside.started = ownEngine ? std::set{int{k_ComponentEngine}} : std::set<int>();
        MasterSaysIdleMinutes(master);
        if (!connected)
            outside.masterInfo.reset();
        Options().SetValue("Configuration", o_IdleTimeout, local);
        Timeout().Reset();
        EXPECT_EQ(!Timeout().Expires().IsZero(), timesOut) << what;
        EXPECT_EQ(Timeout().HasExpired(Later()), timesOut) << what;
        EXPECT_FALSE(Timeout().HasExpired(Later())) << "once only: " << what;
    }
}

TEST_F(EngineModeTest, ADialogHoldsTheTimeOutAndUseBeginsItAnew) {
    StartIdle();
    Time const first = Timeout().Expires();
    EXPECT_FALSE(Timeout().HasExpired(first - Time(1)));
    wxVorlanDlg::s_ModalStarted.Emit();
    EXPECT_FALSE(Timeout().HasExpired(Later()));
    ASSERT_TRUE(PumpUntil([&] { return Time::CurrentTime() + Time::Minutes(10) > first; }));
    wxVorlanDlg::s_ModalFinished.Emit();
    EXPECT_GT(Timeout().Expires(), first);
    for (auto const& use : std::initializer_list<std::function<void()>>{
             [] { wxVorlanDlg::s_DlgClosed.Emit(); }, [] { wxVorlanFrame::s_WinClosed.Emit(); },
             [&] { Window().ShowView(MainWindow::k_ViewMain); }, [&] { Command(31999); },
             [] { Say(MasterInfoMsg::New()); }}) {
        Time const before = Timeout().Expires();
        ASSERT_TRUE(PumpUntil([&] { return Time::CurrentTime() + Time::Minutes(10) > before; }));
        use();
        EXPECT_GT(Timeout().Expires(), before);
    }
}

// Also one that is none of the system's own, and also when the Master speaks meanwhile.
TEST_F(EngineModeTest, NothingEndsAModalDialog) {
    StartIdle();
    wxDialog plain(&Window(), wxID_ANY, "plain");
    bool expired = true;
    plain.CallAfter([&] {
        Say(MasterInfoMsg::New());
        expired = Timeout().HasExpired(Later());
        plain.EndModal(wxID_OK);
    });
    plain.ShowModal();
    EXPECT_FALSE(expired);
    EXPECT_TRUE(Timeout().HasExpired(Later())) << "it counts anew after it";
}

TEST_F(EngineModeTest, AnExpiredTimeOutEntersIt) {
    StartIdle();
    Idle();
    EXPECT_EQ(Window().ShownView(), MainWindow::k_ViewSearching);
    Timeout().ExpireAt(Time(1));
    LogLines log(LogLevel::Status);
    Idle();
    EXPECT_EQ(Window().ShownView(), MainWindow::k_ViewEngineMode);
    EXPECT_TRUE(Timeout().Expires().IsZero());
    Timeout().ExpireAt(Time(1));
    Idle();
    EXPECT_EQ(CountLines(log, "Idle timeout to Engine mode expired"), 1u) << "it is in it already";
}

} // namespace vorlan
