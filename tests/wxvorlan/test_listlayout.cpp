// Where everything of a list is, and what is where.
#include "test.h"

#include "wxvorlan/lists/listlayout.h"

namespace test_listlayout {

using Area = wxDBListHit::Area;

// Three columns of 100, 50 and 30; rows of 20 under a header of 25; the window is 160
// wide and 110 high, so that four rows and a quarter are in sight.
wxDBListLayout Sample(int rows, wxPoint const& origin = wxPoint()) {
    wxDBListLayout layout;
    wxDBListMetrics metrics;
    metrics.rowHeight = 20;
    layout.SetMetrics(metrics);
    layout.SetColumns({100, 50, 30});
    layout.SetRowCount(rows);
    layout.SetClient(wxSize(160, 110));
    layout.SetOrigin(origin);
    return layout;
}

TEST(ListLayout, TellsWhatIsAtAPoint) {
    for (auto const& [what, origin, point, expected] : Rows<char const*, wxPoint, wxPoint, wxDBListHit>{
             {"first cell", {0, 0}, {0, 25}, {Area::Cell, 0, 0}},
             {"last pixel of a row", {0, 0}, {99, 44}, {Area::Cell, 0, 0}},
             {"next row and column", {0, 0}, {100, 45}, {Area::Cell, 1, 1}},
             {"row half out of sight", {0, 10}, {5, 25}, {Area::Cell, 0, 0}},
             {"the one below it", {0, 10}, {5, 35}, {Area::Cell, 1, 0}},
             {"scrolled to the right", {20, 0}, {159, 30}, {Area::Cell, 0, 2}},
             {"header", {0, 0}, {50, 10}, {Area::Header, -1, 0}},
             {"left of an edge", {0, 0}, {96, 24}, {Area::HeaderEdge, -1, 0}},
             {"right of an edge", {0, 0}, {104, 0}, {Area::HeaderEdge, -1, 0}},
             {"far enough from it", {0, 0}, {105, 0}, {Area::Header, -1, 1}},
             {"scrolled edge", {20, 0}, {130, 3}, {Area::HeaderEdge, -1, 1}},
             {"outside", {0, 0}, {-1, 30}, {Area::Outside, -1, -1}},
             {"below the window", {0, 0}, {10, 110}, {Area::Outside, -1, -1}},
         })
        EXPECT_EQ(Sample(100, origin).HitTest(point), expected) << what;
    EXPECT_EQ(Sample(2).HitTest({10, 65}), (wxDBListHit{Area::BelowRows, -1, 0}));
    wxDBListLayout narrow = Sample(2);
    narrow.SetColumns({40});
    EXPECT_EQ(narrow.HitTest({80, 30}), (wxDBListHit{Area::BesideCells, 0, -1}));
    EXPECT_EQ(narrow.HitTest({80, 3}), (wxDBListHit{Area::Header, -1, -1}));
}

TEST(ListLayout, TheLastColumnMayTakeTheRest) {
    wxDBListLayout layout = Sample(2);
    layout.SetLastFills(true);
    EXPECT_EQ(layout.Content().x, 180) << "there is no rest";
    for (auto const& [window, end] : {std::pair(300, 300), {200, 200}, {100, 180}}) {
        layout.SetClient(wxSize(window, 110));
        EXPECT_EQ(layout.Content().x, end);
        EXPECT_EQ(layout.HeaderCell(2).width, end - 150);
        EXPECT_EQ(layout.HeaderCell(1).width, 50);
    }
    layout.SetClient(wxSize(300, 110));
    layout.SetColumns({});
    EXPECT_EQ(layout.Content().x, 0);
}

TEST(ListLayout, ShowsJustTheRowsInSight) {
    for (auto const& [rows, originY, first, end] : Rows<int, int, int, int>{
             {0, 0, 0, 0}, {3, 0, 0, 3}, {100, 0, 0, 5}, {100, 20, 1, 6}, {100, 15, 0, 5}, {100, 1915, 95, 100}}) {
        wxDBListLayout const layout = Sample(rows, wxPoint(0, originY));
        EXPECT_EQ(layout.FirstRow(), first) << rows << " rows at " << originY;
        EXPECT_EQ(layout.EndRow(), end) << rows << " rows at " << originY;
    }
    EXPECT_EQ(Sample(100).RowsPerPage(), 4);
    EXPECT_EQ(Sample(100, {0, 30}).Cell(2, 1), wxRect(100, 35, 50, 20));
    EXPECT_TRUE(Sample(2).Cell(2, 0).IsEmpty());
    EXPECT_TRUE(Sample(2).Cell(0, 3).IsEmpty());
}

TEST(ListLayout, TheOriginStaysInTheContent) {
    Rows<int, wxPoint, wxPoint> const cases = {
        {100, {0, 0}, {0, 0}}, {100, {-5, -5}, {0, 0}}, {100, {500, 5000}, {20, 1915}},
        {3, {0, 300}, {0, 0}}, {0, {7, 7}, {7, 0}},
    };
    for (auto const& [rows, wanted, origin] : cases) {
        wxDBListLayout layout = Sample(rows, wanted);
        EXPECT_EQ(layout.Clamp(), wanted != origin);
        EXPECT_EQ(layout.Origin(), origin) << rows << " rows";
    }
    // What is not there yet is not lost: rows go and come between two clamps.
    wxDBListLayout layout = Sample(100, {0, 1000});
    layout.SetRowCount(0);
    layout.SetRowCount(100);
    EXPECT_FALSE(layout.Clamp());
}

TEST(ListLayout, BringsARowIntoSightByTheLeastMovement) {
    for (auto const& [originY, row, expected] : Rows<int, int, int>{
             {0, 0, 0}, {0, 3, 0}, {0, 4, 15}, {0, 50, 935}, {1000, 50, 1000}, {1000, 10, 200}, {1010, 50, 1000}})
        EXPECT_EQ(Sample(100, {0, originY}).OriginFor(row).y, expected) << row << " from " << originY;
    wxDBListLayout low = Sample(100);
    low.SetClient(wxSize(160, 30));
    EXPECT_EQ(low.OriginFor(7).y, 140) << "the top of a row that does not fit";
}

TEST(ListLayout, TheNearestRowIsAlwaysARow) {
    for (auto const& [rows, originY, y, row] : Rows<int, int, int, int>{
             {0, 0, 50, -1}, {100, 0, -300, 0}, {100, 200, 0, 8}, {3, 0, 109, 2}, {100, 200, 30, 10}})
        EXPECT_EQ(Sample(rows, {0, originY}).NearestRow(y), row) << y;
}

TEST(ListLayout, AColumnDropsWhereItsEdgeIsShown) {
    Rows<int, int, int, int> const cases = {{0, 10, 0, 0},    {0, 120, 0, 0},   {0, 130, 1, 150}, {0, 170, 2, 180},
                                            {2, 160, 2, 150}, {2, 120, 1, 100}, {2, 40, 0, 0},    {1, -50, 0, 0}};
    for (auto const& [column, x, position, edge] : cases) {
        wxDBListLayout const layout = Sample(1);
        EXPECT_EQ(layout.DropPosition(column, x), position) << column << " at " << x;
        if (position != column) {
            EXPECT_EQ(layout.DropEdge(column, position), edge) << column << " at " << x;
        }
    }
}

} // namespace test_listlayout
