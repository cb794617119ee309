// The owner-drawn list under mouse and keyboard.
#include "samplelist.h"

TEST_F(SampleListTest, TheMouseSelects) {
    Click(InCell(3));
    EXPECT_EQ(list->Take(), "+3");
    EXPECT_EQ(list->GetLastSelect(), 3);
    ClickWith(WXK_SHIFT, InCell(6));
    EXPECT_EQ(list->Take(), "+4 +5 +6");
    EXPECT_EQ(list->GetLastSelect(), 3) << "a range does not move its beginning";
    ClickWith(WXK_SHIFT, InCell(2));
    EXPECT_EQ(list->Take(), "-4 -5 -6 +2");
    ClickWith(WXK_CONTROL, InCell(8));
    EXPECT_EQ(list->Take(), "+8");
    ClickWith(WXK_CONTROL, InCell(2));
    EXPECT_EQ(list->Take(), "-2");
    EXPECT_EQ(list->Selected(), "3 8");
    Click(InCell(8));
    EXPECT_EQ(list->Take(), "-3 -8 +8") << "the row clicked is always told";
    Drag(InCell(4), InCell(7));
    EXPECT_EQ(list->Selected(), "4 5 6 7");
    EXPECT_TRUE(list->Take().ends_with("+7")) << "the last word is on the row of the pointer";
    DoubleClick(InCell(4, 1));
    EXPECT_TRUE(list->Take().ends_with("!4"));
}

TEST_F(SampleListTest, ADragBeyondTheRowsScrolls) {
    MoveTo(InCell(2));
    Await(wxEVT_LEFT_DOWN, [&] { hand.MouseDown(); });
    MoveTo(OnScreen(wxPoint(30, list->GetClientSize().y + 40)));
    EXPECT_TRUE(PumpUntil([&] { return list->GetScrollPos(wxVERTICAL) > 10; }));
    MoveTo(InCell(list->GetScrollPos(wxVERTICAL) + 2));
    Await(wxEVT_LEFT_UP, [&] { hand.MouseUp(); });
    std::vector<int> const selected = list->GetSelection();
    ASSERT_GT(selected.size(), 8U);
    EXPECT_EQ(selected.front(), 2);
    EXPECT_EQ(selected.back(), list->GetCurrentRow());
    EXPECT_EQ(selected.size(), static_cast<size_t>(selected.back() - 1));
}

TEST_F(SampleListTest, ARightClickSelectsFirst) {
    Click(InCell(1));
    ClickWith(WXK_CONTROL, InCell(2));
    list->Take();
    for (auto const& [row, heard] : Rows<int, char const*>{{2, "menu2"}, {5, "-1 -2 +5 menu5"}}) {
        Click(InCell(row), wxMOUSE_BTN_RIGHT);
        EXPECT_EQ(list->Take(), heard);
    }
    Key(WXK_F10, wxMOD_SHIFT);
    EXPECT_EQ(list->Take(), "menu5");
    Click(OnScreen(wxPoint(20, 8)), wxMOUSE_BTN_RIGHT);
    EXPECT_EQ(list->Take(), "head menu 0");
}

TEST_F(SampleListTest, TheKeyboardMovesAndSelects) {
    int const page = list->GetRowsPerPage();
    for (auto const& [what, key, modifiers, current, selected] : Rows<char const*, int, int, int, std::string>{
             {"first", WXK_DOWN, wxMOD_NONE, 0, "0"},
             {"down", WXK_DOWN, wxMOD_NONE, 1, "1"},
             {"range", WXK_DOWN, wxMOD_SHIFT, 2, "1 2"},
             {"range turns", WXK_UP, wxMOD_SHIFT, 1, "1"},
             {"range beyond its beginning", WXK_UP, wxMOD_SHIFT, 0, "0 1"},
             {"move only", WXK_DOWN, wxMOD_CONTROL, 1, "0 1"},
             {"and on", WXK_DOWN, wxMOD_CONTROL, 2, "0 1"},
             {"add", WXK_SPACE, wxMOD_CONTROL, 2, "0 1 2"},
             {"page", WXK_PAGEDOWN, wxMOD_NONE, 2 + page, std::to_string(2 + page)},
             {"end", WXK_END, wxMOD_NONE, 299, "299"},
             {"past the end", WXK_DOWN, wxMOD_NONE, 299, "299"},
             {"range of a page", WXK_HOME, wxMOD_NONE, 0, "0"},
             {"past the top", WXK_UP, wxMOD_NONE, 0, "0"},
         }) {
        Key(key, modifiers);
        EXPECT_EQ(list->GetCurrentRow(), current) << what;
        EXPECT_EQ(list->Selected(), selected) << what;
        EXPECT_TRUE(list->GetClientRect().Contains(list->GetRowRect(current))) << what;
    }
    list->Take();
    Key(WXK_RETURN);
    EXPECT_EQ(list->Take(), "!0");
    Key('A', wxMOD_CONTROL);
    EXPECT_EQ(list->GetSelection().size(), 300U);
}

