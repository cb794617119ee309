// The columns of a list: how they are set up, kept, and followed.
#include "samplelist.h"

namespace test_listcolumns {

// Remembers a column by its index, as sort columns are.
struct FollowingList : wxDBListCtrl {
    explicit FollowingList(wxWindow* parent) : wxDBListCtrl(parent, 78) {
        for (char const* const name : {"a", "b", "c", "d"})
            AddColumn(name[0], name, 50);
    }
    std::string Names() const {
        std::string names;
        for (int i = 0; i < GetColumnCount(); ++i)
            names += GetColumnName(i).Str();
        return names;
    }
    int followed = 1;
    void OnColumnsChanged(std::vector<int> const& now) override {
        if (followed >= 0 && followed < static_cast<int>(now.size()))
            followed = now[static_cast<size_t>(followed)];
    }
};

struct ListColumnsTest : WindowTest {
    FollowingList* const list = new FollowingList(&Frame());
};

TEST_F(ListColumnsTest, MoveByStepsAndAreFollowed) {
    // What is followed is column b.
    Rows<int, int, char const*, int> const cases = {
        {1, -1, "bacd", 0}, {0, 1, "abcd", 1},  {3, -3, "dabc", 2}, {0, 4, "abcd", 1},    {1, 2, "acdb", 3},
        {9, 1, "acdb", 3},  {-1, 1, "acdb", 3}, {0, 0, "acdb", 3},  {3, -999, "bacd", 0},
    };
    list->SetHighlightColumn(1);
    for (auto const& [column, by, names, followed] : cases) {
        list->MoveColumn(column, by);
        EXPECT_EQ(list->Names(), names);
        EXPECT_EQ(list->followed, followed);
        EXPECT_EQ(list->GetHighlightColumn(), followed);
    }
    list->InsertColumn(0, 'x', "x", "$(Frame)");
    EXPECT_EQ(list->Names(), "xbacd");
    EXPECT_EQ(list->followed, 1);
    EXPECT_EQ(list->GetColumnCustom(0), "$(Frame)");
    list->InsertColumn(99, 'y', "y");
    EXPECT_EQ(list->FindColumnByType('y'), 5);
    list->RemoveColumn(0);
    EXPECT_EQ(list->followed, 0);
    list->RemoveColumn(0);
    EXPECT_EQ(list->followed, -1);
    EXPECT_EQ(list->GetHighlightColumn(), -1);
    EXPECT_EQ(list->Names(), "acdy");
    EXPECT_EQ(list->FindColumnByType('b'), -1);
    list->RemoveAllColumns();
    EXPECT_EQ(list->GetColumnCount(), 0);
    EXPECT_EQ(list->GetColumnType(0), -1);
}

TEST_F(ListColumnsTest, WidthsStayWithinReason) {
    // A width of -1 is chosen by the list, wide enough for the label.
    Rows<int, int> const cases = {{80, 80}, {0, 24}, {24, 24}, {999'999'999, 4000}, {-1, -1}, {-7, -1}};
    for (auto const& [wanted, width] : cases) {
        list->RemoveAllColumns();
        list->AddColumn(ColumnHeader{"A label of some length", wanted, false, 5, ""});
        if (width >= 0)
            EXPECT_EQ(list->GetColumnWidth(0), width) << wanted;
        else
            EXPECT_GT(list->GetColumnWidth(0), 110) << wanted;
        EXPECT_FALSE(list->IsColumnAscending(0));
    }
    for (int i = 0; i < 1000; ++i)
        list->AddColumn(i, "more");
    EXPECT_EQ(list->GetColumnCount(), wxDBListCtrl::k_MaxColumns);
}

TEST_F(ListColumnsTest, WidthsAreKeptInTheOptions) {
    ControlOptions options;
    list->SetColumnWidth(2, 333);
    list->SaveColumnSizes("Section", "Columns");
    // The width is that of column c.
    Rows<char const*, bool, int> const cases = {
        {nullptr, true, 333},     {"50,50,70", false, 40},     {"", false, 40},
        {"1,2,3,4,5", false, 40}, {"50,50,junk,50", true, 24}, {"9,9,99999999999999999999,9", true, 24}};
    for (auto const& [kept, taken, width] : cases) {
        if (kept)
            options.SetValue("Section", "Columns", kept);
        list->SetColumnWidth(2, 40);
        EXPECT_EQ(list->RestoreColumnSizes("Section", "Columns"), taken) << (kept ? kept : "saved");
        EXPECT_EQ(list->GetColumnWidth(2), width) << (kept ? kept : "saved");
    }
}

} // namespace test_listcolumns
