// The overview: the order of its rows and the places of its parts.
#include "guitest.h"

#include "window/overviewlayout.h"
#include "window/overviewrows.h"

#include <vorlan/keys.h>

#include <algorithm>

namespace vorlan {

namespace {

OverviewRow Row(char const* name, int statusClass, int priority, int64_t order) {
    OverviewRow row;
    row.id = UID::FromName(name);
    row.name = name;
    row.statusClass = statusClass;
    row.priority = priority;
    row.order = order;
    return row;
}

} // namespace

TEST(OverviewLayout, HoldsAtEverySizeAndResolution) {
    for (double const scale : {1.0, 1.5, 2.0}) {
        auto const scaled = [scale](int length) { return static_cast<int>(length * scale); };
        for (int width = 40; width <= 2400; width += 37) {
            for (int const height : {0, 50, 120, 600, 1000}) {
                OverviewLayout const layout = LayOutOverview({width, height}, OverviewMetrics().Scaled(scaled), scale);
                int x = 0;
                for (int i = 0; i < k_OverviewColumns; ++i) {
                    EXPECT_EQ(layout.left[i], x) << "no gap and no overlap at " << width;
                    EXPECT_GE(layout.width[i], 0);
                    x += layout.width[i];
                }
                EXPECT_GT(layout.width[3], 0) << "the progress stays at " << width;
                EXPECT_TRUE(x == width || width < scaled(260)) << "all of the width is used";
                EXPECT_GE(layout.RowsInSight(), 1);
                EXPECT_GE(layout.List().height, 0);
                for (int figure = 0; figure + 1 < 3; ++figure)
                    EXPECT_LE(layout.Figure(figure).GetRight(), layout.Figure(figure + 1).x);
                EXPECT_LE(layout.Figure(2).GetRight(), width);
            }
        }
    }
}

TEST(OverviewLayout, ColumnsGoInOrderWhereThereIsNoRoom) {
    auto const shown = [](int width) {
        OverviewLayout const layout = LayOutOverview({width, 600}, {}, 1.0);
        std::string columns;
        for (int i = 0; i < k_OverviewColumns; ++i)
            columns += layout.width[i] > 0 ? "NPRGS"[i] : '-';
        return columns;
    };
    EXPECT_EQ(shown(900), "NPRGS");
    EXPECT_EQ(shown(650), "NPRGS");
    EXPECT_EQ(shown(649), "N-RGS");
    EXPECT_EQ(shown(500), "N--GS");
    EXPECT_EQ(shown(400), "N--G-");
}

TEST(OverviewRows, UnfinishedFirstThenByPriorityAndAge) {
    std::vector<OverviewRow> rows{Row("done early", 3, 99, 10), Row("done late", 3, 1, 20), Row("low", 0, 10, -100),
                                  Row("high young", 2, 50, -300), Row("high old", 1, 50, -200)};
    std::sort(rows.begin(), rows.end(), OverviewBefore);
    std::vector<String> names;
    for (OverviewRow const& row : rows)
        names.push_back(row.name);
    EXPECT_EQ(names, (std::vector<String>{"high old", "high young", "low", "done late", "done early"}));
}

} // namespace vorlan