TEST_F(SampleListTest, TypingFindsARow) {
    list->names[7] = "Zebra";
    list->names[9] = "zebu";
    for (char const letter : {'z', 'e', 'b', 'u'})
        Key(letter);
    EXPECT_EQ(list->Selected(), "9");
}

TEST_F(SampleListTest, HeadersAreClickedDraggedAndFitted) {
    Click(OnScreen(wxPoint(40, 8)));
    EXPECT_EQ(list->Take(), "click 0");
    Drag(OnScreen(wxPoint(120, 8)), OnScreen(wxPoint(160, 8)));
    EXPECT_EQ(list->Take(), "drag 0");
    EXPECT_EQ(list->GetColumnWidth(0), 160);
    Drag(OnScreen(wxPoint(160, 8)), OnScreen(wxPoint(2, 8)));
    EXPECT_EQ(list->GetColumnWidth(0), wxDBListCtrl::k_MinColumnWidth) << "it can still be taken";
    list->SetColumnWidth(0, 120);
    list->SetHighlightColumn(0);
    list->Take();
    Drag(OnScreen(wxPoint(40, 8)), OnScreen(wxPoint(190, 8)));
    EXPECT_EQ(list->Take(), "drag 1");
    EXPECT_EQ(list->GetColumnName(0), "Number");
    EXPECT_EQ(list->GetColumnName(1), "Name");
    EXPECT_EQ(list->GetHighlightColumn(), 1) << "the light goes with its column";
    DoubleClick(OnScreen(wxPoint(list->GetCellRect(0, 2).GetRight(), 8)));
    EXPECT_GT(list->GetColumnWidth(2), 200) << "the note is longer than its column was";
    EXPECT_EQ(list->Take(), "drag 2");
}

TEST_F(SampleListTest, TheWheelScrolls) {
    MoveTo(InCell(2));
    wxMouseEvent turn(wxEVT_MOUSEWHEEL);
    turn.m_wheelDelta = 120;
    turn.m_linesPerAction = 3;
    int const height = list->GetRowHeight();
    // top: pixels of the rows that are out of sight
    for (auto const& [rotation, times, wantedTop] :
         Rows<int, int, int>{{-120, 1, 3 * height}, {120, 5, 0}, {-1, 40, height}, {-30'000'000 / height, 100, -1}}) {
        turn.m_wheelRotation = rotation;
        for (int i = 0; i < times; ++i)
            list->GetEventHandler()->ProcessEvent(turn);
        Settle();
        int const top = list->GetHeaderHeight() - list->GetRowRect(0).y;
        EXPECT_EQ(top, wantedTop < 0 ? 300 * height - (list->GetClientSize().y - list->GetHeaderHeight()) : wantedTop);
    }
}

TEST_F(SampleListTest, OnlyWhatLooksDifferentIsDrawn) {
    MoveTo(Frame().ClientToScreen(wxPoint(-10, -10)));
    list->SetCurrentRow(6);
    Settle();
    uint64_t before = list->CountDrawnRows();
    EXPECT_GT(before, 0U);
    for (int i = 0; i < 3; ++i) {
        list->Freeze();
        list->Fill(300);
        list->SetCurrentRow(6);
        list->Redraw();
        list->Thaw();
        Settle();
    }
    EXPECT_EQ(list->CountDrawnRows(), before) << "a rebuild that changes nothing draws nothing";
    list->names[4] = "different";
    list->names[250] = "out of sight";
    list->Redraw();
    Settle();
    EXPECT_EQ(list->CountDrawnRows(), before + 1);
    // One column drawn by itself leaves nothing to be drawn later.
    list->RedrawColumn(1);
    Settle();
    before = list->CountDrawnRows();
    list->Redraw();
    Settle();
    EXPECT_EQ(list->CountDrawnRows(), before);
    list->Select(6);
    Settle();
    EXPECT_EQ(list->CountDrawnRows(), before + 1);
}

TEST_F(SampleListTest, ARebuildKeepsItsPlace) {
    list->SetScrollPos(wxVERTICAL, 100);
    Settle();
    list->Select(120);
    list->SetLastSelect(120);
    Key(WXK_DOWN, wxMOD_SHIFT);
    Key(WXK_DOWN, wxMOD_SHIFT);
    EXPECT_EQ(list->Selected(), "120 121 122");
    int const top = list->GetRowRect(0).y;
    int const position = list->GetScrollPos(wxVERTICAL);
    list->Fill(300);
    for (int row = 120; row <= 122; ++row)
        list->Select(row);
    list->SetLastSelect(120);
    list->SetCurrentRow(122);
    list->SetScrollPos(wxVERTICAL, position, true);
    Settle();
    EXPECT_EQ(list->GetRowRect(0).y, top);
    EXPECT_EQ(list->GetScrollPos(wxVERTICAL), position);
    list->Take();
    Key(WXK_DOWN, wxMOD_SHIFT);
    EXPECT_EQ(list->Take(), "+123") << "a range goes on where it was";
    // Fewer rows than were out of sight.
    list->Fill(10);
    list->SetScrollPos(wxVERTICAL, position, true);
    Settle();
    EXPECT_EQ(list->GetScrollPos(wxVERTICAL), 0);
    EXPECT_EQ(list->GetLastSelect(), -1);
    EXPECT_EQ(list->GetCurrentRow(), -1);
}

