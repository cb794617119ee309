#include "wxvorlan/displays/textlinestate.h"

#include <gtest/gtest.h>

using corekit::String;

namespace {

using Hits = std::vector<std::pair<int, int>>;

TextLines Lines(std::initializer_list<char const*> texts) {
    TextLines lines;
    for (char const* const text : texts)
        lines.Append(text, ColorName::Text);
    return lines;
}

} // namespace

TEST(TextLinesTest, ShowsAnyBytesAsCharacters) {
    TextLines lines = Lines({"a\tb\x1b[1m",
                             "gr\xC3\xB6\xC3\x9F"
                             "e",
                             "\xff\xfe"
                             "abc"});
    lines.Append(String("a\0b", 3), ColorName::Text);
    lines.Append(String(10'000, 'x'), ColorName::Text);
    String wide;
    for (int i = 0; i < 9'000; ++i)
        wide += "\xE2\x82\xAC"; // three bytes; a cut between them would show no text at all
    lines.Append(wide, ColorName::Text);

    EXPECT_EQ(lines.Shown(0), wxString::FromUTF8("a\tb\xEF\xBF\xBD[1m"));
    EXPECT_EQ(lines.Length(1), 5);
    EXPECT_EQ(lines.Length(2), 5);
    EXPECT_EQ(lines.Length(3), 3);
    for (int line : {4, 5}) {
        EXPECT_EQ(lines.Length(line), static_cast<int>(TextLines::k_MaxShown));
        EXPECT_EQ(lines.Shown(line).Last(), wxUniChar(0x2026));
    }
    EXPECT_EQ(lines.Shown(5)[0], wxUniChar(0x20AC));
}

TEST(TextLinesTest, HitsAreCountedInCharacters) {
    struct Case {
        String text;
        String term;
        Hits hits;
    };
    Case const cases[] = {
        {"error: no Error", "ERROR", {{0, 5}, {10, 15}}},
        {"aaaa", "aa", {{0, 2}, {2, 4}}},
        {"gr\xC3\xB6\xC3\x9F"
         "er als gr\xC3\xB6\xC3\x9F"
         "e",
         "\xC3\x9F"
         "e",
         {{3, 5}, {14, 16}}},
        {"\xff"
         "abc abc",
         "abc",
         {{1, 4}, {5, 8}}}, // no UTF-8: a byte is a character
        {"abc", "", {}},
        {"abc", "abcd", {}},
    };
    for (Case const& each : cases) {
        TextLines lines;
        lines.Append(each.text, ColorName::Text);
        EXPECT_EQ(lines.Hits(0, each.term), each.hits) << each.text.Str();
    }
}

TEST(TextLinesTest, CopiesWhatIsSelectedAndWholeLinesUncut) {
    TextLines lines = Lines({"first line", "a\x01z", "last"});
    struct Case {
        TextPosition from, to;
        char const* text;
    };
    Case const cases[] = {
        {{0, 6}, {0, 10}, "line"},
        {{0, 6}, {2, 2}, "line\na\x01z\nla"},
        {{0, 0}, {9, 9}, "first line\na\x01z\nlast"},
        {{2, 0}, {1, 0}, ""},
        {{1, 3}, {1, 3}, ""},
        {{-3, 5}, {0, 5}, "first"},
        {{0, 10}, {1, 0}, "\n"},
    };
    for (Case const& each : cases)
        EXPECT_EQ(lines.Between(each.from, each.to), each.text) << each.from.line << ' ' << each.from.character;
    lines.Append(String(10'000, 'x'), ColorName::Text);
    EXPECT_EQ(lines.Between({3, 0}, lines.End()).length(), 10'000U);
    EXPECT_EQ(TextLines().Between({0, 0}, {5, 5}), "");
}

TEST(TextLinesTest, WordsAreWhatADoubleClickTakes) {
    TextLines const lines = Lines({"Saved: /tmp/shot_010.exr now"});
    struct Case {
        int at, from, to;
    };
    for (Case const each : {Case{14, 12, 24}, Case{0, 0, 5}, Case{28, 25, 28}, Case{6, 6, 6}, Case{99, 25, 28}})
        EXPECT_EQ(lines.WordAt({0, each.at}), std::make_pair(each.from, each.to)) << each.at;
    EXPECT_EQ(lines.WordAt({7, 0}), std::make_pair(0, 0));
}

TEST(TextLinesTest, SearchGoesRoundFromThePlace) {
    TextLines const lines = Lines({"hit one", "none", "a hit, a hit", "last"});
    struct Case {
        TextPosition from;
        TextDirection direction;
        int line, character; // -1: missing
        char const* term;
    };
    auto const f = TextDirection::Forward;
    auto const b = TextDirection::Backward;
    Case const cases[] = {
        {{0, 0}, f, 0, 0, "HIT"},
        {{0, 1}, f, 2, 2, "hit"},
        {{2, 3}, f, 2, 9, "hit"},
        {{2, 10}, f, 0, 0, "hit"},
        {{3, 4}, b, 2, 9, "hit"},
        {{2, 9}, b, 2, 2, "hit"},
        {{0, 2}, b, 2, 9, "hit"},
        {{0, 3}, b, 0, 0, "hit"},
        // Round and back to the hit that the search began behind.
        {{3, 2}, f, 3, 0, "last"},
        {{0, 0}, b, 0, 2, "t one"},
        {{1, 2}, f, -1, 0, "nowhere"},
        {{1, 2}, b, -1, 0, ""},
    };
    for (Case const& each : cases) {
        for (int const slice : {1, 100}) {
            TextSearch search;
            search.Begin(each.term, each.from, each.direction);
            for (int i = 0; i < 20; ++i)
                search.Step(lines, slice);
            ASSERT_EQ(search.GetState(), each.line < 0 ? TextSearch::State::Missing : TextSearch::State::Found)
                << each.term << ' ' << each.from.line;
            if (each.line >= 0) {
                EXPECT_EQ(search.Line(), each.line) << each.from.line << ' ' << each.from.character;
                EXPECT_EQ(search.Hit().first, each.character) << each.from.line << ' ' << each.from.character;
            }
        }
    }
    TextSearch nothing;
    nothing.Begin("x", {}, f);
    EXPECT_EQ(nothing.Step(TextLines(), 1), TextSearch::State::Missing);
}

TEST(TextLinesTest, LayoutFindsLines) {
    TextLineLayout layout;
    layout.size = {100, 45};
    layout.lineHeight = 10;
    layout.top = 5;
    for (auto const& [y, line] : {std::pair{0, 5}, {9, 5}, {10, 6}, {-1, 4}, {-10, 4}, {-11, 3}})
        EXPECT_EQ(layout.LineAt(y), line) << y;
    layout.size.y = 0;
    EXPECT_EQ(layout.WholeLines(), 1);
}
