#include "runtimetools.h"

#include <corekit/commandline.h>

namespace corekit::test::test_commandline {

TEST(CommandLine, FindsSwitchesAndTheirValues) {
    // has: the switch StartMaster
    // number: its first value, 1 when there is none
    // text: its second value, "none" when there is none
    Rows<std::vector<String>, bool, int, char const*, std::vector<String>> const cases = {
        {{}, false, 1, "none", {}},
        {{"--StartMaster"}, true, 1, "none", {}},
        {{"--StartMaster=2"}, true, 2, "none", {}},
        {{"-startmaster", "0", "more"}, true, 0, "more", {}},
        {{"/STARTMASTER", "-1"}, true, -1, "none", {}},
        {{"/StartMaster=+3", "b"}, true, 3, "b", {}},
        {{"job.vj", "--StartMaster", "--StartEngine", "5"}, true, 1, "none", {"job.vj"}},
        {{"--StartMaster", "3", "--StartMaster", "4"}, true, 4, "none", {}},
        {{"--StartMaster="}, true, 1, "none", {}},
        {{"--StartMaster", "99999999999999"}, true, 1, "none", {}},
        {{"--StartMaster", "--", "--StartMaster", "-x"}, true, 1, "none", {"--StartMaster", "-x"}},
        {{"--", "--StartMaster"}, false, 1, "none", {"--StartMaster"}},
        {{"/tmp", "/etc/hosts", "-", "-5", "--7"}, false, 1, "none", {"/tmp", "/etc/hosts", "-", "-5", "--7"}},
        {{"--StartMasters", "2"}, false, 1, "none", {}},
    };
    for (auto const& [words, has, number, text, positional] : cases) {
        SCOPED_TRACE(::testing::PrintToString(words));
        CommandLine line("program", words);
        EXPECT_EQ(line.HasSwitch("StartMaster"), has);
        EXPECT_EQ(line.GetArgument("StartMaster", 0, 1), number);
        EXPECT_EQ(line.GetArgument("StartMaster", 1, "none"), text);
        EXPECT_EQ(line.Positional(), positional);
    }
    LogLines log;
    EXPECT_EQ(CommandLine("program", {"--StartMaster", "two"}).GetArgument("StartMaster", 0, 1), 1);
    EXPECT_TRUE(log.Has("\"StartMaster\" needs a whole number, not \"two\""));
}

TEST(CommandLine, AnAddedSwitchIsLikeAGivenOne) {
    char const* words[] = {"/usr/bin/VorlanGui", "--StartEngine", "2"};
    CommandLine line(3, words);
    EXPECT_EQ(line.Program(), "/usr/bin/VorlanGui");
    line.AddSwitch("DisableMessenger");
    line.AddSwitch("startengine");
    EXPECT_TRUE(line.HasSwitch("disablemessenger"));
    EXPECT_EQ(line.CountArguments("DisableMessenger"), 0u);
    EXPECT_EQ(line.GetArgument("StartEngine", 0, 1), 2) << "a given value stays";
}

} // namespace corekit::test::test_commandline
