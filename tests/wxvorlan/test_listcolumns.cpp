// The columns of a list: how they are set up, kept, and followed.
#include "samplelist.h"

#include <corekit/optionsfile.h>
#include <wx/wxvoptions.h>

namespace test_listcolumns {

// Remembers a column by its index, as sort columns are.
class FollowingList : public wxDBListCtrl {
public:
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

private:
    void OnColumnsChanged(std::vector<int> const& now) override {
        if (followed >= 0 && followed < static_cast<int>(now.size()))
            followed = now[static_cast<size_t>(followed)];
    }
};

class ListColumnsTest : public WindowTest {
protected:
    FollowingList* const list = new FollowingList(&Frame());
};

TEST_F(ListColumnsTest, MoveByStepsAndAreFollowed) {
    struct Case {
        int column, by;
        char const* names;
        int followed; // column b
    } const cases[] = {
        {1, -1, "bacd", 0}, {0, 1, "abcd", 1},  {3, -3, "dabc", 2}, {0, 4, "abcd", 1},    {1, 2, "acdb", 3},
        {9, 1, "acdb", 3},  {-1, 1, "acdb", 3}, {0, 0, "acdb", 3},  {3, -999, "bacd", 0},
    };
    list->SetHighlightColumn(1);
    for (Case const& c : cases) {
        list->MoveColumn(c.column, c.by);
        EXPECT_EQ(list->Names(), c.names);
        EXPECT_EQ(list->followed, c.followed);
        EXPECT_EQ(list->GetHighlightColumn(), c.followed);
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
    struct Case {
        int wanted;
        int width; // -1: chosen by the list, wide enough for the label
    } const cases[] = {{80, 80}, {0, 24}, {24, 24}, {999'999'999, 4000}, {-1, -1}, {-7, -1}};
    for (Case const& c : cases) {
        list->RemoveAllColumns();
        list->AddColumn(ColumnHeader{"A label of some length", c.wanted, false, 5, ""});
        if (c.width >= 0)
            EXPECT_EQ(list->GetColumnWidth(0), c.width) << c.wanted;
        else
            EXPECT_GT(list->GetColumnWidth(0), 110) << c.wanted;
        EXPECT_FALSE(list->IsColumnAscending(0));
    }
    for (int i = 0; i < 1000; ++i)
        list->AddColumn(i, "more");
    EXPECT_EQ(list->GetColumnCount(), wxDBListCtrl::k_MaxColumns);
}

TEST_F(ListColumnsTest, WidthsAreKeptInTheOptions) {
    corekit::OptionsFile options;
    wxvSetOptions(&options);
    list->SetColumnWidth(2, 333);
    list->SaveColumnSizes("Section", "Columns");
    struct Case {
        char const* kept;
        bool taken;
        int width; // of column c
    } const cases[] = {{nullptr, true, 333},     {"50,50,70", false, 40},     {"", false, 40},
                       {"1,2,3,4,5", false, 40}, {"50,50,junk,50", true, 24}, {"9,9,99999999999999999999,9", true, 24}};
    for (Case const& c : cases) {
        if (c.kept)
            options.SetValue("Section", "Columns", c.kept);
        list->SetColumnWidth(2, 40);
        EXPECT_EQ(list->RestoreColumnSizes("Section", "Columns"), c.taken) << (c.kept ? c.kept : "saved");
        EXPECT_EQ(list->GetColumnWidth(2), c.width) << (c.kept ? c.kept : "saved");
    }
    wxvSetOptions(nullptr);
}

} // namespace test_listcolumns
