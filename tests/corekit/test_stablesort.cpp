#include "test.h"

#include <corekit/stablesort.h>

namespace corekit::test_stablesort {

TEST(StableSort, KeepsTheOrderOfEqualElementsAndLosesNoneToAnOrderThatLies) {
    std::mt19937 random(20261121);
    for (size_t const size : {0, 1, 2, 31, 32, 33, 64, 65, 1000, 4097}) {
        std::vector<std::pair<int, size_t>> elements;
        for (size_t i = 0; i < size; ++i)
            elements.emplace_back(static_cast<int>(random() % 7), i);
        auto expected = elements;
        auto const less = [](auto const& a, auto const& b) { return a.first < b.first; };
        std::stable_sort(expected.begin(), expected.end(), less);
        StableSort(elements, less);
        EXPECT_EQ(elements, expected) << size;
        StableSort(elements, [&random](auto const&, auto const&) { return random() % 2 == 0; });
        StableSort(elements, [](auto const&, auto const&) { return true; });
        std::sort(elements.begin(), elements.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(elements, expected) << size;
    }
}

} // namespace corekit::test_stablesort
