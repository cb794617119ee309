#include "test.h"

#include <wx/listitemfilter.h>

using corekit::String;

TEST(ListItemFilterTest, EveryTermMustHold) {
    for (auto const& [texts, terms, passes] : Rows<std::vector<String>, std::vector<String>, bool>{
             {{"Beauty pass"}, {}, true},
             {{}, {"x"}, false},
             {{}, {"!x"}, true},
             {{"Beauty pass"}, {"BEAUTY"}, true},
             {{"p_Name", "Nice name", "value 12"}, {"nice", "12"}, true}, // each in a text of its own
             {{"p_Name", "Nice name"}, {"nice", "13"}, false},
             {{"beauty", "smoke"}, {"!smoke"}, false},
             {{"beauty", "smoke"}, {"-SMOKE"}, false},
             {{"beauty"}, {"beauty", "!smoke"}, true},
             {{"wait!"}, {"\\!"}, true},
             {{"wait"}, {"\\!"}, false},
             {{"a-b"}, {"\\-b"}, true},
             {{"a\\b"}, {"\\b"}, true},          // a backslash before anything else is itself
             {{"beauty"}, {"!", "-", ""}, true}, // half typed
         }) {
        std::string about;
        for (String const& term : terms)
            about += term.Str() + " | ";
        EXPECT_EQ(ListItemPassesFilter(texts, terms), passes) << about;
    }
    std::vector<String> const terms{"gpu", "!night"};
    EXPECT_TRUE(ListItemPassesFilter({"GPU 12", "farm"}, terms));
}
