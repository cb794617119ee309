// Commands as data: what rows become in each menu, and the way from a number to its function.
#include "guitest.h"

namespace vorlan::test_commands {

struct User : CommandUser {
    bool IsRestricted(String const& action) const override { return restricted.contains(action) && !administrator; }
    bool IsAdministrator() const override { return administrator; }
    bool HasMaster() const override { return true; }
    bool CanUse(CommandNeeds) const override { return true; }
    std::set<String> restricted;
    bool administrator = false;
};

void DoNothing(MainWindow&, wxCommandEvent&) {}

constexpr CommandRow k_Machine[] = {
    {.id = 11001, .label = "Sleep", .menus = CommandMenus::Both, .administrator = true}};

// As the Jobs' menus will need them.
constexpr CommandRow k_Rows[] = {
    {.id = 12000, .label = "&New...\tCtrl+N", .run = &DoNothing, .restrictions = {"Submit"}},
    k_CommandLine,
    {.id = 12012, .label = "&Pause\tCtrl+P", .menus = CommandMenus::Both, .restrictions = {"Change"}, .tool = {2, "a"}},
    {.id = 12010, .label = "Up\tCtrl+Up", .menus = CommandMenus::Both, .restrictions = {"Change", "Priority"}},
    {.id = 12016, .label = "Add No&te...", .contextLabel = "Add &Note...", .menus = CommandMenus::Both},
    k_CommandLine,
    {.label = "Machine", .menus = CommandMenus::Both, .items = k_Machine},
    {.id = 12034, .run = &DoNothing, .tool = {1, "b"}},
    {.id = 12900, .lastId = 12964, .run = &DoNothing},
};

String LabelsOf(wxMenu const& menu) {
    String labels;
    for (wxMenuItem const* item : menu.GetMenuItems()) {
        labels += item->IsSeparator() ? String("-") : wxvString(item->GetItemLabel());
        labels += item->GetSubMenu() ? "(" + LabelsOf(*item->GetSubMenu()) + ");" : String(";");
    }
    return labels;
}

TEST(Commands, EachMenuHasWhatItsUserMayDo) {
    constexpr auto k_Bar = CommandMenus::Bar;
    constexpr auto k_Context = CommandMenus::Context;
    Rows<CommandMenus, std::set<String>, bool, char const*> const cases = {
        {k_Bar, {}, false, "&New...\tCtrl+N;-;&Pause\tCtrl+P;Up\tCtrl+Up;Add No&te...;"},
        {k_Bar, {"Priority"}, false, "&New...\tCtrl+N;-;&Pause\tCtrl+P;Add No&te...;"},
        {k_Bar, {"Submit", "Change"}, false, "Add No&te...;"},
        {k_Bar, {"Submit"}, true, "&New...\tCtrl+N;-;&Pause\tCtrl+P;Up\tCtrl+Up;Add No&te...;-;Machine(Sleep;);"},
        {k_Context, {}, false, "&Pause;Up;Add &Note...;"},
        {k_Context, {"Change"}, true, "&Pause;Up;Add &Note...;-;Machine(Sleep;);"},
    };
    for (auto const& [kind, restricted, administrator, labels] : cases) {
        User user;
        user.restricted = restricted;
        user.administrator = administrator;
        wxMenu menu;
        AppendCommands(menu, user, k_Rows, kind);
        EXPECT_EQ(LabelsOf(menu), labels);
    }
    User user;
    auto const idOf = [&](int id) {
        CommandRow const* const row = FindCommand(k_Rows, user, id);
        return row ? row->id : 0;
    };
    EXPECT_EQ(idOf(12964), 12900) << "of a block";
    EXPECT_EQ(idOf(11001), 0) << "within what is left out";
    user.administrator = true;
    EXPECT_EQ(idOf(11001), 11001);
    user = {};
    auto const tools = ToolbarCommands(user, k_Rows);
    ASSERT_EQ(tools.size(), 2u);
    EXPECT_EQ(tools.front()->id, 12034);
    user.restricted = {"Change"};
    EXPECT_EQ(ToolbarCommands(user, k_Rows).size(), 1u);
}

TEST(Commands, EveryRowOfTheMenusCanBeUsed) {
    std::function<void(std::span<CommandRow const>)> const look = [&look](std::span<CommandRow const> rows) {
        for (CommandRow const& row : rows) {
            EXPECT_TRUE(row.run || !row.items.empty() || row.fill || !row.label) << row.label;
            EXPECT_TRUE(IsFixedCommandId(row.id) && IsFixedCommandId(row.lastId)) << row.id;
            for (char const* end : {".png", "@2x.png"}) {
                Path const picture = corekit::File::s_AppDir / "icons" / (String(row.tool.icon) + end);
                EXPECT_TRUE(row.tool.place == 0 || picture.Exists()) << row.id;
            }
            look(row.items);
        }
    };
    for (CommandMenu const& menu : AllMenus())
        look(menu.rows);
    EXPECT_FALSE(IsFixedCommandId(k_IdFirstCustom));
}

struct DispatchTest : GuiTest {
    DispatchTest() {
        HasRunBefore();
        StartConnected();
        outside.TakeSteps();
    }
};

TEST_F(DispatchTest, WhatAUserMayNotDoIsNotDoneWhoeverSendsIt) {
    Command(k_IdSuperExit); // only administrators have it
    Window().Master().SetRestrictions({{"Core Process Control", true}});
    Command(k_IdStartEngine);
    EXPECT_TRUE(outside.TakeSteps().empty());
    Window().Master().SetRestrictions({});
    Command(k_IdStartEngine);
    EXPECT_EQ(outside.TakeSteps(), std::vector<String>{"start VorlanEngine"});
}

TEST_F(DispatchTest, CommandsOfProductsGoByTheirNumbers) {
    static std::vector<String> s_sent;
    s_sent.clear();
    CustomCommand command;
    command.text = "Open the folder";
    command.send = [](MainWindow&, CustomCommand const& sent) { s_sent.push_back(sent.text); };
    LogLines log(LogLevel::Warning);
    int const id = Window().Custom().Add(command).value();
    Command(id);
    Command(id + 1);
    EXPECT_EQ(s_sent, std::vector<String>{"Open the folder"});
    EXPECT_EQ(CountLines(log, SFormat("Could not find custom command for ID %d", id + 1).c_str()), 1u);
    // Those of the table that have no window yet, and the toolkit's.
    for (int const fixed : {int{k_IdViewJobHistory}, int{wxID_COPY}, -2001})
        Command(fixed);
    EXPECT_EQ(CountLines(log, "Could not find custom command"), 1u);
}

} // namespace vorlan::test_commands
