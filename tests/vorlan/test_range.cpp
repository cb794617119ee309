#include "test.h"

#include <vorlan/range.h>
#include <vorlan/sequencedistributor.h>

namespace vorlan::test_range {

TEST(FrameRange, ReadsAndWritesText) {
    Rows<char const*, char const*, std::vector<int>> const good = {
        {"  ", "", {}},
        {"5", "5", {5}},
        {"1,2,3", "1-3", {1, 2, 3}},
        {" 1 - 3 , 7 ", "1-3,7", {1, 2, 3, 7}},
        {"1-3;7", "1-3,7", {1, 2, 3, 7}},
        {"1-3,", "1-3", {1, 2, 3}},
        {"30-50x10", "30-50x10", {30, 40, 50}},
        {"30-49X10", "30,40", {30, 40}},
        {"1-10x100", "1", {1}},
        {"-3--1", "-3--1", {-3, -2, -1}},
        {"-1-1", "-1-1", {-1, 0, 1}},
        {"3-1", "3-1", {3, 2, 1}},
        {"9-1x4", "9-1x4", {9, 5, 1}},
        {"1-4,3-6", "1-6", {1, 2, 3, 4, 5, 6}},
        {"5,1-9x4,5", "5,1,9", {5, 1, 9}},
        {"1-5x2,2-6x2", "1-5x2,2-6x2", {1, 3, 5, 2, 4, 6}},
        {"1,3", "1,3", {1, 3}},
        {"1,3,5", "1-5x2", {1, 3, 5}},
        {"1,3,4,5", "1,3-5", {1, 3, 4, 5}},
        {"-1000000000,1000000000", "-1000000000,1000000000", {-1000000000, 1000000000}},
    };
    for (auto const& [text, written, frames] : good) {
        FrameRange range;
        String error;
        EXPECT_TRUE(FrameRange::Parse(text, range, &error)) << text << " " << error;
        EXPECT_EQ(range.Frames(), frames) << text;
        EXPECT_EQ(range.Count(), frames.size()) << text;
        EXPECT_EQ(range.Text(), written) << text;
    }
    for (char const* text : {"a", "1-", "-", "1-2x", "1-2x0", "1-2x-1", "1 2", "1--", ",1", "1.5", "+1", "1-10000001",
                             "1000000001", "99999999999999999999", "1-5000000,6000000-12000000"}) {
        FrameRange range("777");
        String error;
        EXPECT_FALSE(FrameRange::Parse(text, range, &error)) << text;
        EXPECT_EQ(range.Text(), "777") << text;
        EXPECT_NE(error, "") << text;
        EXPECT_THROW(FrameRange{text}, ArgumentException);
    }
    FrameRange range;
    EXPECT_TRUE(FrameRange::Parse("1-10000000", range));
    EXPECT_EQ(range.Count(), FrameRange::k_MaxFrames);
    EXPECT_FALSE(FrameRange::Parse(std::string(FrameRange::k_MaxTextLength + 1, ' '), range));
    String error;
    EXPECT_FALSE(FrameRange::Parse("1-5,x", range, &error));
    EXPECT_TRUE(error.Contains("character 5")) << error;
}

TEST(FrameRange, DividesIntoPackets) {
    Rows<char const*, uint64_t, std::vector<String>> const cases = {{"1-10", 4, {"1-4", "5-8", "9-10"}},
                                                                    {"1-10", 10, {"1-10"}},
                                                                    {"1-10", 1000, {"1-10"}},
                                                                    {"1-3", 1, {"1", "2", "3"}},
                                                                    {"1-3,7,10-12", 3, {"1-3", "7,10-11", "12"}},
                                                                    {"1-9x2", 2, {"1,3", "5,7", "9"}},
                                                                    {"1-9x2", 3, {"1-5x2", "7,9"}},
                                                                    {"3-1", 2, {"3-2", "1"}},
                                                                    {"-2-2", 2, {"-2--1", "0-1", "2"}},
                                                                    {"", 5, {}},
                                                                    {"1-3", 0, {}}};
    for (auto const& [text, size, packets] : cases) {
        FrameRange const range(text);
        EXPECT_EQ(range.Packets(size), packets) << text;
        ASSERT_EQ(range.PacketCount(size), packets.size()) << text;
        for (size_t i = 0; i < packets.size(); ++i)
            EXPECT_EQ(range.Packet(i, size).Text(), packets[i]) << text;
    }
}

// Against the plainest way of doing the same.
TEST(FrameRange, AgreesWithListsOfFrames) {
    std::mt19937 random(3);
    auto const below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    static constexpr char const* k_Steps[] = {"", "", "x2", "x3", "x5"};
    auto const anyText = [&] {
        String text;
        for (int i = below(12); i > 0; --i) {
            int const first = below(60) - 30;
            text += SFormat("%d-%d%s,", first, first + below(40) - 15, k_Steps[below(5)]);
        }
        return text;
    };
    for (int round = 0; round < 3000; ++round) {
        FrameRange const a(anyText());
        FrameRange const b(anyText());
        std::vector<int> const frames = a.Frames();
        ASSERT_EQ(std::set<int>(frames.begin(), frames.end()).size(), frames.size()) << a.Text();
        ASSERT_EQ(FrameRange(a.Text()), a) << a.Text();
        ASSERT_EQ(FrameRange::FromFrames(frames), a) << a.Text();

        std::vector<int> const out = b.Frames();
        std::vector<int> rest;
        for (int const frame : frames) {
            bool const isOut = std::find(out.begin(), out.end(), frame) != out.end();
            ASSERT_EQ(b.Contains(frame), isOut) << frame << " in " << b.Text();
            if (!isOut)
                rest.push_back(frame);
        }
        ASSERT_EQ(a.Subtract(b).Frames(), rest) << a.Text() << " without " << b.Text();
        for (size_t i = 0; i < frames.size(); ++i)
            ASSERT_EQ(a.At(i), frames[i]);
        ASSERT_THROW(a.At(frames.size()), ArgumentException);

        size_t const from = static_cast<size_t>(below(20));
        size_t const count = static_cast<size_t>(below(20));
        std::vector<int> slice;
        for (size_t i = from; i < std::min(frames.size(), from + count); ++i)
            slice.push_back(frames[i]);
        ASSERT_EQ(a.Slice(from, count).Frames(), slice) << a.Text();
    }
}

TEST(SequenceDistributor, FoldsPickedFrames) {
    // The range in the end, what is inserted, and how many of it are new.
    using Inserts = Rows<int, int, unsigned>;
    Rows<char const*, Inserts> const cases = {{"", {}},
                                              {"5", {{5, 5, 1}}},
                                              {"1-10", {{1, 5, 5}, {6, 10, 5}}},
                                              {"1-10", {{6, 10, 5}, {1, 5, 5}}},
                                              {"1-8", {{1, 5, 5}, {3, 8, 3}, {1, 8, 0}}},
                                              {"1-2,10-12,20", {{10, 12, 3}, {1, 2, 2}, {20, 20, 1}}},
                                              {"1-9", {{1, 2, 2}, {4, 5, 2}, {8, 9, 2}, {2, 8, 3}}},
                                              {"1-7x2", {{1, 1, 1}, {3, 3, 1}, {5, 5, 1}, {7, 7, 1}}},
                                              {"-4--2,1-3", {{3, 1, 3}, {-2, -4, 3}}},
                                              {"1-2", {{1, 2, 2}, {1, 20'000'000, 0}}},
                                              {"7", {{-2147483647 - 1, 2147483647, 0}, {7, 7, 1}}}};
    for (auto const& [range, inserts] : cases) {
        SequenceDistributor::Items items;
        size_t total = 0;
        for (auto const& [first, last, added] : inserts) {
            EXPECT_EQ(items.insert(first, last), added) << range;
            total += added;
        }
        EXPECT_EQ(items.size(), total);
        EXPECT_EQ(SequenceDistributor::CalculateRange(items), range);
    }
}

} // namespace vorlan::test_range
