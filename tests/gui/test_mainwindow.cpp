// The main window's parts: splitter, menus, bars.
#include "guitest.h"
#include "screenpixels.h"

#include "rows/jobcolumns.h"
#include "window/infofacts.h"
#include "window/toolbar.h"

#include <wx/splitter.h>
#include <wx/wxdblistctrl.h>
#include <wx/wxvstatusbar.h>

namespace vorlan {

struct MainWindowTest : GuiTest {
    MainWindowTest() { HasRunBefore(); }
    void StartLarge() {
        StartClient().SetSize(1100, 700);
        outside.connected = true;
        EXPECT_TRUE(PumpUntil([this] { return Window().GetClientSize().x > 1000; }));
        Connected();
        EXPECT_TRUE(PumpUntil([this] { return Splitter().IsShownOnScreen() && Splitter().GetClientSize().x > 1000; }));
        Pump();
    }
    bool PartIs(double part) {
        return PumpUntil([=, this] { return std::abs(Part() - part) < 0.01; }, 3000);
    }
    void Menu(wxEventType type, wxMenu* menu) {
        wxMenuEvent event(type, 0, menu);
        Window().GetEventHandler()->ProcessEvent(event);
    }
    wxSplitterWindow& Splitter() { return FindPart<wxSplitterWindow>(Window(), "MainSplitter"); }
    double Part() { return static_cast<double>(Splitter().GetSashPosition()) / Splitter().GetClientSize().x; }
    bool Has(char const* label) { return Window().GetMenuBar()->GetMenu(0)->FindItem(label) != wxNOT_FOUND; }
};

TEST_F(MainWindowTest, TheSashStandsWhereItWasLeft) {
    Rows<char const*, double> const cases = {{"nothing", 0.75}, {"1.5", 0.75}, {"0", 0.75}, {"-1", 0.75}, {"0.4", 0.4}};
    for (auto const& [stored, part] : cases) {
        Options().ClearKey("Window", "Splitter");
        if (String(stored) != "nothing")
            Options().SetValue("Window", "Splitter", stored);
        StartLarge();
        EXPECT_TRUE(PartIs(part)) << Part() << " of " << Splitter().GetClientSize().x << " with " << stored;
        // A larger window is no wish of the user.
        Window().SetSize(1300, 700);
        ASSERT_TRUE(PumpUntil([this] { return Splitter().GetClientSize().x > 1200; }));
        EXPECT_EQ(Options().GetValue("Window", "Splitter", String("nothing")), stored);
        Window().Destroy();
        ASSERT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    }
}

TEST_F(MainWindowTest, TheInfoPaneComesAndGoes) {
    Options().SetValue("Window", "InfoPane", false);
    StartLarge();
    EXPECT_FALSE(Splitter().IsSplit());
    EXPECT_FALSE(Window().GetMenuBar()->IsChecked(14101));
    // The window manager may still be giving the window its size: half of that is the views'.
    int const width = Splitter().GetClientSize().x;
    Command(14101, true);
    EXPECT_TRUE(Splitter().IsSplit());
    EXPECT_TRUE(PumpUntil(
        [&] {
            int const now = Splitter().GetClientSize().x;
            return now > 1000 && std::abs(Splitter().GetSashPosition() - (width * 0.75 + (now - width) * 0.5)) < 3;
        },
        3000))
        << Part() << " of " << Splitter().GetClientSize().x << ", begun at " << width;
    EXPECT_TRUE(Window().Toolbar()->Find(14104)->IsToggled());
    // By its sash.
    wxSplitterEvent event(wxEVT_SPLITTER_UNSPLIT, &Splitter());
    Splitter().GetEventHandler()->ProcessEvent(event);
    EXPECT_FALSE(Options().GetValue("Window", "InfoPane", true));
    EXPECT_FALSE(Window().GetMenuBar()->IsChecked(14101));
    EXPECT_FALSE(Window().Toolbar()->Find(14104)->IsToggled());
    EXPECT_FALSE(Splitter().IsSplit());
}

TEST_F(MainWindowTest, BarsAreShownAsToldAndOnlyTheToolbarRemembers) {
    Options().SetValue("Window", "Toolbar", false);
    StartLarge();
    EXPECT_FALSE(Window().Toolbar()->IsShown());
    Command(14102, true);
    EXPECT_TRUE(Window().Toolbar()->IsShown());
    EXPECT_TRUE(Options().GetValue("Window", "Toolbar", false));
    Command(14103, false);
    EXPECT_FALSE(Window().GetStatusBar()->IsShown());
    EXPECT_FALSE(Options().HasKey("Window", "StatusBar"));
    Window().BuildMenus(true);
    EXPECT_FALSE(Window().GetMenuBar()->IsChecked(14103));
}

TEST_F(MainWindowTest, RestrictionsChangeTheMenusAtOnce) {
    StartLarge();
    EXPECT_TRUE(Has("Components"));
    Say<SetMasterRestrictionsMsg>(CommandRestrictions{{"core process CONTROL", true}});
    // Not under the hand of somebody who has a menu open.
    wxMenu* const menu = Window().GetMenuBar()->GetMenu(0);
    Menu(wxEVT_MENU_OPEN, menu);
    Pump();
    EXPECT_EQ(Window().GetMenuBar()->GetMenu(0), menu);
    Window().SetStatusText("what an item does");
    Gui().UpdateStatusBar();
    EXPECT_EQ(Window().GetStatusBar()->GetStatusText(), "what an item does");
    Menu(wxEVT_MENU_CLOSE, menu);
    EXPECT_NE(Window().GetStatusBar()->GetStatusText(), "what an item does");
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
    StartLarge();
    wxMenuBar& bar = *Window().GetMenuBar();
    EXPECT_TRUE(bar.IsChecked(14000));
    Command(14099, true); // the last one at most
    EXPECT_TRUE(PumpUntil([&] { return bar.IsChecked(14001); }));
    EXPECT_FALSE(bar.IsChecked(14000));
    EXPECT_EQ(Options().GetValue("Window", "View", 0), 1);
    bar.Check(14001, false);
    Command(14001, false);
    EXPECT_TRUE(bar.IsChecked(14001)) << "it is in front still";
    wxMenu& view = *bar.GetMenu(static_cast<size_t>(bar.FindMenu("View")));
    auto const windows = [&] {
        Menu(wxEVT_MENU_OPEN, &view);
        Menu(wxEVT_MENU_CLOSE, &view);
        return view.FindItem(14115)->GetSubMenu()->GetMenuItemCount();
    };
    EXPECT_EQ(windows(), 0u);
    EXPECT_FALSE(view.IsEnabled(14115));
    wxCommandEvent report(wxEVT_MENU, k_IdShowReport);
    report.SetString("Dispatch Report|a line|and another");
    Window().GetEventHandler()->ProcessEvent(report);
    ASSERT_EQ(windows(), 1u);
    EXPECT_EQ(view.FindItem(14115)->GetSubMenu()->FindItemByPosition(0)->GetItemLabelText(), "Dispatch Report");
    EXPECT_TRUE(view.IsEnabled(14115));
}

TEST_F(MainWindowTest, AnybodyCanAskWhatTheMasterWants) {
    EXPECT_TRUE(IsRestricted("Change Job")) << "nobody may do anything without a window";
    EXPECT_EQ(MainWindow::DefaultCreator(), "");
    EXPECT_EQ(MainWindow::_GetMasterOption(o_CreatorMode), "");
    StartClient();
    EXPECT_FALSE(IsRestricted("Change Job"));
    String const user = corekit::Platform::GetCurrentUserName();
    for (auto const& [mode, name] : {std::pair("", user), std::pair("1", Application::GetMachineName()),
                                     std::pair("2", corekit::Platform::GetUserAtMachine()), std::pair("x", user)}) {
        Window().Master().MergeOptions({{o_CreatorMode, mode}});
        EXPECT_EQ(MainWindow::DefaultCreator(), name) << mode;
        EXPECT_EQ(MainWindow::_GetMasterOption("creatormode"), mode);
    }
}

TEST_F(MainWindowTest, FactsLeaveOutWhatIsNotThere) {
    InfoFacts const facts = FactsOf(JobInfo(NewJob("beauty", Paused)), Time::CurrentTime());
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
    StartLarge();
    UID const id = AddEngine("rack7", true);
    InfoPane& pane = *Window().Info();
    pane.SetToEngine(EngineList::Get().FindEngine(id));
    EXPECT_EQ(pane.Facts().state, "Enabled");
    AddEngine("rack7", false);
    EXPECT_TRUE(PumpUntil([&] { return pane.Facts().state == "Disabled"; }));
    Window().ClearData();
    EXPECT_EQ(pane.Facts(), InfoFacts());
}

TEST_F(MainWindowTest, TheInfoPaneSaysWhatTheListsSay) {
    StartLarge();
    auto const job = NewJob("beauty");
    job->SetParameter(p_PercentDone, "4.07");
    EXPECT_EQ(FactsOf(JobInfo(job), Time()).facts[0].value, ProgressBarText(4.07F));
    InfoPane& pane = *Window().Info();
    auto const unit = Unit("7", AddJob("beauty")->job->id);
    Assign(unit, AddEngine("rack7", true));
    pane.SetToWork(WorkList::Get().FindWork(unit->id));
    Say<FinishedWorkMsg>(unit->id, int{Finished});
    EXPECT_TRUE(PumpUntil([&] { return pane.Facts().stateColor == ColorName::TextBlue; }));
}

TEST_F(MainWindowTest, ANarrowInfoPaneBreaksNoWordAndScrolls) {
    StartLarge();
    InfoPane& pane = *Window().Info();
    pane.SetToEngine(EngineList::Get().FindEngine(AddEngine("rack7", true)));
    for (int const width : {300, 150}) {
        pane.SetSize(width, 100);
        for (size_t i = 0; i < pane.Facts().facts.size(); ++i)
            EXPECT_EQ(wxJoin(pane.LinesOf(i), ' ', '\0'), wxvText(pane.Facts().facts[i].value)) << width;
    }
    EXPECT_GT(pane.GetVirtualSize().y, pane.GetClientSize().y);
}

TEST_F(MainWindowTest, AFieldWithoutATextLendsItsRoom) {
    StartLarge();
    auto& bar = dynamic_cast<wxvStatusBar&>(*Window().GetStatusBar());
    int const alone = bar.RoomOf(0);
    Window().SetAdministrator(true);
    EXPECT_LT(bar.RoomOf(0) + 100, alone);
}

TEST_F(MainWindowTest, TheKeyboardIsSeenWhereverItStops) {
    StartLarge();
    // A list whose rows are on their way keeps its picture.
    EngineList::Get().Lists().ForgetRequests();
    JobList::Get().Lists().ForgetRequests();
    Say<EndEngineInfoMsg>([](auto&) {});
    Say<EndJobInfoMsg>([](auto&) {});
    wxTimed::s_Timer0250.Emit();
    std::vector<wxWindow*> stops;
    std::function<void(wxWindow&)> const look = [&](wxWindow& window) {
        bool const isList = dynamic_cast<wxDBListCtrl*>(&window);
        for (wxWindow* const child : window.GetChildren())
            look(*child);
        if (window.IsShownOnScreen() && window.AcceptsFocusFromKeyboard() && (isList || window.GetChildren().empty()))
            stops.push_back(&window);
    };
    look(Window());
    EXPECT_GE(stops.size(), 3u) << "the tabs and two lists";
    for (size_t i = 0; i < stops.size(); ++i) {
        wxWindow& stop = *stops[i];
        stops[(i + 1) % stops.size()]->SetFocus();
        PumpAndDraw(stop);
        wxImage const without = ScreenPixels(stop);
        stop.SetFocus();
        EXPECT_TRUE(PumpUntil([&] { return stop.HasFocus(); }));
        EXPECT_TRUE(PumpUntil(
            [&] {
                PumpAndDraw(stop);
                wxImage const with = ScreenPixels(stop);
                size_t const bytes = static_cast<size_t>(with.GetWidth()) * static_cast<size_t>(with.GetHeight()) * 3;
                return std::memcmp(with.GetData(), without.GetData(), bytes) != 0;
            },
            3000))
            << stop.GetName() << " " << stop.GetClassInfo()->GetClassName();
    }
}

} // namespace vorlan
