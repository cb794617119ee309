#include <gtest/gtest.h>
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
