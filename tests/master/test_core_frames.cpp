// Frames by position, packets, staggers and options: the parts of the Core that stand
// alone.
#include "test.h"

#include "master/core/framemap.h"
#include "master/core/policy.h"
#include "master/core/stagger.h"
#include "master/core/unitqueue.h"

#include <vorlan/keys.h>
#include <vorlan/optionstext.h>

namespace farm::test_core_frames {

TEST(SpanSet, AgreesWithASetOfNumbers) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        SpanSet spans;
        std::set<uint32_t> plain;
        for (int step = 0; step < 60; ++step) {
            uint32_t const first = random() % 50;
            Span const span{first, first + static_cast<uint32_t>(random() % 8)};
            bool const inserts = random() % 2;
            inserts ? spans.Insert(span) : spans.Erase(span);
            for (uint32_t p = span.first; p < span.end; ++p)
                inserts ? static_cast<void>(plain.insert(p)) : static_cast<void>(plain.erase(p));
            ASSERT_EQ(spans.Count(), plain.size());
        }
        for (uint32_t p = 0; p < 60; ++p)
            ASSERT_EQ(spans.Contains(p), plain.contains(p));
        Span before{};
        for (Span const& span : spans.All()) {
            ASSERT_LT(span.first, span.end);
            ASSERT_TRUE(before.end == 0 || before.end < span.first) << "spans touch";
            before = span;
        }
        Span const probe{10, 30};
        uint64_t inProbe = 0;
        for (uint32_t p = probe.first; p < probe.end; ++p)
            inProbe += plain.count(p);
        ASSERT_EQ(CountOf(spans.Within(probe)), inProbe);
        ASSERT_EQ(spans.Intersects(probe), inProbe > 0);
        ASSERT_EQ(spans.ContainsAll(probe), inProbe == 20);
    }
}

TEST(FrameMap, NumbersTheFramesInTheirOrder) {
    for (char const* const text : {"1-10", "10-1", "-5-5", "1-9x2,2-8x2", "5,1-3,30-50x5", "100-1x3,7"}) {
        FrameMap const map{FrameRange(text)};
        auto const frames = map.Range().Frames();
        ASSERT_EQ(map.Count(), frames.size()) << text;
        for (uint32_t p = 0; p < map.Count(); ++p) {
            EXPECT_EQ(map.FrameAt(p), frames[p]) << text;
            EXPECT_EQ(map.PositionOf(frames[p]), p) << text;
        }
        EXPECT_FALSE(map.PositionOf(1000)) << text;
        EXPECT_FALSE(map.PositionOf(-1000)) << text;
        EXPECT_EQ(map.PositionsOf(FrameRange(map.TextOf({{1, map.Count()}}))), (Spans{{1, map.Count()}})) << text;
    }
}

// Packets as sub-range texts, `size` frames each.
String PacketsOf(UnitQueue& queue, FrameMap const& map, uint32_t size, bool even = false) {
    String text;
    while (true) {
        Spans const packet = queue.TakeSpans(size, even ? &map : nullptr, {});
        if (packet.empty())
            return text;
        text += (text.Empty() ? "" : " ") + map.TextOf(packet);
    }
}

TEST(UnitQueue, DividesIntoPackets) {
    struct Case {
        char const* range;
        uint32_t size;
        bool even;
        char const* packets;
    };
    for (Case const& c :
         {Case{"1-10", 4, false, "1-4 5-8 9-10"}, Case{"1-3", 1, false, "1 2 3"}, Case{"-2-2", 3, false, "-2-0 1-2"},
          Case{"10-1", 5, false, "10-6 5-1"}, Case{"1-3,10,20-30x5", 4, false, "1-3,10 20-30x5"},
          Case{"1-3,10,20-30x5", 4, true, "1-3 10 20-30x5"}, Case{"1-3", 0, false, "1 2 3"}}) {
        FrameMap const map{FrameRange(c.range)};
        UnitQueue queue;
        queue.AddFresh(Span{0, map.Count()});
        EXPECT_EQ(PacketsOf(queue, map, c.size, c.even), c.packets) << c.range << " by " << c.size;
        EXPECT_TRUE(queue.Empty());
    }
}

TEST(UnitQueue, KeepsWhatCameBackTogether) {
    FrameMap const map{FrameRange("1-12")};
    UnitQueue queue;
    queue.AddFresh(Span{0, 12});
    Spans const first = queue.TakeSpans(3, nullptr, {});
    Spans const second = queue.TakeSpans(3, nullptr, {});
    queue.PutBack(second, UnitQueue::Place::Back);
    queue.PutBack(first, UnitQueue::Place::Front);
    EXPECT_EQ(queue.Count(), 12U);
    UnitQueue divided = queue;
    EXPECT_EQ(PacketsOf(queue, map, 2), "1-3 7-8 9-10 11-12 4-6") << "a failed packet comes last, a stopped one first";
    divided.Redivide();
    EXPECT_EQ(PacketsOf(divided, map, 5), "1-5 6-10 11-12");

    queue.PutBack(Spans{{0, 4}}, UnitQueue::Place::Front);
    queue.Remove(Spans{{1, 2}, {3, 9}});
    EXPECT_EQ(queue.Count(), 2U);
    EXPECT_EQ(PacketsOf(queue, map, 9), "1,3") << "what is left of a packet stays one";
}

