// The main window's parts: splitter, menus, bars.
#include "guitest.h"

#include "window/infofacts.h"
#include "window/infopane.h"
#include "window/toolbar.h"
#include "window/toolbarbutton.h"

#include <corekit/platform.h>
#include <vorlan/keys.h>
#include <wx/menu.h>
#include <wx/splitter.h>
#include <wx/statusbr.h>
#include <wx/wxvcolors.h>

namespace vorlan {

class MainWindowTest : public GuiTest {
protected:
    MainWindowTest() { HasRunBefore(); }

    MainWindow& StartConnected() {
        StartClient().SetSize(1100, 700);
        outside.connected = true;
        EXPECT_TRUE(PumpUntil([this] { return Window().GetClientSize().x > 1000; }));
        GuiTester::Connected(Gui());
        EXPECT_TRUE(PumpUntil([this] { return Splitter().IsShownOnScreen() && Splitter().GetClientSize().x > 1000; }));
        Pump();
        return Window();
    }
    wxSplitterWindow& Splitter() { return GuiTester::Splitter(Window()); }
    double Part() { return static_cast<double>(Splitter().GetSashPosition()) / Splitter().GetClientSize().x; }
    void Command(int id, bool checked) {
        wxCommandEvent event(wxEVT_MENU, id);
        event.SetInt(checked);
        Window().GetEventHandler()->ProcessEvent(event);
    }
    static boost::shared_ptr<Job> NewJob(char const* name) {
        auto job = boost::make_shared<Job>(UID::FromName(name));
        job->SetName(name);
        job->SetStatus(Paused);
        return job;
    }
    static UID AddEngine(char const* name, bool enabled) {
        Engine engine(UID::FromName(name));
        engine.SetEnabled(enabled);
        engine.SetOnline(true);
        EngineList::Get().InsertEngine(engine);
        return engine.id;
    }
    bool Has(char const* label) { return Window().GetMenuBar()->GetMenu(0)->FindItem(label) != wxNOT_FOUND; }
};

TEST_F(MainWindowTest, TheSashStandsWhereItWasLeft) {
    struct Case {
        char const* stored; // null: nothing
        double part;
    };
    for (Case const& c :
         {Case{nullptr, 0.75}, Case{"1.5", 0.75}, Case{"0", 0.75}, Case{"-1", 0.75}, Case{"0.4", 0.4}}) {
        Options().ClearKey("Window", "Splitter");
        if (c.stored)
            Options().SetValue("Window", "Splitter", c.stored);
        StartConnected();
        EXPECT_TRUE(PumpUntil([&] { return std::abs(Part() - c.part) < 0.01; }, 3000))
            << Part() << " of " << Splitter().GetClientSize().x << " with " << (c.stored ? c.stored : "nothing");
        // A larger window is no wish of the user.
        Window().SetSize(1300, 700);
        ASSERT_TRUE(PumpUntil([this] { return Splitter().GetClientSize().x > 1200; }));
        EXPECT_EQ(Options().GetValue("Window", "Splitter", String("nothing")), c.stored ? c.stored : "nothing");
        Window().Destroy();
        ASSERT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    }
}

TEST_F(MainWindowTest, TheInfoPaneComesAndGoes) {
    Options().SetValue("Window", "InfoPane", false);
    StartConnected();
    EXPECT_FALSE(Splitter().IsSplit());
    EXPECT_FALSE(Window().GetMenuBar()->IsChecked(14101));
    Command(14101, true);
    EXPECT_TRUE(Splitter().IsSplit());
    EXPECT_NEAR(Part(), 0.75, 0.01);
    EXPECT_TRUE(GuiTester::Toolbar(Window()).Find(14104)->IsToggled());
    // By its sash.
    wxSplitterEvent event(wxEVT_SPLITTER_UNSPLIT, &Splitter());
    Splitter().GetEventHandler()->ProcessEvent(event);
    EXPECT_FALSE(Options().GetValue("Window", "InfoPane", true));
    EXPECT_FALSE(Window().GetMenuBar()->IsChecked(14101));
    EXPECT_FALSE(GuiTester::Toolbar(Window()).Find(14104)->IsToggled());
    EXPECT_FALSE(Splitter().IsSplit());
}

TEST_F(MainWindowTest, BarsAreShownAsToldAndOnlyTheToolbarRemembers) {
    Options().SetValue("Window", "Toolbar", false);
    StartConnected();
    EXPECT_FALSE(GuiTester::Toolbar(Window()).IsShown());
    Command(14102, true);
    EXPECT_TRUE(GuiTester::Toolbar(Window()).IsShown());
    EXPECT_TRUE(Options().GetValue("Window", "Toolbar", false));
    Command(14103, false);
    EXPECT_FALSE(Window().GetStatusBar()->IsShown());
    EXPECT_FALSE(Options().HasKey("Window", "StatusBar"));
    Window().BuildMenus(true);
    EXPECT_FALSE(Window().GetMenuBar()->IsChecked(14103));
}

TEST_F(MainWindowTest, RestrictionsChangeTheMenusAtOnce) {
    StartConnected();
    EXPECT_TRUE(Has("Components"));
    auto message = SetMasterRestrictionsMsg::New();
    message->restrictions["core process CONTROL"] = true;
    SetMasterRestrictionsMsg::s_Signal.Emit(message);
    // Not under the hand of somebody who has a menu open.
    wxMenu* const menu = Window().GetMenuBar()->GetMenu(0);
    wxMenuEvent open(wxEVT_MENU_OPEN, 0, menu);
    Window().GetEventHandler()->ProcessEvent(open);
    Pump();
    EXPECT_EQ(Window().GetMenuBar()->GetMenu(0), menu);
    wxMenuEvent close(wxEVT_MENU_CLOSE, 0, menu);
    Window().GetEventHandler()->ProcessEvent(close);
    ASSERT_TRUE(PumpUntil([this] { return !Has("Components"); }));
    Window().SetAdministrator(true);
    EXPECT_TRUE(Has("Components"));
    EXPECT_TRUE(Window().GetTitle().EndsWith(" [ Administrator Mode ]"));
    EXPECT_EQ(Window().GetStatusBar()->GetStatusText(1), "Administrator Mode");
    Window().ShowView(MainWindow::k_ViewEngineMode);
    EXPECT_TRUE(Window().GetTitle().EndsWith(" [ Engine Mode ]"));
    Window().ShowView(MainWindow::k_ViewSearching);
    EXPECT_EQ(Window().ShownView(), MainWindow::k_ViewEngineMode);
    Window().ShowView(17);
    EXPECT_EQ(Window().ShownView(), MainWindow::k_ViewEngineMode);
}

TEST_F(MainWindowTest, TheViewMenuNamesTabsAndOpenWindows) {
    StartConnected();
    wxMenuBar& bar = *Window().GetMenuBar();
    EXPECT_TRUE(bar.IsChecked(14000));
    Command(14099, true); // the last one at most
    EXPECT_TRUE(PumpUntil([&] { return bar.IsChecked(14001); }));
    EXPECT_FALSE(bar.IsChecked(14000));
    EXPECT_EQ(Options().GetValue("Window", "View", 0), 1);

    wxMenu& view = *bar.GetMenu(static_cast<size_t>(bar.FindMenu("View")));
    auto const windows = [&] {
        wxMenuEvent open(wxEVT_MENU_OPEN, 0, &view);
        Window().GetEventHandler()->ProcessEvent(open);
        wxMenuEvent close(wxEVT_MENU_CLOSE, 0, &view);
        Window().GetEventHandler()->ProcessEvent(close);
        return view.FindItem(14115)->GetSubMenu()->GetMenuItemCount();
    };
    EXPECT_EQ(windows(), 0u);
    EXPECT_FALSE(view.IsEnabled(14115));
    wxCommandEvent report(wxEVT_MENU, MainWindow::k_IdShowReport);
    report.SetString("Dispatch Report|a line|and another");
    Window().GetEventHandler()->ProcessEvent(report);
    ASSERT_EQ(windows(), 1u);
    EXPECT_EQ(view.FindItem(14115)->GetSubMenu()->FindItemByPosition(0)->GetItemLabelText(), "Dispatch Report");
    EXPECT_TRUE(view.IsEnabled(14115));
}

TEST_F(MainWindowTest, AnybodyCanAskWhatTheMasterWants) {
    EXPECT_TRUE(IsRestricted("Change Job")) << "nobody may do anything without a window";
    EXPECT_EQ(MainWindow::_GetUserName(), "");
    EXPECT_EQ(MainWindow::_GetMasterOption(o_CreatorMode), "");
    StartClient();
    EXPECT_FALSE(IsRestricted("Change Job"));
    struct Case {
        char const* mode;
        String name;
    };
    for (Case const& c :
         {Case{"", corekit::Platform::GetCurrentUserName()}, Case{"1", Application::GetMachineName()},
          Case{"2", corekit::Platform::GetUserAtMachine()}, Case{"x", corekit::Platform::GetCurrentUserName()}}) {
        Window().Master().MergeOptions({{o_CreatorMode, c.mode}});
        EXPECT_EQ(MainWindow::_GetUserName(), c.name) << c.mode;
        EXPECT_EQ(MainWindow::_GetMasterOption("creatormode"), c.mode);
    }
}

TEST_F(MainWindowTest, OthersHearOfIdleTime) {
    struct Listener : HasSlots<ThreadPolicy::SingleThreaded> {
        void OnIdle(wxIdleEvent&) { ++times; }
        int times = 0;
    } listener;
    MainWindow::s_Idle.Connect(&listener, &Listener::OnIdle);
    StartClient();
    GuiTester::Idle(Window());
    EXPECT_GE(listener.times, 1);
}

TEST_F(MainWindowTest, FactsLeaveOutWhatIsNotThere) {
    auto const info = boost::make_shared<JobInfo>(NewJob("beauty"));
    InfoFacts const facts = FactsOf(*info, Time::CurrentTime());
    EXPECT_EQ(facts.heading, "beauty");
    EXPECT_EQ(facts.state, "Paused");
    EXPECT_EQ(facts.stateColor, ColorName::TextGrey);
    for (auto const& fact : facts.facts) {
        EXPECT_FALSE(fact.value.Empty()) << fact.name;
        EXPECT_NE(String(fact.name), "Note");
        EXPECT_NE(String(fact.name), "Depends");
    }
    EXPECT_EQ(FactsOf(JobInfo(), Time::CurrentTime()), InfoFacts());
}

TEST_F(MainWindowTest, TheInfoPaneKeepsUp) {
    StartConnected();
    UID const id = AddEngine("rack7", true);
    InfoPane& pane = *Window().Info();
    pane.SetToEngine(EngineList::Get().FindEngine(id));
    EXPECT_EQ(pane.Facts().state, "Enabled");
    AddEngine("rack7", false);
    EXPECT_TRUE(PumpUntil([&] { return pane.Facts().state == "Disabled"; }));
    Window().ClearData();
    EXPECT_EQ(pane.Facts(), InfoFacts());
}

} // namespace vorlan
