#include "test.h"

#include <wx/wxvstatusbar.h>
#include <wx/wxvwrap.h>

TEST(Wrapped, BreaksWhereWordsEndAndTellsOfMore) {
    struct Case {
        char const* text;
        int most, lines;
        char const* wrapped;
    } const cases[] = {
        {"", 5, 3, ""},
        {"one two three", 7, 3, "one two\nthree"},
        {"a\n\nb", 5, 3, "a\n\nb"},
        {"/farm/shots/a", 7, 3, "/farm/\nshots/a"},
        {"abcdefghij", 4, 3, "abcd\nefgh\nij"},
        {"abcdefghijklm", 4, 3, "abcd\nefgh\ni..."},
        {"a\nb\nc", 5, 2, "a\nb..."},
        {"ab", 0, 3, "a\nb"}, // a window without room
    };
    for (Case const& c : cases) {
        auto const widthOf = [](wxString const& line) { return static_cast<int>(line.length()); };
        EXPECT_EQ(wxvWrapped(c.text, c.most, c.lines, widthOf), c.wrapped) << c.text;
    }
}

TEST(StatusText, LosesItsBracketsBeforeItsWords) {
    char const* const text = "3 Engines (2 Available)   |   5 Jobs (1 Active)   |   2 Work";
    struct Case {
        size_t most;
        char const* shown;
    } const cases[] = {
        {60, text},
        {59, "3 Engines   |   5 Jobs (1 Active)   |   2 Work"},
        {40, "3 Engines   |   5 Jobs   |   2 Work"},
        {0, "3 Engines   |   5 Jobs   |   2 Work"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(wxvWithFewerBrackets(text, [&](wxString const& shorter) { return shorter.length() <= c.most; }),
                  c.shown);
    EXPECT_EQ(wxvWithFewerBrackets("open (for ever", [](wxString const&) { return false; }), "open (for ever");
}
