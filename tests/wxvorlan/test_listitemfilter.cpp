#include "test.h"

#include <wx/listitemfilter.h>

using corekit::String;

TEST(ListItemFilterTest, EveryTermMustHold) {
    struct Case {
        std::vector<String> texts;
        std::vector<String> terms;
        bool passes;
    };
    std::vector<Case> const cases{
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
    };
    for (Case const& each : cases) {
        std::string about;
        for (String const& term : each.terms)
            about += term.Str() + " | ";
        EXPECT_EQ(ListItemPassesFilter(each.texts, each.terms), each.passes) << about;
    }
    std::vector<String> const terms{"gpu", "!night"};
    EXPECT_TRUE(ListItemPassesFilter({"GPU 12", "farm"}, terms));
}
