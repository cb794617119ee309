// Selections: storms of row events, and the way back.
#include "guitest.h"

#include "window/selecthistory.h"

#include <wx/timer.h>

namespace vorlan::test_selection {

UID Anchor(int number) { return UID::FromName(std::to_string(number)); }
bool IsAny(UID const&) { return true; }
TEST(PendingSelection, FollowsTheLastOfAStorm) {
    struct Step {
        int list, row; // what stands in the row
        bool selected;
    };
    // Whether the last one counts, and what stands then.
    Rows<char const*, std::vector<Step>, bool, int, int> const cases = {
        {"the last row of many", {{2600, 3, true}, {2600, 4, true}, {2600, 5, true}}, true, 2600, 5},
        {"the one before is next", {{2600, 3, true}, {2600, 4, true}, {2600, 4, false}}, true, 2600, 3},
        {"the only row goes", {{2600, 3, true}, {2600, 3, false}}, true, 2600, -1},
        {"a row that was never noted goes", {{2600, 3, true}, {2600, 9, false}}, true, 2600, 3},
        {"another list begins anew", {{2600, 3, true}, {2501, 7, true}}, true, 2501, 7},
        {"another list gives up a row", {{2600, 3, true}, {2501, 3, false}}, false, 2600, 3},
        {"a row twice, out once", {{2600, 3, true}, {2600, 4, true}, {2600, 3, true}, {2600, 3, false}}, true, 2600, 4},
    };
    for (auto const& [name, steps, wantedCounts, list, row] : cases) {
        PendingSelection pending;
        bool counts = false;
        for (Step const& step : steps)
            counts = pending.Note(step.list, Anchor(step.row), step.selected);
        EXPECT_EQ(counts, wantedCounts) << name;
        EXPECT_EQ(pending.List(), list) << name;
        EXPECT_EQ(pending.Last(IsAny), row < 0 ? UID::Null : Anchor(row)) << name;
    }
}

// All rows of a long list, and then none of them, in any order.
TEST(PendingSelection, TakesALongListInNoTime) {
    constexpr int k_Rows = 200'000;
    std::vector<UID> ids(k_Rows);
    for (UID& id : ids)
        id = UID(true);
    PendingSelection pending;
    auto const begin = std::chrono::steady_clock::now();
    for (bool const selected : {true, false}) {
        for (UID const& id : ids)
            pending.Note(2600, id, selected);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_TRUE(pending.Last(IsAny).IsNull());
}

void Push(SelectHistory& history, int number, std::set<UID> const& selected = {}) {
    history.Push(k_ListOfJobs, 2600, Anchor(number), selected);
}

// "p" pushes the next number, "<" and ">" go there. The anchors that were reached.
std::string Walk(SelectHistory& history, std::string const& steps) {
    std::string reached;
    int next = 1;
    for (char const step : steps) {
        if (step == 'p') {
            Push(history, next++);
            continue;
        }
        SelectHistoryEntry const* const entry = step == '<' ? history.GoToFormer() : history.GoToLater();
        int number = 1;
        while (entry && entry->anchor != Anchor(number))
            ++number;
        reached += entry ? std::to_string(number) : "-";
    }
    return reached;
}

TEST(SelectHistory, GoesBackAndForth) {
    for (auto const& [steps, reached, size, former, later] : Rows<char const*, char const*, size_t, bool, bool>{
             {"", "", 0, false, false},
             {"<>", "--", 0, false, false},
             {"p<>", "--", 1, false, false},
             {"ppp<<<", "21-", 3, false, true},
             {"ppp<<>>>", "2123-", 3, true, false},
             // What lay ahead is gone.
             {"ppp<<p<", "211", 2, false, true},
             {"ppp<p>", "2-", 3, true, false},
         }) {
        SelectHistory history;
        EXPECT_EQ(Walk(history, steps), reached) << steps;
        EXPECT_EQ(history.Size(), size) << steps;
        EXPECT_EQ(history.HasFormer(), former) << steps;
        EXPECT_EQ(history.HasLater(), later) << steps;
    }
}

TEST(SelectHistory, ForgetsTheOldest) {
    SelectHistory history;
    for (int i = 0; i < 9000; ++i)
        Push(history, i);
    EXPECT_EQ(history.Size(), 8191u);
    SelectHistoryEntry const* entry = nullptr;
    size_t steps = 0;
    while (SelectHistoryEntry const* const former = history.GoToFormer()) {
        entry = former;
        ++steps;
    }
    EXPECT_EQ(steps, 8190u);
    EXPECT_EQ(entry->anchor, Anchor(9000 - 8191));
}

// All rows of a long list, again and again.
TEST(SelectHistory, KeepsLongSelectionsOnce) {
    std::set<UID> all;
    for (int i = 0; i < 50'000; ++i)
        all.insert(UID(true));
    SelectHistory history;
    for (int i = 0; i < 100; ++i) {
        Push(history, i, all);
        Push(history, i, {Anchor(0)});
    }
    EXPECT_EQ(history.Size(), 200u);
    EXPECT_EQ(history.KeptIDs(), all.size() + 1);
    // Each another one: the oldest go, what was shared by many as well.
    for (int i = 0; i < 60; ++i) {
        all.erase(all.begin());
        Push(history, i, all);
    }
    EXPECT_LE(history.KeptIDs(), SelectHistory::k_MostIDs);
    EXPECT_LT(history.Size(), 60u);
    EXPECT_EQ(history.GoToFormer()->Selected().size(), all.size() + 1);
}

// Jobs and Engines in the lists of the window.
struct SelectionTest : GuiTest {
    SelectionTest() {
        HasRunBefore();
        StartConnected().SetSize(1100, 800);
        for (char const* name : {"a", "b", "c"})
            AddJob(name);
        AddEngine("rack");
        EXPECT_TRUE(PumpUntil([this] { return Jobs().GetItemCount() == 3; }));
        Engines().Update();
    }
    ListCtrlBase& Jobs() { return List(2600); }
    ListCtrlBase& Engines() { return List(2502); }
    String Shown() { return Window().Info()->Facts().heading; }
    bool Shows(char const* heading) {
        return PumpUntil([=, this] { return Shown() == heading; }, 3000);
    }
    int Row(char const* job) { return Jobs().GetRowOf(UID::FromName(job)); }
    bool Enabled(int id) { return Window().GetMenuBar()->IsEnabled(id); }
    void Back() { Command(14105); }
    void On() { Command(14106); }
    size_t Rows(ListCtrlBase& list) { return list.GetSelectedIDs().size(); }
};

TEST_F(SelectionTest, TheInfoPaneFollowsTheLastRow) {
    Jobs().Select(Row("a"));
    Jobs().Select(Row("b"));
    Jobs().Select(Row("c"));
    EXPECT_EQ(Shown(), "") << "before the rows have come to rest";
    ASSERT_TRUE(Shows("c"));
    EXPECT_FALSE(Enabled(14105)) << "three rows are one selection";
    Jobs().Select(Row("c"), 0);
    ASSERT_TRUE(Shows("b"));
    Jobs().DeselectAll();
    ASSERT_TRUE(Shows(""));
}

TEST_F(SelectionTest, OneListAtATimeHoldsASelectionAndTheWayBackBringsItAgain) {
    Jobs().Select(Row("a"));
    Jobs().Select(Row("b"));
    ASSERT_TRUE(Shows("b"));
    Engines().Select(0);
    ASSERT_TRUE(Shows("rack"));
    EXPECT_EQ(Rows(Jobs()), 0u);
    EXPECT_TRUE(Window().CanUse(CommandNeeds::EngineSelected));
    EXPECT_FALSE(Window().CanUse(CommandNeeds::JobSelected));
    wxKeyEvent key(wxEVT_CHAR_HOOK);
    key.m_keyCode = WXK_LEFT;
    key.SetControlDown(true);
    Window().HandleWindowEvent(key);
    EXPECT_EQ(Shown(), "b");
    EXPECT_EQ(Rows(Jobs()), 2u);
    EXPECT_EQ(Rows(Engines()), 0u);
    EXPECT_FALSE(Enabled(14105));
    EXPECT_TRUE(Enabled(14106));
    Back();
    EXPECT_EQ(Shown(), "b");
    On();
    EXPECT_EQ(Shown(), "rack");
    EXPECT_FALSE(Enabled(14106));
    // A Job that has gone leaves the pane as it is.
    Command(14000);
    JobList::Get().RemoveJob(UID::FromName("b"));
    ASSERT_TRUE(PumpUntil([this] { return Jobs().GetItemCount() == 2; }));
    Back();
    EXPECT_EQ(Shown(), "rack");
    EXPECT_EQ(Rows(Jobs()), 1u);
}

TEST_F(SelectionTest, ThePaneFollowsTheJobsWhenTheirRowsMove) {
    auto const rename = [this](char const* job, char const* name) {
        JobList::Get().UpdateJob(UID::FromName(job), p_Name, name);
        Jobs().Update();
    };
    // Sorted anew before the pane has heard of it.
    Jobs().Select(Row("a"));
    rename("a", "x");
    ASSERT_TRUE(Shows("x"));
    rename("a", "a");
    Jobs().Select(Row("a"), 0);
    ASSERT_TRUE(Shows("")) << "not its neighbour";
    // What has been brought back by other ways counts, too.
    Jobs().Select(Row("b"));
    ASSERT_TRUE(Shows("b"));
    Jobs().SetSelectedIDs({UID::FromName("c")}, UID::FromName("c"));
    Jobs().Select(Row("c"), 0);
    EXPECT_TRUE(Shows("")) << "b is not selected any more";
}

TEST_F(SelectionTest, ItCountsAsActivityAndNotOutsideTheViews) {
    outside.masterInfo = MasterInfoMsg::New();
    outside.masterInfo->idleTimeout = 5;
    outside.started.insert(k_ComponentEngine);
    Time const before = Window().IdleTimeout()->Expires();
    Jobs().Select(Row("a"));
    EXPECT_TRUE(PumpUntil([&] { return Window().IdleTimeout()->Expires() > before; }, 3000));
    // A change of the area takes the timer away.
    Jobs().Select(Row("b"));
    Window().ShowView(MainWindow::k_ViewConnecting);
    wxTimer timer(&Window());
    wxTimerEvent late(timer);
    Window().OnDeselectTimeout(late);
    EXPECT_EQ(Shown(), "a");
}

} // namespace vorlan::test_selection
