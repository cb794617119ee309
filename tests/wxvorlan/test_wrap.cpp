#include "test.h"

#include <wx/wxvstatusbar.h>
#include <wx/wxvwrap.h>

TEST(Wrapped, BreaksWhereWordsEndAndTellsOfMore) {
    for (auto const& [text, most, lines, wrapped] : Rows<char const*, int, int, char const*>{
             {"", 5, 3, ""},
             {"one two three", 7, 3, "one two\nthree"},
             {"a\n\nb", 5, 3, "a\n\nb"},
             {"/farm/shots/a", 7, 3, "/farm/\nshots/a"},
             {"abcdefghij", 4, 3, "abcd\nefgh\nij"},
             {"abcdefghijklm", 4, 3, "abcd\nefgh\ni..."},
             {"a\nb\nc", 5, 2, "a\nb..."},
             {"ab", 0, 3, "a\nb"}, // a window without room
         }) {
        auto const widthOf = [](wxString const& line) { return static_cast<int>(line.length()); };
        EXPECT_EQ(wxvWrapped(text, most, lines, widthOf), wrapped) << text;
    }
}

TEST(StatusText, LosesItsBracketsBeforeItsWords) {
    char const* const text = "3 Engines (2 Available)   |   5 Jobs (1 Active)   |   2 Work";
    for (auto const& [most, shown] : Rows<size_t, char const*>{
             {60, text},
             {59, "3 Engines   |   5 Jobs (1 Active)   |   2 Work"},
             {40, "3 Engines   |   5 Jobs   |   2 Work"},
             {0, "3 Engines   |   5 Jobs   |   2 Work"},
         })
        EXPECT_EQ(wxvWithFewerBrackets(text, [&](wxString const& shorter) { return shorter.length() <= most; }), shown);
    EXPECT_EQ(wxvWithFewerBrackets("open (for ever", [](wxString const&) { return false; }), "open (for ever");
}
