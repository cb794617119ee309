// The rows of a list: which id stands where.
#include "test.h"

#include "rows/columnfit.h"
#include "rows/listcontents.h"
#include "rows/sortkey.h"

namespace vorlan::test_listcontents {

UID Numbered(unsigned number) {
    std::array<uint8_t, UID::k_Size> bytes{};
    bytes[14] = static_cast<uint8_t>(number >> 8);
    bytes[15] = static_cast<uint8_t>(number);
    return UID(bytes);
}

TEST(ListContents, RowsAndIdsFindEachOther) {
    ListContents contents;
    EXPECT_TRUE(contents.empty() && contents[size_t{0}].IsNull());
    EXPECT_EQ(contents[Numbered(1)], ListContents::k_NoRow);
    for (unsigned number : {5u, 3u, 9u, 3u, 1u, 5u, 5u, 7u})
        contents.Insert(Numbered(number));
    ASSERT_EQ(contents.size(), 5u) << "an id stands in one row";
    unsigned const expected[] = {5, 3, 9, 1, 7};
    for (unsigned row = 0; row < 5; ++row) {
        EXPECT_EQ(contents[size_t{row}], Numbered(expected[row]));
        EXPECT_EQ(contents[Numbered(expected[row])], row);
    }
    EXPECT_TRUE(contents[contents.size()].IsNull() && contents[~size_t{0}].IsNull());
    EXPECT_EQ(contents[Numbered(4)], ListContents::k_NoRow);

    contents.Sort([](UID const& a, UID const& b) { return b < a; });
    contents.Insert(Numbered(8));
    EXPECT_EQ(std::tuple(contents[Numbered(9)], contents[Numbered(1)], contents[Numbered(8)]), std::tuple(0u, 4u, 5u));
}

TEST(ListContents, WhatHasNoRowIsTakenOutOfASet) {
    ListContents contents;
    for (unsigned number = 100; number > 0; --number)
        contents.Insert(Numbered(2 * number));
    // Few of them, which are looked up, and many, which are walked along.
    for (unsigned const last : {4u, 60u, 300u}) {
        std::set<UID> ids;
        for (unsigned number = 0; number <= last; ++number)
            ids.insert(Numbered(number));
        contents.Retain(ids);
        EXPECT_EQ(ids.size(), std::min(last, 200u) / 2);
        for (UID const& id : ids)
            EXPECT_NE(contents[id], ListContents::k_NoRow);
    }
}

// Few words, one word, and many: the two halves meet at any of them.
TEST(SortKeys, ManyRowsInTwoHalves) {
    std::mt19937 random(20261121);
    for (unsigned const words : {1u, 2u, 3u, 1000u}) {
        constexpr uint32_t k_Rows = 50'000;
        KeyBytes bytes;
        std::vector<std::pair<uint64_t, uint32_t>> expected;
        for (uint32_t i = 0; i < k_Rows; ++i) {
            expected.emplace_back(random() % words, i);
            bytes.AddNumber(expected.back().first, 0);
            bytes.AddNumber(i, 0);
        }
        std::vector<KeyedRow> rows;
        for (uint32_t i = 0; i < k_Rows; ++i)
            rows.push_back({0, bytes.At(16 * size_t{i}), 16, i});
        SortKeys(rows);
        std::sort(expected.begin(), expected.end());
        for (uint32_t i = 0; i < k_Rows; ++i)
            ASSERT_EQ(rows[i].row, expected[i].second) << words << " words, place " << i;
    }
}

TEST(SortKeys, OrderAsTheTextsDo) {
    using namespace std::string_literals;
    std::string const longText(100, 'x');
    std::vector<std::string> const texts{
        "",        "a",        "A",        "b",          "ab",          "a\0"s + "b",   "a\0"s,           "a\x01",
        "\xFF"s,   "\0"s,      "\0\0"s,    longText,     longText + "", longText + "y", longText + "\0"s, "ab",
        "lightin", "lighting", "lighting", "lighting 1", "Lighting 10", "lighting 2",
    };
    for (bool const folded : {false, true}) {
        for (unsigned char const mask : {0x00, 0xFF}) {
            KeyBytes bytes;
            std::vector<std::pair<size_t, size_t>> places;
            for (size_t i = 0; i < texts.size(); ++i) {
                size_t const from = bytes.Size();
                folded ? bytes.AddFolded(texts[i], mask) : bytes.AddText(texts[i], mask);
                bytes.AddNumber(i, 0);
                places.emplace_back(from, bytes.Size() - from);
            }
            std::vector<KeyedRow> rows;
            for (size_t i = 0; i < texts.size(); ++i)
                rows.push_back(
                    {0, bytes.At(places[i].first), static_cast<uint32_t>(places[i].second), static_cast<uint32_t>(i)});
            SortKeys(rows);
            std::vector<uint32_t> expected(texts.size());
            std::iota(expected.begin(), expected.end(), 0u);
            std::stable_sort(expected.begin(), expected.end(), [&](uint32_t a, uint32_t b) {
                corekit::String const x = texts[a];
                String const y = texts[b];
                int const order = folded ? x.CompareNoCase(y) : x.Compare(y);
                return mask ? order > 0 : order < 0;
            });
            for (size_t i = 0; i < rows.size(); ++i)
                EXPECT_EQ(rows[i].row, expected[i]) << "place " << i << " folded " << folded << " mask " << int(mask);
        }
    }
    double const numbers[] = {-1e300, -2.5, -1, 0, 1e-300, 12.5, 100, 1e300};
    for (size_t i = 1; i < std::size(numbers); ++i)
        EXPECT_LT(OrderedNumber(numbers[i - 1]), OrderedNumber(numbers[i]));
    EXPECT_EQ(OrderedNumber(-0.0), OrderedNumber(0.0));
    EXPECT_LT(OrderedNumber(std::numeric_limits<int64_t>::min()), OrderedNumber(int64_t{-1}));
    EXPECT_LT(OrderedNumber(int64_t{-1}), OrderedNumber(int64_t{0}));
}

TEST(ColumnFit, WhatIsNotFilledIsGivenUpFirst) {
    std::vector<ColumnNeed> const needs{{220, 150, 180}, {60, 80, 60}, {180, 400, 100}};
    for (auto const& [room, widths] : Rows<int, std::vector<int>>{{1000, {220, 80, 300}},
                                                                  {560, {180, 80, 300}},
                                                                  {530, {150, 80, 300}},
                                                                  {415, {150, 69, 196}},
                                                                  {10, {150, 60, 100}}})
        EXPECT_EQ(FittedWidths(needs, room, 300), widths) << room;
}

} // namespace vorlan::test_listcontents
