#include "test.h"

#include "wxvorlan/displays/textlinestate.h"
#include "wxvorlan/displays/textsearch.h"

namespace test_textlines {

using corekit::String;

using Hits = std::vector<std::pair<int, int>>;

// All hits of a term, as a naive look at each line finds them.
std::vector<TextHit> FindNaively(std::vector<std::string> const& lines, String const& term) {
    std::vector<TextHit> hits;
    for (size_t line = 0; line < lines.size(); ++line) {
        int number = 0;
        for (size_t at = String(lines[line]).FindNoCase(term); at != String::npos;
             at = String(lines[line]).FindNoCase(term, at + term.size()))
            hits.push_back({static_cast<int>(line), number++});
    }
    return hits;
}

// Lines in pieces of any size.
class PieceText : public TextSnapshot {
public:
    PieceText(std::vector<std::string> lines, size_t pieceBytes)
        : m_lines(std::move(lines)), m_pieceBytes(pieceBytes) {}
    int Lines() const override { return static_cast<int>(m_lines.size()); }
    void Read(int first, int end, Visitor const& visitor) const override {
        for (int line = first; line < std::min(end, Lines()); ++line) {
            std::string const text = m_lines[static_cast<size_t>(line)] + (line + 1 < Lines() ? "\n" : "");
            for (size_t at = 0; at < text.size(); at += m_pieceBytes) {
                if (!visitor({line, std::string_view(text).substr(at, m_pieceBytes), at + m_pieceBytes < text.size()}))
                    return;
            }
        }
    }

private:
    std::vector<std::string> m_lines;
    size_t m_pieceBytes;
};

TEST(ShownLineTest, ShowsAnyBytesAsCharacters) {
    for (auto const& [bytes, shown] : Rows<std::string, wchar_t const*>{
             {"a\tb\x01", L"a\tb\xFFFD"},
             {"gr\xC3\xB6\xC3\x9F", L"gr\x00F6\x00DF"},
             {"\xff\xfe\xC3(\xE2\x82", L"\xFFFD\xFFFD\xFFFD(\xFFFD\xFFFD"},
             {"\xC0\xAF\xED\xA0\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD"}, // overlong, half a pair
             {"\xF0\x9F\x8E\xAC\xF4\x90\x80\x80", L"\x1F3AC\xFFFD\xFFFD\xFFFD\xFFFD"},
             {std::string("a\0b", 3), L"a\xFFFD\x62"},
             {"\xE2\x80\xAE!\xE2\x80\xA8!", L"\xFFFD!\xFFFD!"}, // turns the writing round, ends the line
             {"\x1b[1;31mred\x1b[0m \x1b]0;title\x07ok\x1b(B\x1b[2K.\x1b", L"red ok."},
         })
        EXPECT_EQ(ShowLine({bytes}).text, shown) << bytes;
    std::string euros;
    while (euros.size() < 27'000)
        euros += "\u20AC";
    for (std::string const& text : {std::string(10'000, 'x'), euros}) {
        ShownLine const shown = ShowLine({text});
        EXPECT_EQ(shown.text.length(), TextLine::k_MaxShown);
        EXPECT_EQ(shown.text.Last(), wxUniChar(0x2026));
    }
    EXPECT_EQ(ShowLine({"short", ColorName::Text, true}).text.Last(), wxUniChar(0x2026));
}

TEST(ShownLineTest, EscapeSequencesBecomeColours) {
    auto const runs = ShowLine({"a\x1b[38;5;3mb\x1b[1;31mc\x1b[0md\x1b[92me\x1b[48;2;1;32;3mf"}).runs;
    Rows<size_t, ColorName> seen;
    for (auto const& run : runs)
        seen.emplace_back(run.from, run.color);
    using enum ColorName;
    EXPECT_EQ(seen, (Rows<size_t, ColorName>{{1, Text}, {2, TextRed}, {3, Text}, {4, TextGreen}, {5, TextGreen}}));
}

TEST(ShownLineTest, HitsAreCountedInCharacters) {
    for (auto const& [text, term, matchCase, hits] : Rows<std::string, char const*, bool, Hits>{
             {"error: no Error", "ERROR", false, {{0, 5}, {10, 15}}},
             {"error: no Error", "Error", true, {{10, 15}}},
             {"aaaa", "aa", false, {{0, 2}, {2, 4}}},
             {"gr\u00F6\u00DFer gr\u00F6\u00DFe", "\u00DFe", false, {{3, 5}, {10, 12}}},
             {"\377abc", "abc", false, {{1, 4}}},
             {"ab\x1b[31mc", "abc", false, {{0, 3}}},
             {"abc", "", false, {}},
             {"abc", "abcd", false, {}},
             {std::string(4092, 'x') + "abcabc", "abc", false, {{4092, 4095}}}, // one in what is cut
         }) {
        EXPECT_EQ(FindInLine(ShowLine({text}), TextTerm(term, matchCase)), hits) << text;
    }
}

TEST(ShownLineTest, WordsAreWhatADoubleClickTakes) {
    wxString const text("Saved: /tmp/shot_010.exr now");
    Rows<int, int, int> const cases = {{14, 12, 24}, {0, 0, 5}, {28, 25, 28}, {6, 6, 6}, {99, 25, 28}};
    for (auto const& [at, from, to] : cases)
        EXPECT_EQ(WordAt(text, at), std::make_pair(from, to)) << at;
}

TEST(TextLinesTest, KeepsLinesAndWhatASnapshotHasSeen) {
    std::mt19937 random(3);
    TextLines lines;
    std::vector<std::string> naive;
    for (int step = 0; step < 20'000; ++step) {
        auto const at = static_cast<int>(naive.empty() ? 0 : random() % naive.size());
        std::string const text = std::to_string(step);
        switch (step < 6'000 ? 0 : random() % 4) {
        case 1:
            lines.Insert(at, text, ColorName::Text);
            naive.insert(naive.begin() + at, text);
            break;
        case 2:
            lines.Remove(at);
            naive.erase(naive.begin() + at);
            break;
        case 3:
            lines.Set(at, {text});
            naive[static_cast<size_t>(at)] = text;
            break;
        default:
            lines.Append(text, ColorName::Text);
            naive.push_back(text);
        }
    }
    auto const snapshot = lines.Snapshot();
    auto const before = naive;
    lines.RemoveFront(4'000);
    naive.erase(naive.begin(), naive.begin() + 4'000);
    lines.Set(0, {"other"});
    naive[0] = "other";
    ASSERT_EQ(lines.Count(), static_cast<int>(naive.size()));
    for (int i = 0; i < lines.Count(); ++i)
        ASSERT_EQ(lines.At(i)->text.Str(), naive[static_cast<size_t>(i)]);
    std::string seen;
    std::string wanted;
    snapshot->Read(5, snapshot->Lines(), [&](TextSnapshot::Piece const& piece) {
        seen += piece.bytes;
        return true;
    });
    for (size_t i = 5; i < before.size(); ++i)
        wanted += before[i] + "\n";
    EXPECT_EQ(seen, wanted);
}

TEST(TextSearchTest, FindsAndCountsWhatANaiveLookFinds) {
    std::mt19937 random(5);
    for (int round = 0; round < 60; ++round) {
        std::vector<std::string> lines(1 + random() % 30);
        for (std::string& line : lines) {
            for (unsigned i = random() % 20; i > 0; --i)
                line += random() % 3 ? "ab" : random() % 2 ? "Aa" : "c";
        }
        String const term = random() % 2 ? "aba" : "a";
        auto const naive = FindNaively(lines, term);
        size_t const half = random() % (lines.size() + 1);
        auto const part = [&](size_t count) {
            return std::make_shared<PieceText>(
                std::vector<std::string>(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(count)),
                1 + random() % 9);
        };
        TextSearch search(TextTerm(term, false), part(half), [] {});
        EXPECT_TRUE(search.TakeStart());
        search.Run();
        search.Extend(part(lines.size())); // the text has grown
        TextHit const from{static_cast<int>(random() % lines.size()), static_cast<int>(random() % 3)};
        for (auto const direction : {TextDirection::Forward, TextDirection::Backward}) {
            search.Seek(from, direction);
            if (search.TakeStart())
                search.Run();
            ASSERT_EQ(search.GetState().hits, static_cast<int64_t>(naive.size())) << round;
            auto next = std::lower_bound(naive.begin(), naive.end(), from);
            if (direction == TextDirection::Forward)
                next = next == naive.end() ? naive.begin() : next;
            else if (!naive.empty())
                next = std::prev(next == naive.begin() ? naive.end() : next);
            auto const hit = search.TakeHit();
            ASSERT_EQ(hit.has_value(), !naive.empty());
            if (hit) {
                EXPECT_EQ(*hit, *next) << round;
                EXPECT_EQ(search.GetState().rank, next - naive.begin());
            }
        }
    }
}

TEST(TextSearchTest, AStoppedSearchEnds) {
    TextSearch search(TextTerm("x", false), std::make_shared<PieceText>(std::vector<std::string>(9, "x"), 5), [] {});
    search.Stop();
    search.Run();
    EXPECT_EQ(search.GetState().hits, 0);
}

TEST(ShownLineTest, LayoutFindsLines) {
    TextLineLayout layout;
    layout.size = {100, 45};
    layout.lineHeight = 10;
    layout.top = 5;
    for (auto const& [y, line] : {std::pair{0, 5}, {9, 5}, {10, 6}, {-1, 4}, {-10, 4}, {-11, 3}})
        EXPECT_EQ(layout.LineAt(y), line) << y;
    layout.size.y = 0;
    EXPECT_EQ(layout.WholeLines(), 1);
}

} // namespace test_textlines
