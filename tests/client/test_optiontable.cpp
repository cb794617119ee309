// The table of the local options, and what it says of an options file.
#include "client/optiontable.h"

#include <corekit/inifile.h>
#include <gtest/gtest.h>

namespace vorlan {

TEST(OptionTable, FindsWhatIsWrongWithTheOptions) {
    struct Case {
        char const* section;
        char const* key;
        char const* value;
        char const* fault; // null: none
    };
    constexpr Case k_Cases[] = {
        {"Configuration", "StartEngine", "2", nullptr},
        {"Configuration", "startengine", "-2", nullptr},
        {"Configuration", "StartEngine", "", nullptr},
        {"Configuration", "StartEngine", "yes", "should be a whole number"},
        {"Configuration", "StartEngin", "2", "is not known"},
        {"Configuration", "RepeatCount", "-1", "not below zero"},
        {"Configuration", "InEngineMode", "maybe", "should be Yes or No"},
        {"Configuration", "InEngineMode", "on", nullptr},
        {"Window", "Splitter", "0.5", nullptr},
        {"Window", "Splitter", "half", "should be a number"},
        {"Window", "ToolbarGroup-12", "No", nullptr},
        {"Window", "ToolbarGroup", "No", "is not known"},
        {"Setup", "AlwaysAdministrate", "Yes", nullptr},
        {"Colors", "Scheme", "3", nullptr},
        {"Colors", "TextDarkRed", "#0aF1b2", nullptr},
        {"Colors", "TextDarkRed", "#0aF1g2", "should be a colour"},
        {"Colors", "Selected", "blue", "should be a colour"},
        {"Colors", "Selection", "#0aF1b2", "is not known"},
        {"Confirm", "ConfirmClose", "perhaps", "should be Yes or No"},
        {"A Product", "anything", "at all", nullptr},
    };
    for (Case const& c : k_Cases) {
        IniFile options;
        options.SetValue(c.section, c.key, c.value);
        auto const faults = CheckLocalOptions(options);
        ASSERT_EQ(faults.size(), c.fault ? 1u : 0u) << c.key << " = " << c.value;
        if (c.fault) {
            EXPECT_TRUE(faults.front().Contains(c.fault)) << faults.front();
            EXPECT_TRUE(faults.front().Contains(c.key)) << faults.front();
        }
    }
}

// What the table says of a default is of the option's own type.
TEST(OptionTable, EachOptionStandsThereOnceWithADefaultOfItsType) {
    IniFile options;
    for (LocalOption const& option : LocalOptions()) {
        EXPECT_EQ(FindLocalOption(option.section, option.key), &option) << option.key;
        char const* const any = option.type == OptionType::Color ? "#010203" : "1";
        options.SetValue(option.section, option.key, option.missing ? option.missing : any);
    }
    EXPECT_EQ(CheckLocalOptions(options), std::vector<String>{});
}

} // namespace vorlan
