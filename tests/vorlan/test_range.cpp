#include <corekit/exception.h>
#include <gtest/gtest.h>
#include <vorlan/range.h>
#include <vorlan/sequencedistributor.h>

#include <algorithm>
#include <random>
#include <set>

namespace vorlan {
namespace {

TEST(FrameRange, ReadsAndWritesText) {
    struct Case {
        char const* text;
        char const* written; // null: refused
        corekit::vector<int> frames;
    } const cases[] = {
        {"", "", {}},
        {"  ", "", {}},
        {"5", "5", {5}},
        {"1-3", "1-3", {1, 2, 3}},
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
        {"a", nullptr, {}},
        {"1-", nullptr, {}},
        {"-", nullptr, {}},
        {"1-2x", nullptr, {}},
        {"1-2x0", nullptr, {}},
        {"1-2x-1", nullptr, {}},
        {"1 2", nullptr, {}},
        {"1--", nullptr, {}},
        {",1", nullptr, {}},
        {"1.5", nullptr, {}},
        {"+1", nullptr, {}},
        {"1-10000001", nullptr, {}},
        {"1-5000000,6000000-12000000", nullptr, {}},
        {"1000000001", nullptr, {}},
        {"99999999999999999999", nullptr, {}},
    };
    for (Case const& test : cases) {
        FrameRange range("777");
        String error;
        bool const good = FrameRange::Parse(test.text, range, &error);
        EXPECT_EQ(good, test.written != nullptr) << test.text << " " << error;
        if (!good) {
            EXPECT_EQ(range.Text(), "777") << test.text;
            EXPECT_NE(error, "") << test.text;
            EXPECT_THROW(FrameRange{test.text}, ArgumentException);
            continue;
        }
        EXPECT_EQ(range.Frames(), test.frames) << test.text;
        EXPECT_EQ(range.Count(), test.frames.size()) << test.text;
        EXPECT_EQ(range.Text(), test.written) << test.text;
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
    struct Case {
        char const* text;
        uint64_t size;
        corekit::vector<String> packets;
    } const cases[] = {
        {"1-10", 4, {"1-4", "5-8", "9-10"}},
        {"1-10", 10, {"1-10"}},
        {"1-10", 1000, {"1-10"}},
        {"1-3", 1, {"1", "2", "3"}},
        {"1-3,7,10-12", 3, {"1-3", "7,10-11", "12"}},
        {"1-9x2", 2, {"1,3", "5,7", "9"}},
        {"1-9x2", 3, {"1-5x2", "7,9"}},
        {"3-1", 2, {"3-2", "1"}},
        {"-2-2", 2, {"-2--1", "0-1", "2"}},
        {"", 5, {}},
        {"1-3", 0, {}},
    };
    for (Case const& test : cases) {
        FrameRange const range(test.text);
        EXPECT_EQ(range.Packets(test.size), test.packets) << test.text;
        ASSERT_EQ(range.PacketCount(test.size), test.packets.size()) << test.text;
        for (size_t i = 0; i < test.packets.size(); ++i)
            EXPECT_EQ(range.Packet(i, test.size).Text(), test.packets[i]) << test.text;
    }
}

// Against the plainest way of doing the same.
TEST(FrameRange, AgreesWithListsOfFrames) {
    std::mt19937 random(3);
    auto const below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    auto const anyText = [&] {
        String text;
        for (int i = below(12); i > 0; --i) {
            int const first = below(60) - 30;
            text += String::From(first);
            if (below(2))
                text += "-" + String::From(first + below(40) - 15);
            else
                text += "-" + String::From(first + below(40) - 15) + "x" + String::From(1 + below(5));
            text += ",";
        }
        return text;
    };
    for (int round = 0; round < 3000; ++round) {
        FrameRange const a(anyText());
        FrameRange const b(anyText());
        corekit::vector<int> const frames = a.Frames();
        ASSERT_EQ(std::set<int>(frames.begin(), frames.end()).size(), frames.size()) << a.Text();
        ASSERT_EQ(FrameRange(a.Text()), a) << a.Text();
        ASSERT_EQ(FrameRange::FromFrames(frames), a) << a.Text();

        corekit::vector<int> const out = b.Frames();
        corekit::vector<int> rest;
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
        corekit::vector<int> slice;
        for (size_t i = from; i < std::min(frames.size(), from + count); ++i)
            slice.push_back(frames[i]);
        ASSERT_EQ(a.Slice(from, count).Frames(), slice) << a.Text();
    }
}

TEST(SequenceDistributor, FoldsPickedFrames) {
    struct Case {
        corekit::vector<std::pair<int, int>> inserts;
        corekit::vector<unsigned> added;
        char const* range;
    } const cases[] = {
        {{}, {}, ""},
        {{{5, 5}}, {1}, "5"},
        {{{1, 5}, {6, 10}}, {5, 5}, "1-10"},
        {{{6, 10}, {1, 5}}, {5, 5}, "1-10"},
        {{{1, 5}, {3, 8}, {1, 8}}, {5, 3, 0}, "1-8"},
        {{{10, 12}, {1, 2}, {20, 20}}, {3, 2, 1}, "1-2,10-12,20"},
        {{{1, 2}, {4, 5}, {8, 9}, {2, 8}}, {2, 2, 2, 3}, "1-9"},
        {{{1, 1}, {3, 3}, {5, 5}, {7, 7}}, {1, 1, 1, 1}, "1-7x2"},
        {{{3, 1}, {-2, -4}}, {3, 3}, "-4--2,1-3"},
        {{{1, 2}, {1, 20'000'000}}, {2, 0}, "1-2"},
        {{{-2147483647 - 1, 2147483647}, {7, 7}}, {0, 1}, "7"},
    };
    for (Case const& test : cases) {
        SequenceDistributor::Items items;
        size_t total = 0;
        for (size_t i = 0; i < test.inserts.size(); ++i) {
            EXPECT_EQ(items.insert(test.inserts[i].first, test.inserts[i].second), test.added[i]) << test.range;
            total += test.added[i];
        }
        EXPECT_EQ(items.size(), total);
        EXPECT_EQ(SequenceDistributor::CalculateRange(items), test.range);
    }
}

} // namespace
} // namespace vorlan
