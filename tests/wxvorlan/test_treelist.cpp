#include "wxtools.h"

#include <wx/wxdbtreelistctrl.h>

namespace test_treelist {

using corekit::String;
using Item = wxDBTreeListItem;

String CellText(wxDBTreeListCtrl&, Item const& item, int column) {
    return column == 0 ? item.GetId() : "cell " + String::From(column);
}

struct Tree : wxDBTreeListCtrl {
    explicit Tree(wxWindow* parent) : wxDBTreeListCtrl(parent) {
        AddColumn(0, "Work", 200);
        AddColumn(1, "Time", 100);
    }
    Item* Add(Item* parent, String const& id) { return AppendItem(parent, Item::Make(id, CellText)); }
    void CommitCellEdit() override {
        ++commits;
        HideOverlay();
    }
    int Indent(int row) { return GetCellIndent(row, 0); }
    std::vector<Item*> toggled;
    int commits = 0;
    void OnItemToggled(Item* item) override { toggled.push_back(item); }
};

// 1000 (Run 1 (a, b), Run 2), 1001, 1002 (Run 1).
struct TreeListTest : WindowTest {
    TreeListTest() : tree(new Tree(&Frame())) {
        first = tree->Add(nullptr, "1000");
        run = tree->Add(first, "Run 1");
        tree->Add(run, "a");
        tree->Add(run, "b");
        tree->Add(first, "Run 2");
        second = tree->Add(nullptr, "1001");
        third = tree->Add(nullptr, "1002");
        tree->Add(third, "Run 1");
        Show(tree);
    }
    void ClickAt(wxPoint const& point) {
        hand.MouseMove(tree->ClientToScreen(point));
        hand.MouseClick();
    }
    String Current() { return tree->GetCurrentItem() ? tree->GetCurrentItem()->GetId() : "none"; }
    Tree* const tree;
    Item* first;
    Item* run;
    Item* second;
    Item* third;
};

TEST_F(TreeListTest, KeysOpenCloseAndGoUpAndDown) {
    tree->SelectItem(first);
    Rows<int, int, char const*> const cases = {
        {WXK_LEFT, 3, "1000"},
        {WXK_RIGHT, 5, "1000"},
        {WXK_RIGHT, 5, "Run 1"},
        {WXK_RIGHT, 7, "Run 1"},
        {WXK_RIGHT, 7, "a"},
        {WXK_RIGHT, 7, "a"},
        {WXK_DOWN, 7, "b"},
        {WXK_LEFT, 7, "Run 1"},
        {'-', 5, "Run 1"},
        {'-', 5, "Run 1"},
        {WXK_LEFT, 5, "1000"},
        {WXK_LEFT, 3, "1000"},
        {WXK_NUMPAD_MULTIPLY, 7, "1000"},
        {WXK_NUMPAD_SUBTRACT, 3, "1000"},
        {WXK_NUMPAD_ADD, 7, "1000"},
        {'-', 3, "1000"},
        {'+', 7, "1000"}, // with the shift key
        {WXK_DOWN, 7, "Run 1"},
    };
    for (auto const& [key, rows, current] : cases) {
        Press(key == '+' ? '=' : key, key == '+' ? wxMOD_SHIFT : wxMOD_NONE);
        EXPECT_TRUE(PumpUntil([&] { return Current() == current && tree->GetItemCount() == rows; }, 2'000))
            << key << ": " << Current().Str() << ", " << tree->GetItemCount() << " rows";
    }
    EXPECT_EQ(tree->GetSelectedItems(), std::vector<Item*>{run});
}

TEST_F(TreeListTest, MarkOpensWithoutSelecting) {
    wxRect const cell = tree->GetCellRect(0, 0);
    ClickAt({cell.x + 8 + 6, cell.y + cell.height / 2});
    EXPECT_TRUE(PumpUntil([&] { return tree->IsOpen(first); }));
    EXPECT_EQ(tree->GetItemCount(), 5);
    EXPECT_TRUE(tree->GetSelection().empty());
    EXPECT_EQ(tree->toggled, std::vector<Item*>{first});
    // Each level begins further to the right, a mark or not.
    EXPECT_LT(tree->Indent(0), tree->Indent(1));
    EXPECT_EQ(tree->Indent(2), tree->Indent(1) + tree->GetIndentMargin());
    EXPECT_EQ(tree->Indent(3), tree->GetIndentMargin());
    wxRect const name = tree->GetCellRect(4, 0);
    ASSERT_EQ(tree->GetItem(4), third);
    hand.MouseMove(tree->ClientToScreen(wxPoint(name.x + 60, name.y + 10)));
    hand.MouseDblClick();
    EXPECT_TRUE(PumpUntil([&] { return tree->IsOpen(third); }));
    EXPECT_TRUE(tree->IsItemSelected(third));
}

TEST_F(TreeListTest, DoubleClickThatSomebodyWantsOpensNothing) {
    int activated = 0;
    Frame().Bind(wxEVT_LIST_ITEM_ACTIVATED, [&](wxListEvent&) { ++activated; });
    tree->Activate(0);
    EXPECT_EQ(activated, 1);
    EXPECT_FALSE(tree->IsOpen(first));
}

TEST_F(TreeListTest, SelectionStaysWithItsItemAndGoesToTheOneThatCloses) {
    std::string events;
    for (auto const& type : {wxEVT_LIST_ITEM_SELECTED, wxEVT_LIST_ITEM_DESELECTED})
        tree->Bind(type, [&](wxListEvent& event) { // not skipped: the tree knows all the same
            events += (event.GetEventType() == wxEVT_LIST_ITEM_SELECTED ? "+" : "-") + std::to_string(event.GetIndex());
        });
    tree->SelectItem(third);
    EXPECT_EQ(events, "+2");
    tree->SetAllOpen(first, true);
    EXPECT_EQ(tree->GetSelection(), std::vector<int>{6});
    EXPECT_EQ(Current(), "1002");
    tree->Sort([](Item const& a, Item const& b) { return a.GetId() > b.GetId(); });
    EXPECT_EQ(tree->GetSelection(), std::vector<int>{0});
    EXPECT_EQ(Current(), "1002");
    tree->DeselectAll();
    tree->SelectItem(run);
    events.clear();
    tree->SetOpen(first, false);
    EXPECT_EQ(tree->GetSelectedItems(), std::vector<Item*>{first});
    EXPECT_EQ(events, "+2");
    EXPECT_EQ(Current(), "1000");
    tree->SetOpen(first, true);
    tree->SelectItem(run);
    tree->SelectItem(third);
    EXPECT_EQ(tree->GetSelection(), (std::vector<int>{0, 2, 4}));
    tree->RemoveItem(first); // with what is below it
    EXPECT_EQ(tree->GetSelectedItems(), std::vector<Item*>{third});
    EXPECT_EQ(tree->GetItemCount(), 2);
}

TEST_F(TreeListTest, ChangesShowWhenIdleAndAPaintBeforeIsSafe) {
    tree->SetAllOpen(nullptr, true);
    Pump();
    tree->RemoveItem(run);
    // What a paint asks for, of rows whose items are gone.
    for (int row = 0; row < 7; ++row)
        EXPECT_FALSE(tree->GetDisplayText(row, 0).Empty());
    EXPECT_TRUE(PumpUntil([&] { return tree->GetItemCount() == 5; }));
    tree->Clear();
    EXPECT_EQ(tree->GetDisplayText(0, 0), "");
    EXPECT_EQ(tree->GetTreeSize(), 0U);
    for (int i = 0; i < 1'000; ++i)
        tree->Add(tree->Add(nullptr, String::From(i)), "below");
    EXPECT_TRUE(PumpUntil([&] { return tree->GetItemCount() == 1'000; }));
    Item* const far = tree->FindItem(nullptr, "900")->GetChild(0);
    EXPECT_EQ(tree->GetRow(far), -1);
    tree->ShowItem(far);
    int const row = tree->GetRow(far);
    EXPECT_EQ(row, 901);
    EXPECT_TRUE(wxRect(tree->GetClientSize()).Contains(tree->GetRowRect(row)));
}

TEST_F(TreeListTest, FilteringKeepsAllOpen) {
    tree->SetFiltering(true);
    EXPECT_EQ(tree->GetRow(third), 6);
    tree->SelectItem(first);
    Press(WXK_LEFT);
    Press('-');
    EXPECT_EQ(tree->GetRow(third), 6);
    EXPECT_TRUE(tree->toggled.empty());
    tree->SetFiltering(false);
    EXPECT_EQ(tree->GetRow(third), 2);
}

TEST_F(TreeListTest, EditorEndsBeforeItsRowMoves) {
    auto* const editor = new wxPanel(tree);
    tree->Overlay(editor, 1, 1);
    EXPECT_EQ(tree->GetOverlay(), editor);
    tree->SetOpen(first, true);
    EXPECT_EQ(tree->commits, 1);
    EXPECT_EQ(tree->GetOverlay(), nullptr);
}

} // namespace test_treelist