TEST_F(SampleListTest, SelectionGoesWithItsRows) {
    list->Select(2);
    list->Select(5);
    list->Take();
    list->names.insert(list->names.begin() + 3, "new");
    list->Insert(3);
    EXPECT_EQ(list->Selected(), "2 6");
    list->names.erase(list->names.begin());
    list->Remove(0);
    EXPECT_EQ(list->Selected(), "1 5");
    EXPECT_EQ(list->GetLastSelect(), 5);
    list->names.erase(list->names.begin() + 5);
    list->Remove(5);
    EXPECT_EQ(list->Selected(), "1");
    EXPECT_EQ(list->GetLastSelect(), -1);
    EXPECT_EQ(list->Take(), "") << "rows that come and go are no choice of anybody";
    list->Remove(-1);
    list->Remove(300);
    list->Select(-1);
    list->Select(4711);
    EXPECT_EQ(list->GetItemCount(), 299);
}

TEST_F(SampleListTest, ItStandsItsOwnListeners) {
    // Who hears of a row may empty the list, or fill it with fewer rows.
    for (int const left : {0, 2}) {
        list->Fill(300);
        Settle();
        Click(InCell(1));
        list->onEvent = [&] {
            list->onEvent = nullptr;
            list->Fill(left);
        };
        Drag(InCell(5), InCell(9));
        list->onEvent = nullptr;
        EXPECT_EQ(list->GetItemCount(), left);
        Key(WXK_END, wxMOD_SHIFT);
        Key(WXK_PAGEDOWN);
    }
}

TEST_F(SampleListTest, AnOverlayCoversItsCellAndGoesWithIt) {
    auto* const edit = new wxTextCtrl(list, wxID_ANY);
    list->Overlay(edit, 4, 1);
    list->SetColumnWidth(0, 200);
    for (int const place : {0, 2, 100}) {
        list->SetScrollPos(wxVERTICAL, place);
        Settle();
        if (place < 4) {
            EXPECT_EQ(edit->GetRect(), list->GetCellRect(4, 1)) << place;
        }
    }
    EXPECT_FALSE(list->GetClientRect().Intersects(edit->GetRect()));
    list->HideOverlay();
    EXPECT_EQ(list->GetOverlay(), nullptr);
    EXPECT_TRUE(PumpUntil([this] { return list->GetChildren().empty(); }));
}

TEST_F(SampleListTest, AClippedCellTellsItsText) {
    MoveTo(InCell(3, 2));
    EXPECT_EQ(list->GetToolTipText(), "A note that is longer than its column is");
    MoveTo(InCell(3, 0));
    EXPECT_EQ(list->GetToolTipText(), "");
    MoveTo(InCell(4, 2));
    list->SetColumnWidth(2, 400);
    MoveTo(InCell(5, 2));
    EXPECT_EQ(list->GetToolTipText(), "");
}

struct SingleListTest : SampleListTest {
    SingleListTest() : SampleListTest(wxLC_SINGLE_SEL | wxLC_NO_HEADER) {}
};

TEST_F(SingleListTest, HasOneRowSelectedAtMost) {
    EXPECT_EQ(list->GetHeaderHeight(), 0);
    Click(InCell(2));
    ClickWith(WXK_SHIFT, InCell(5));
    EXPECT_EQ(list->Selected(), "5");
    ClickWith(WXK_CONTROL, InCell(7));
    EXPECT_EQ(list->Selected(), "7");
    ClickWith(WXK_CONTROL, InCell(7));
    EXPECT_EQ(list->Selected(), "");
    Drag(InCell(1), InCell(4));
    EXPECT_EQ(list->Selected(), "1");
    Key('A', wxMOD_CONTROL);
    list->Select(9);
    EXPECT_EQ(list->Selected(), "9");
}

class MirroredListTest : public SampleListTest {};

TEST_F(MirroredListTest, ReadsFromTheRight) {
    list->SetLayoutDirection(wxLayout_RightToLeft);
    Settle();
    // The first column is at the right end now, and so are the texts' beginnings.
    int const middle = Frame().GetScreenRect().x + Frame().GetSize().x / 2;
    wxPoint const row = InCell(3);
    EXPECT_GT(row.x, middle);
    Click(row);
    EXPECT_EQ(list->Take(), "+3");
    wxPoint const head = OnScreen(wxPoint(list->GetCellRect(0, 1).x + 20, 8));
    EXPECT_LT(head.x, row.x);
    Click(head);
    EXPECT_EQ(list->Take(), "click 1");
    Drag(OnScreen(wxPoint(120, 8)), OnScreen(wxPoint(160, 8)));
    EXPECT_EQ(list->GetColumnWidth(0), 160);
}
