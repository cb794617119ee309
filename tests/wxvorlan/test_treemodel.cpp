#include "test.h"

#include "wxvorlan/tree/treemodel.h"

namespace test_treemodel {

using corekit::String;
using Item = wxDBTreeListItem;

Item* Add(wxDBTreeModel& model, Item* parent, String const& id) { return model.Append(parent, Item::Make(id)); }

void MakeRows(wxDBTreeModel& model) {
    model.MakeRows([] {});
}

// The ids of the rows, each behind a blank per level.
std::string Rows(wxDBTreeModel& model) {
    MakeRows(model);
    std::string rows;
    for (int row = 0; row < model.RowCount(); ++row) {
        EXPECT_EQ(model.RowOf(model.At(row)), row);
        rows += std::string(static_cast<size_t>(model.At(row)->GetDepth()), ' ') + model.At(row)->GetId().Str() + "\n";
    }
    return rows;
}

bool ById(Item const& a, Item const& b) { return a.GetId() < b.GetId(); }

// Two levels below two parents: a (b (c), d), e.
struct SmallTree {
    SmallTree()
        : a(Add(model, nullptr, "a")),
          b(Add(model, a, "b")),
          c(Add(model, b, "c")),
          d(Add(model, a, "d")),
          e(Add(model, nullptr, "e")) {}
    wxDBTreeModel model;
    Item *a, *b, *c, *d, *e;
};

TEST(TreeModelTest, RowsFollowWhatIsOpenHiddenAndFiltered) {
    SmallTree tree;
    wxDBTreeModel& model = tree.model;
    EXPECT_EQ(Rows(model), "a\ne\n");
    model.SetOpen(tree.b, true);
    EXPECT_EQ(Rows(model), "a\ne\n");
    EXPECT_EQ(model.RowOf(tree.c), -1);
    EXPECT_EQ(model.RowAtOrAbove(tree.c), 0);
    model.SetOpen(tree.a, true);
    EXPECT_EQ(Rows(model), "a\n b\n  c\n d\ne\n");
    model.Hide(tree.b, true);
    EXPECT_EQ(Rows(model), "a\n d\ne\n");
    model.Hide(tree.d, true);
    EXPECT_FALSE(tree.a->HasShownChildren());
    model.Hide(tree.b, false);
    model.SetAllOpen(nullptr, false);
    model.SetFiltering(true);
    EXPECT_EQ(Rows(model), "a\n b\n  c\ne\n");
    model.SetFiltering(false);
    EXPECT_EQ(Rows(model), "a\ne\n");
    model.Clear();
    EXPECT_EQ(Rows(model), "");
    EXPECT_EQ(model.Size(), 0U);
}

TEST(TreeModelTest, ExpandStateGoesByIdsAndOutlivesTheItems) {
    SmallTree tree;
    wxDBTreeModel& model = tree.model;
    model.SetOpen(tree.a, true);
    model.SetOpen(tree.b, true);
    model.PushExpandState();
    model.Clear();
    Item* const e = Add(model, nullptr, "e");
    Add(model, e, "b"); // the id of an open one, on another path
    Add(model, e->GetChild(0), "x");
    Item* const a = Add(model, nullptr, "a");
    Add(model, Add(model, a, "new"), "y");
    Add(model, Add(model, a, "b"), "c");
    EXPECT_TRUE(model.PopExpandState(false));
    EXPECT_EQ(Rows(model), "e\na\n new\n b\n  c\n");
    // Closed is what is remembered where items begin open.
    model.PushExpandState();
    model.SetAllOpen(nullptr, true);
    EXPECT_TRUE(model.PopExpandState(true));
    EXPECT_FALSE(model.HasExpandState());
    EXPECT_FALSE(model.PopExpandState(false));
    EXPECT_EQ(Rows(model), "e\n b\n  x\na\n new\n  y\n b\n  c\n");
    model.Clear();
    model.SetOpenByDefault(true);
    for (int fill = 0; fill < 2; ++fill) {
        Add(model, Add(model, nullptr, "one"), "1");
        Add(model, Add(model, nullptr, "two"), "2");
        if (fill == 0) {
            model.SetOpen(model.Find(nullptr, "one"), false);
            model.PushExpandState();
            model.Clear();
        }
    }
    model.PopExpandState(false);
    EXPECT_EQ(Rows(model), "one\ntwo\n 2\n");
}

// What was removed is still a row until the rows are made; a paint in between is safe.
TEST(TreeModelTest, RemovedItemsLiveUntilTheRowsAreMade) {
    SmallTree tree;
    wxDBTreeModel& model = tree.model;
    model.SetAllOpen(nullptr, true);
    MakeRows(model);
    model.Remove(tree.c);
    model.Remove(tree.b);
    model.Remove(tree.a);
    EXPECT_EQ(model.At(2)->GetId(), "c");
    EXPECT_EQ(model.At(3)->GetId(), "d");
    EXPECT_EQ(Rows(model), "e\n");
    EXPECT_EQ(model.Size(), 1U);
}

TEST(TreeModelTest, FindKnowsWhatCameAndWent) {
    wxDBTreeModel model;
    constexpr int k_Count = 200;
    for (int i = 0; i < k_Count; ++i) {
        Item* const item = Add(model, nullptr, String::From(i));
        Add(model, item, "below");
        ASSERT_EQ(model.Find(nullptr, String::From(i)), item);
    }
    EXPECT_EQ(model.Find(nullptr, "below"), nullptr);
    for (int i = 0; i < k_Count; i += 2)
        model.Remove(model.Find(nullptr, String::From(i)));
    Item* const again = model.Insert(nullptr, Item::Make("0"), ById);
    for (int i = 0; i < k_Count; ++i)
        EXPECT_EQ(model.Find(nullptr, String::From(i)) != nullptr, i % 2 == 1 || i == 0) << i;
    EXPECT_EQ(model.Find(nullptr, "0"), again);
}

// Any change of the tree gives the rows that a plain walk gives.
TEST(TreeModelTest, RowsAreThoseOfAPlainWalk) {
    std::mt19937 random(20261121);
    wxDBTreeModel model;
    std::vector<Item*> items;
    auto const walk = [&](auto const& self, Item* parent) -> std::string {
        std::string rows;
        for (size_t i = 0; i < parent->GetChildCount(); ++i) {
            Item* const child = parent->GetChild(i);
            rows += std::string(static_cast<size_t>(child->GetDepth()), ' ') + child->GetId().Str() + "\n";
            if (model.IsOpen(child))
                rows += self(self, child);
        }
        return rows;
    };
    for (int step = 0; step < 2'000; ++step) {
        Item* const item = items.empty() ? nullptr : items[random() % items.size()];
        unsigned const what = random() % 10;
        if (what < 5 || !item) {
            items.push_back(Add(model, item && item->GetDepth() < 5 ? item : nullptr, String::From(random() % 1'000)));
        } else if (what < 8) {
            model.SetOpen(item, !model.IsOpen(item));
        } else if (what < 9) {
            model.Sort(ById);
        } else {
            std::erase_if(items, [item](Item const* other) {
                for (; other; other = other->GetParent()) {
                    if (other == item)
                        return true;
                }
                return false;
            });
            model.Remove(item);
        }
        if (step % 7 == 0) {
            ASSERT_EQ(Rows(model), walk(walk, model.Root())) << step;
            ASSERT_EQ(model.Size(), items.size());
        }
    }
}

} // namespace test_treemodel
