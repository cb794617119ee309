// The client's start-up, what it says in its status bar, and its connection.
#include "guitest.h"

#include "client/statustext.h"

#include <wx/settings.h>

namespace vorlan {

TEST(StatusText, IsJoinedAsItAlwaysWas) {
    Rows<char const*, char const*, char const*, char const*> const cases = {
        {"", "", "", ""}, {"E", "", "W", "E   |      |   W"}, {"", "J", "", "J   |   "}, {"", "", "W", "W"}};
    for (auto const& [engines, jobs, work, text] : cases)
        EXPECT_EQ(JoinedStatus(engines, jobs, work), text);
}

struct StartupTest : GuiTest {
    String StatusField(int field) { return wxvString(Window().GetStatusBar()->GetStatusText(field)); }
};

TEST_F(StartupTest, AFirstRunStartsEngineThenMaster) {
    Options().SetValue("Communication", "Master", "here there");
    Options().SetValue("Communication", "MasterPort", 7500);
    CommandLine line("VorlanGui", {});
    MainWindow& window = StartClient(&line);
    EXPECT_EQ(Gui().OwnHosts().hosts, "here there");
    EXPECT_EQ(Gui().OwnHosts().port, 7500);
    EXPECT_EQ(outside.TakeSteps(), (std::vector<String>{"start VorlanEngine", "start VorlanMaster", "stop Brakka",
                                                        "stop Merrow", "stop Panvale"}));
    EXPECT_TRUE(window.IsFirstRun());
    EXPECT_TRUE(window.IsShown());
    EXPECT_EQ(window.ShownView(), MainWindow::k_ViewSearching);
    EXPECT_EQ(Option("Version"), static_cast<int>(k_VorlanVersion));
    EXPECT_FALSE(line.HasSwitch("DisableMessenger"));
    EXPECT_EQ(Gui().GetTopWindow(), &window);
    EXPECT_EQ(window.GetSize(), wxSize(wxSystemSettings::GetMetric(wxSYS_SCREEN_X) * 2 / 3,
                                       wxSystemSettings::GetMetric(wxSYS_SCREEN_Y) * 2 / 3));
    EXPECT_TRUE(PumpUntil([&] { return window.GetPosition() == wxPoint(0, 0); }));
    EXPECT_EQ(window.GetTitle(), "VorlanGui - " + wxvText(Application::GetMachineName()));
}

TEST_F(StartupTest, AFirstRunOnARenderNodeIsEngineMode) {
    outside.computerName = "RENDER07";
    CommandLine line("VorlanGui", {});
    MainWindow& window = StartClient(&line);
    EXPECT_EQ(outside.TakeSteps(),
              (std::vector<String>{"stop VorlanMaster", "start VorlanEngine", "messenger stop 0 0 0", "stop Brakka",
                                   "stop Merrow", "stop Panvale"}));
    EXPECT_EQ(window.ShownView(), MainWindow::k_ViewEngineMode);
    EXPECT_TRUE(Options().GetValue("Configuration", "InEngineMode", false));
    EXPECT_EQ(Option("Version"), static_cast<int>(k_VorlanVersion));
    EXPECT_TRUE(line.HasSwitch("DisableMessenger"));
}

TEST_F(StartupTest, OnlyAFirstRunGuesses) {
    outside.computerName = "10-0-3-17";
    HasRunBefore();
    Options().SetValue("Configuration", "InEngineMode", false);
    CommandLine line("VorlanGui", {});
    EXPECT_EQ(StartClient(&line).ShownView(), MainWindow::k_ViewSearching);
    EXPECT_FALSE(Window().IsFirstRun());
    EXPECT_FALSE(line.HasSwitch("DisableMessenger"));
}

TEST_F(StartupTest, AStartThatFailedMakesNoWindow) {
    VorlanAppStartupEvt event(false, nullptr);
    Gui().OnVorlanAppStartupEvt(event);
    EXPECT_EQ(MainWindow::Get(), nullptr);
    EXPECT_TRUE(outside.TakeSteps().empty());
}

TEST_F(StartupTest, NothingIsWrittenBeforeItsEnd) {
    Path const file = Options().FilePath();
    Options().SetValue("Marker", "Value", "before");
    outside.computerName = "RENDER07";
    // Reads the file in the last step with an outside effect: the options have changed by then.
    struct Spy : FakeOutside {
        explicit Spy(Path const& path) : file(path) {}
        void StopComponent(int component) override {
            FakeOutside::StopComponent(component);
            if (component == k_ComponentPanvale)
                text = corekit::File::Read(file);
        }
        Path const file;
        String text;
    } spy(file);
    spy.computerName = "RENDER07";
    Outside::Set(&spy);
    StartClient();
    Outside::Set(&outside);
    EXPECT_TRUE(spy.text.Contains("before"));
    EXPECT_FALSE(spy.text.Contains("InEngineMode")) << spy.text;
    EXPECT_TRUE(corekit::File::Read(file).Contains("InEngineMode"));
}

TEST_F(StartupTest, ARepeatFileIsLoadedAndCut) {
    corekit::File::WriteWhole(corekit::File::GetUserDir() / "RepeatJobs.ini",
                              "[1]\nName=a\n[2]\nName=b\n[3]\nName=c\n");
    Options().SetValue("Configuration", "RepeatCount", 2);
    StartClient();
    EXPECT_EQ(Gui().RepeatJobs().Sections(), (std::vector<String>{"2", "3"}));
    EXPECT_EQ(Gui().RepeatJobs().RepeatCount(), 2u);
}

TEST_F(StartupTest, DamagedOptionsAreToldOf) {
    Path const file = Options().FilePath();
    corekit::File::WriteWhole(file, String(std::string_view("[S]\na=1\0\0\0", 11)));
    Options().Open(file);
    ModalAnswers answers(wxID_OK);
    StartClient();
    ASSERT_TRUE(PumpUntil([&] { return answers.Any(); }));
    EXPECT_TRUE(answers.Take().front().Contains(file + ".damaged"));
    Options().Open(file);
}

TEST_F(StartupTest, AConnectionAsksForEverythingInOrder) {
    StartClient();
    outside.TakeSteps();
    Connected();
    EXPECT_EQ(
        outside.TakeSteps(),
        (std::vector<String>{"send NotifyOnEventMsg", "send GetMasterOptionsMsg", "send GetMasterLimitsMsg",
                             "send GetMasterRestrictionsMsg", "send GetDefaultEngineMsg", "send GetFailureArchiveMsg",
                             "send GetPoolsMsg", "send GetEngineInfoMsg", "send GetJobInfoMsg"}));
    auto const sent = outside.Sent();
    auto const events = boost::dynamic_pointer_cast<NotifyOnEventMsg>(sent.front());
    EXPECT_TRUE(events->all);
    EXPECT_EQ(events->ids, (std::set<UID>{MasterLogsMsg::s_Type, EngineHistoryElementMsg::s_Type}));
    auto const engines = boost::dynamic_pointer_cast<GetEngineInfoMsg>(sent[7]);
    EXPECT_TRUE(engines->all && engines->wantHistory && engines->wantOptions && engines->wantState);
    EXPECT_FALSE(engines->wantEngine);
    auto const jobs = boost::dynamic_pointer_cast<GetJobInfoMsg>(sent[8]);
    EXPECT_TRUE(jobs->all && jobs->wantJob);
    EXPECT_FALSE(jobs->wantHistory);
    EXPECT_EQ(Window().ShownView(), MainWindow::k_ViewMain);
    EXPECT_EQ(StatusField(2), "Connected to zeus");
    EXPECT_FALSE(Window().IsFirstRun());
}

TEST_F(StartupTest, ADisconnectLeavesNothingOfAMaster) {
    StartConnected();
    AddJob("job");
    AddEngine("engine", false, false);
    ASSERT_TRUE(PumpUntil([&] { return StatusField(0).Contains("1 Jobs") && StatusField(0).Contains("0 Work"); }));
    EXPECT_EQ(StatusField(0), "1 Engines (0 Available, 0 Active)   |   1 Jobs (0 Active, 0 Finished)   |   0 Work");
    outside.TakeSteps();
    Disconnected();
    EXPECT_EQ(StatusField(0), "");
    EXPECT_EQ(StatusField(2), "");
    EXPECT_TRUE(Jobs::GetAllJobs().empty());
    EXPECT_TRUE(EngineList::Get().Snapshot().empty());
    EXPECT_EQ(Window().ShownView(), MainWindow::k_ViewSearching);
    EXPECT_EQ(outside.TakeSteps(), std::vector<String>{"purge"});
}

TEST_F(StartupTest, CommandsThatNeedAMasterWaitForIt) {
    MainWindow& window = StartClient();
    auto const refresh = [&] {
        return window.GetMenuBar()->FindItem(window.GetMenuBar()->FindMenuItem("System", "Refresh"));
    };
    ASSERT_NE(refresh(), nullptr);
    EXPECT_FALSE(refresh()->IsEnabled());
    Connected();
    ASSERT_NE(refresh(), nullptr);
    EXPECT_TRUE(refresh()->IsEnabled());
    EXPECT_NE(window.GetMenuBar()->FindMenuItem("System", "Reconnect"), wxNOT_FOUND);
}

TEST_F(StartupTest, TheLibrarysQuestionsAreAnsweredFromTheLists) {
    AddEngine("engine");
    AddEngine("other");
    VorlanApp::EngineSet all;
    EXPECT_EQ(Gui().GetAllEngines(all), 2u);
    Engine const& engine = Gui().GetEngineByID(UID::FromName("engine"));
    EXPECT_EQ(Gui().GetEngineByID(UID::FromName("other")).Name(), "other");
    EngineList::Get().Clear();
    EXPECT_EQ(engine.Name(), "engine") << "what was handed out stays";
    EXPECT_TRUE(Gui().GetEngineByID(UID::FromName("engine")).id.IsNull());
}

} // namespace vorlan
