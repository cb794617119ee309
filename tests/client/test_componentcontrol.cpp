// What starts and what stops: the guess of the first run, the chains of sources, and
// what the client makes of them.
#include "clienttest.h"

#include "client/componentcontrol.h"
#include "client/rendernode.h"

namespace vorlan {

TEST(RenderNode, IsGuessedFromTheName) {
    Rows<char const*, bool> const cases = {
        {"RENDER07", true},   {"RENDER", false}, {"10-0-3-17", true}, {"7-12", true},
        {"artist3", false},   {"Blade1", true},  {"my-FARM-2", true}, {"node", false},
        {"2vorlan", true},    {"", false},       {"---", false},      {"7", true},
        {"10.0.3.17", false}, {"rend3r", false}, {"7-12a", false},    {"supernode9x", true}};
    for (auto const& [name, isNode] : cases)
        EXPECT_EQ(LooksLikeRenderNode(name), isNode) << name;
}

TEST(DecideStart, AsksItsSourcesInOrder) {
    Rows<char const*, StartSources, StartDecision> const cases = {
        {"the command line logs as a local option", {0, false, 1, 2, 1}, {0, "Local option"}},
        {"the command line counts on a first run", {2, true, -1, -1, 1}, {2, "Local option"}},
        {"a negative switch asks on", {-1, false, 1, 2, 1}, {2, "Master startup request"}},
        {"first run", {std::nullopt, true, 2, -1, 1}, {1, "Default", true}},
        {"first run with a request", {std::nullopt, true, -1, 0, 1}, {0, "Master startup request", true}},
        {"a local no beats the Master", {std::nullopt, false, 0, 2, 1}, {0, "Local option"}},
        {"a local 2", {std::nullopt, false, 2, 0, 0}, {2, "Local option"}},
        {"the Master beats the default", {std::nullopt, false, -1, 2, 0}, {2, "Master startup request"}},
        {"a stored default", {std::nullopt, false, -1, -1, 0}, {0, "Default"}},
        {"-2 is no choice here", {std::nullopt, false, -2, 1, 0}, {1, "Master startup request"}},
        {"an odd request stays a value", {std::nullopt, false, -1, 7, 0}, {7, "Master startup request"}},
        {"a request of -2 is one", {std::nullopt, false, -1, -2, 1}, {-2, "Master startup request"}},
    };
    for (auto const& [what, sources, expected] : cases)
        EXPECT_EQ(DecideStart(sources), expected) << what;
    EXPECT_FALSE((StartDecision{-2, "", false}.Stop())) << "a negative value stops nothing";
    EXPECT_TRUE((StartDecision{7, "", false}.Start()));
}

TEST(DecideStop, OnlyTwoIsLeftRunning) {
    Rows<char const*, int, int, std::optional<int>, char const*, bool> const cases = {
        {"local 0", 1, 0, 2, "Local option", true},
        {"local 1", 1, 1, 2, "Local option", true},
        {"local 2", 1, 2, 0, "Local option", false},
        {"local -2 is taken as it is", 1, -2, 1, "Local option", false},
        {"the Master's word", 0, -1, 2, "Master default", false},
        {"the Master says not set", 0, -1, -1, "Master default", false},
        {"the Master says stop", 3, -1, 1, "Master default", true},
        {"nobody says anything", 0, -1, std::nullopt, "Hard coded default", true},
        {"nor about a tool", 4, -1, std::nullopt, "Hard coded default", true},
    };
    for (auto const& [what, component, localOption, masterDefault, source, stop] : cases) {
        StopDecision const decision = DecideStop(component, localOption, masterDefault);
        EXPECT_EQ(decision.source, source) << what;
        EXPECT_EQ(decision.Stop(), stop) << what;
    }
    EXPECT_EQ(DecideStop(1, -2, std::nullopt).disposition, 4294967294u);
}

using testing::ElementsAre;
using Startup = std::map<int, int>;

class ComponentTest : public MirrorTest {};

TEST_F(ComponentTest, WhatIsDecidedIsDone) {
    // Whether this machine's Master serves, and what is done.
    Rows<char const*, int, char const*, char const*, int, bool, std::vector<String>> const cases = {
        {"a local no", k_ComponentEngine, "Configuration", "StartEngine", 0, false, {"stop VorlanEngine"}},
        {"a negative value", k_ComponentEngine, "MasterDefaultStartup", "VorlanEngine", -3, false, {}},
        {"no Master here", k_ComponentMaster, "Configuration", "StartMaster", 0, false, {"stop VorlanMaster"}},
        {"a Master that serves", k_ComponentMaster, "Configuration", "StartMaster", 0, true, {}},
        {"a switch without value", k_ComponentBrakka, "Configuration", "StartBrakka", 0, false, {"start Brakka"}},
        {"a switch with one", k_ComponentMerrow, "Configuration", "StartMerrow", 1, false, {"stop Merrow"}},
    };
    CommandLine line("VorlanGui", {"--StartBrakka", "--StartMerrow", "0"});
    mirror.SetCommandLine(&line);
    LogLines log(LogLevel::Status);
    for (auto const& [what, component, section, key, value, serves, steps] : cases) {
        Options().Clear();
        HasRunBefore();
        Options().SetValue(section, key, value);
        outside.master = serves ? outside.MachineID() : UID::FromName("another");
        mirror._StartComponent(component, -1);
        EXPECT_EQ(outside.TakeSteps(), steps) << what;
    }
    EXPECT_EQ(CountLines(log, "Local option requesting not to start component: VorlanEngine (start = 0)"), 1u);
}

TEST_F(ComponentTest, AFirstRunNotesThatNothingIsChosen) {
    for (int component = 0; component < k_ComponentCount; ++component)
        mirror._StartComponent(component, -1);
    EXPECT_THAT(outside.TakeSteps(),
                ElementsAre("start VorlanMaster", "start VorlanEngine", "stop Brakka", "stop Merrow", "stop Panvale"));
    for (char const* key : {"StartMaster", "StartEngine", "StartBrakka", "StartMerrow", "StartPanvale"})
        EXPECT_EQ(Option(key), -1) << key;
}

TEST_F(ComponentTest, TheMastersWordIsDoneAndKept) {
    HasRunBefore();
    LogLines log(LogLevel::Info);
    Say<MasterDefaultStartupMsg>(Startup{{0, 2}, {1, 0}, {2, 1}, {4, 1}, {5, 9}});
    EXPECT_THAT(outside.TakeSteps(),
                ElementsAre("start VorlanMaster", "stop VorlanEngine", "start Merrow", "start Panvale"));
    Rows<char const*, int> const stored = {
        {"VorlanMaster", 2}, {"VorlanEngine", 0}, {"VorlanGui", -99}, {"Merrow", 1}, {"Panvale", 9}};
    for (auto const& [name, kept] : stored)
        EXPECT_EQ(Options().GetValue("MasterDefaultStartup", name, -99), kept) << name;
    for (char const* text :
         {"----- Processing MasterDefaultStartupMsg: -----", "...VorlanMaster set to start and leave running",
          "...VorlanEngine set to not start", "...Panvale set to set to invalid control option"})
        EXPECT_EQ(CountLines(log, text), 1u) << text;

    // What it said counts at the end of this run, the stored values do not.
    for (int const component : k_StopOrder)
        mirror._StopComponent(component);
    EXPECT_EQ(outside.TakeSteps(), (std::vector<String>{"stop VorlanEngine", "stop Brakka", "stop Merrow"}));
    mirror.ForgetMasterDefaultStartup();
    mirror._StopComponent(k_ComponentMaster);
    EXPECT_EQ(outside.TakeSteps(), std::vector<String>{"stop VorlanMaster"});
}

TEST_F(ComponentTest, TheMastersMachineIgnoresANoStartOfTheMaster) {
    HasRunBefore();
    outside.master = outside.MachineID();
    LogLines log(LogLevel::System);
    Say<MasterDefaultStartupMsg>(Startup{{0, 0}});
    EXPECT_TRUE(outside.TakeSteps().empty());
    EXPECT_FALSE(Options().HasSection("MasterDefaultStartup"));
    EXPECT_EQ(CountLines(log, "... Ignoring Master no-start request because this machine is the Master"), 1u);
}

} // namespace vorlan