TEST(UnitQueue, HandsOutOnlyWhatIsAllowed) {
    FrameMap const map{FrameRange("1-9")};
    UnitQueue queue;
    queue.AddFresh(Span{0, 9});
    auto const allowed = [](uint32_t position) { return position >= 3 && position != 7; };
    EXPECT_EQ(map.TextOf(queue.TakeSpans(3, nullptr, allowed)), "4-6");
    EXPECT_FALSE(queue.HasNext(3, nullptr, allowed)) << "a packet goes out whole";
    EXPECT_EQ(queue.Count(), 6U);
}

TEST(Stagger, CountsWithinItsSpan) {
    Steady const start(Time(1000));
    UID const a = UID::FromName("a");
    UID const b = UID::FromName("b");
    struct Case {
        StaggerMode mode;
        bool sameEngine; // the third start, after two on `a`, within the span
        bool otherEngine;
        bool knownEngine;
    };
    for (Case const& c :
         {Case{StaggerMode::Units, false, false, false}, Case{StaggerMode::UnitsOnAnEngine, false, true, false},
          Case{StaggerMode::Engines, false, false, true}}) {
        StaggerRule const rule{c.mode, 2, Time::Seconds(10)};
        Stagger stagger;
        EXPECT_EQ(stagger.Note(rule, a, true, start), Steady::Never());
        EXPECT_EQ(stagger.Note(rule, a, true, start + Time::Seconds(4)), start + Time::Seconds(10));
        Steady const soon = start + Time::Seconds(9);
        EXPECT_EQ(stagger.Allows(rule, a, true, soon), c.sameEngine);
        EXPECT_EQ(stagger.Allows(rule, b, true, soon), c.otherEngine);
        EXPECT_EQ(stagger.Allows(rule, a, false, soon), c.knownEngine);
        EXPECT_TRUE(stagger.Allows(rule, a, true, start + Time::Seconds(10)));
        EXPECT_TRUE(stagger.Allows(StaggerRule{c.mode, 0, Time::Seconds(10)}, a, true, soon));
    }
}

TEST(Policy, ReadsTextsOfAllKindsAndMatchesCreators) {
    Policy const read = Policy::Read({{o_FIFO, "0"},
                                      {o_PackEngine, "no"},
                                      {o_StartWorkTimeout, "1.5"},
                                      {o_MaxJobFailures, "-4"},
                                      {o_LostWorkTimeout, "nan"},
                                      {o_DeleteAfter, "2"},
                                      {o_UserLimits, "ann=3;\"b;b\"=-2;bad;none=0;"}});
    EXPECT_FALSE(read.fifo || read.packEngine);
    EXPECT_EQ(read.startTimeout, Time(1500));
    EXPECT_EQ(read.maxJobFailures, 0U);
    EXPECT_EQ(read.lostTimeout, Time::Seconds(120));
    EXPECT_EQ(read.deleteAfter, Time::Hours(2));
    ASSERT_EQ(read.creatorLimits.size(), 2U);
    EXPECT_EQ(read.creatorLimits[0].limit, 3);
    EXPECT_EQ(read.creatorLimits[1].limit, -2);
    CreatorMatcher matcher({{"an.*", 1}, {"[", 2}, {"bob", 3}});
    EXPECT_EQ(matcher.Match("Anna"), (std::vector<size_t>{0}));
    EXPECT_EQ(matcher.Match("["), (std::vector<size_t>{1})) << "a pattern that is none is plain text";
    EXPECT_EQ(matcher.Match("bobby"), (std::vector<size_t>{}));
}

TEST(Policy, MergesViewPresetsByName) {
    auto const preset = [](char const* name, char const* count) {
        return OptionsToString({{"name", name}, {"count", count}});
    };
    OptionMap section{{o_ViewPresets, preset("One", "1")}, {"One-0", "a"}, {"Default", "x"}};
    // Two clients save at once: each knows only of "One" and of its own.
    MergeViewPresets(section, {{o_ViewPresets, preset("One", "1") + "," + preset("Two", "2")}, {"Two-0", "b"}});
    MergeViewPresets(section, {{o_ViewPresets, preset("one", "3") + "," + preset("Three", "1")}, {"Three-0", "c"}});
    EXPECT_EQ(section[o_ViewPresets], preset("one", "3") + "," + preset("Two", "2") + "," + preset("Three", "1"));
    EXPECT_EQ(section["Two-0"] + section["Three-0"] + section["One-0"] + section["Default"], "bcax");
}

} // namespace farm::test_core_frames
