// The handles of the local options, their table, and what it says of an options file.
#include "test.h"

#include "client/optiontable.h"

#include "client/options.h"

#include <regex>

namespace vorlan {

TEST(OptionTable, FindsWhatIsWrongWithTheOptions) {
    // Null: no fault.
    Rows<char const*, char const*, char const*, char const*> const cases = {
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
        {"MasterDefaultStartup", "Brakka", "1.5", "should be a whole number"},
        {"Communication", "MasterPort", "70000", "from 0 to 65535"},
        {"A Product", "anything", "at all", nullptr},
    };
    for (auto const& [section, key, value, fault] : cases) {
        IniFile options;
        options.SetValue(section, key, value);
        auto const faults = CheckOptions(options, LocalOptions());
        ASSERT_EQ(faults.size(), fault ? 1u : 0u) << key << " = " << value;
        if (fault) {
            EXPECT_TRUE(faults.front().Contains(fault) && faults.front().Contains(key)) << faults.front();
        }
    }
}

// Each handle stands in the table, once; what is written for its default reads as that.
TEST(OptionTable, HoldsEachHandleWithADefaultOfItsType) {
    std::string const header = File::Read(Path(k_SourceDir) / "src/vorlangui/client/options.h").Str();
    std::regex const handle(R"(constexpr (LocalOption|OptionFamily)<)");
    EXPECT_EQ(std::distance(std::sregex_iterator(header.begin(), header.end(), handle), std::sregex_iterator()),
              static_cast<long>(LocalOptions().size()));
    IniFile options;
    for (OptionInfo const* const option : LocalOptions()) {
        EXPECT_FALSE(option->Has(options)) << option->Key() << " stands there twice";
        option->SetText(options, option->DefaultText());
        EXPECT_EQ(option->GetText(options), option->DefaultText()) << option->Key();
    }
    EXPECT_EQ(CheckOptions(options, LocalOptions()), std::vector<String>{});
}

TEST(OptionTable, AHandleGivesItsDefaultForWhatIsMissingOrWrong) {
    IniFile options;
    EXPECT_TRUE(!k_OptionDropImmediate.Get(options) && k_OptionDropImmediateAtDrop.Get(options));
    options.SetValue("Configuration", "RepeatCount", "many");
    EXPECT_EQ(std::tuple(k_OptionRepeatCount.Get(options), k_OptionRepeatCount.GetText(options)),
              std::tuple(20u, "20"));
    k_OptionRepeatCount.Set(options, 7);
    k_OptionDropImmediate.Set(options, false);
    EXPECT_EQ(options.GetValue("configuration", "repeatcount", 0), 7);
    EXPECT_FALSE(k_OptionDropImmediateAtDrop.Get(options));
    k_OptionToolbarGroup.Set(options, "3", false);
    EXPECT_TRUE(!k_OptionToolbarGroup.Get(options, "3") && k_OptionToolbarGroup.Get(options, "4"));
    k_OptionRepeatCount.Clear(options);
    EXPECT_FALSE(k_OptionRepeatCount.Has(options));
    for (int const component : k_StopOrder)
        EXPECT_STREQ(MasterStartOption(component)->Key(), Components::GetName(component));
}

} // namespace vorlan
