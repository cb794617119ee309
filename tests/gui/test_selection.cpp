// Selections: storms of row events, and the way back.
#include "guitest.h"

#include "window/selecthistory.h"

#include <string>

namespace vorlan {

TEST(PendingSelection, FollowsTheLastOfAStorm) {
    struct Step {
        int list;
        int row;
        bool selected;
    };
    struct Case {
        char const* name;
        std::vector<Step> steps;
        bool counts; // the last one
        int list;
        int row;
    };
    Case const cases[] = {
        {"the last row of many", {{2600, 3, true}, {2600, 4, true}, {2600, 5, true}}, true, 2600, 5},
        {"the one before is next", {{2600, 3, true}, {2600, 4, true}, {2600, 4, false}}, true, 2600, 3},
        {"the only row goes", {{2600, 3, true}, {2600, 3, false}}, true, 2600, -1},
        {"a row that was never noted goes", {{2600, 3, true}, {2600, 9, false}}, true, 2600, 3},
        {"another list begins anew", {{2600, 3, true}, {2501, 7, true}}, true, 2501, 7},
        {"another list gives up a row", {{2600, 3, true}, {2501, 3, false}}, false, 2600, 3},
        {"a row twice, out once", {{2600, 3, true}, {2600, 4, true}, {2600, 3, true}, {2600, 3, false}}, true, 2600, 4},
    };
    for (Case const& c : cases) {
        PendingSelection pending;
        bool counts = false;
        for (Step const& step : c.steps)
            counts = pending.Note(step.list, step.row, step.selected);
        EXPECT_EQ(counts, c.counts) << c.name;
        EXPECT_EQ(pending.List(), c.list) << c.name;
        EXPECT_EQ(pending.Row(), c.row) << c.name;
    }
}

namespace {

SelectHistoryEntry Entry(int number) {
    SelectHistoryEntry entry;
    entry.kind = k_ListOfJobs;
    entry.list = 2600;
    entry.anchor = UID::FromName(std::to_string(number));
    return entry;
}

// "p" pushes the next number, "<" and ">" go there. The anchors that were reached.
std::string Walk(SelectHistory& history, std::string const& steps) {
    std::string reached;
    int next = 1;
    for (char const step : steps) {
        if (step == 'p') {
            history.Push(Entry(next++));
            continue;
        }
        SelectHistoryEntry const* const entry = step == '<' ? history.GoToFormer() : history.GoToLater();
        int number = 1;
        while (entry && entry->anchor != Entry(number).anchor)
            ++number;
        reached += entry ? std::to_string(number) : "-";
    }
    return reached;
}

} // namespace

TEST(SelectHistory, GoesBackAndForth) {
    struct Case {
        char const* steps;
        char const* reached;
        size_t size;
        bool former;
        bool later;
    };
    Case const cases[] = {
        {"", "", 0, false, false},         {"<>", "--", 0, false, false},      {"p<>", "--", 1, false, false},
        {"ppp<<<", "21-", 3, false, true}, {"ppp<<>>>", "2123-", 3, true, false},
        // What lay ahead is gone.
        {"ppp<<p<", "211", 2, false, true}, {"ppp<p>", "2-", 3, true, false},
    };
    for (Case const& c : cases) {
        SelectHistory history;
        EXPECT_EQ(Walk(history, c.steps), c.reached) << c.steps;
        EXPECT_EQ(history.Size(), c.size) << c.steps;
        EXPECT_EQ(history.HasFormer(), c.former) << c.steps;
        EXPECT_EQ(history.HasLater(), c.later) << c.steps;
    }
}

TEST(SelectHistory, ForgetsTheOldest) {
    SelectHistory history;
    for (int i = 0; i < 9000; ++i)
        history.Push(Entry(i));
    EXPECT_EQ(history.Size(), 8191u);
    SelectHistoryEntry const* entry = nullptr;
    size_t steps = 0;
    while (SelectHistoryEntry const* const former = history.GoToFormer()) {
        entry = former;
        ++steps;
    }
    EXPECT_EQ(steps, 8190u);
    EXPECT_EQ(entry->anchor, Entry(9000 - 8191).anchor);
}

} // namespace vorlan
