#include "domain.h"

#include "engine/eventcommands.h"
#include "engine/verdict.h"

#include <vorlan/engine.h>

using namespace vorlan;
using Kind = RunEnd::Kind;

TEST(Verdict, SaysWhatBecameOfAUnitAndWhy) {
    auto const exit = [](int code) { return RunEnd{Kind::Exited, code, {}}; };
    auto const signal = [](int number) { return RunEnd{Kind::Signaled, number, {}}; };
    char const* const killed = "ended by signal 9 (SIGKILL); the machine may have run out of memory";
    char const* const missing = "expected file /out/a.png is missing or empty";
    char const* const notInstalled = "povray is not installed on render07 (command: povray +Ia.pov). Install it or "
                                     "disable the Product on this Engine.";
    struct Case {
        RunEnd end;
        std::vector<int> codes;
        char const* error;
        char const* lastLine;
        char const* missing;
        char const* note; // empty: a success
    };
    Case const cases[] = {
        {exit(0), {0}, "", "bye", "", ""},
        {exit(3), {0}, "", "", "", "exit code 3"},
        {exit(3), {0}, "", "no licence", "", "exit code 3: no licence"},
        {exit(211), {0, 211}, "", "", "", ""},
        {exit(0), {1}, "", "", "", "exit code 0"},
        {exit(0), {0}, "Texture missing", "bye", "", "Texture missing"},
        {exit(1), {0}, "Texture missing", "bye", "", "Texture missing"},
        {signal(11), {0}, "", "", "", "ended by signal 11 (SIGSEGV)"},
        {signal(9), {0}, "", "", "", killed},
        {exit(0), {0}, "", "", "/out/a.png", missing},
        {{Kind::NotFound, 0, "x"}, {0}, "", "", "", notInstalled},
        {{Kind::NotStarted, 0, "No folder."}, {0}, "", "", "", "No folder."},
        {{Kind::Lost, 0, "The helper was ended."}, {0}, "", "", "", "The helper was ended."},
    };
    for (Case const& one : cases) {
        Verdict const verdict =
            Judge({one.end, "povray", "povray +Ia.pov", "render07", one.codes, one.error, one.lastLine, one.missing});
        EXPECT_EQ(verdict.note, one.note);
        EXPECT_EQ(verdict.status, !*one.note ? Finished : one.end.kind == Kind::Lost ? Lost : Unsuccessful) << one.note;
    }
}

TEST(Verdict, LooksForExpectedFiles) {
    TempFolder const folder;
    File::WriteWhole(folder / "full", "x");
    File::WriteWhole(folder / "empty", "");
    String const full = (folder / "full").Text();
    EXPECT_EQ(FindMissingFile({"full", full}, folder.Folder()), "");
    EXPECT_EQ(FindMissingFile({"full", "empty"}, folder.Folder()), (folder / "empty").Text());
    EXPECT_EQ(FindMissingFile({"full", "/no/such", "empty"}, folder.Folder()), "/no/such");
}

TEST(Verdict, LooksForShares) {
    TempFolder const folder;
    String const there = folder.Folder().Text();
    struct Case {
        String resources;
        char const* expected; // a part of the text; empty: all is well
    };
    Case const cases[] = {
        {"", ""},
        {" ; ", ""},
        {there + " = //server/a", ""},
        {there, ""},
        {there + " = //server/a ; /no/such/b = //server/b ; " + there, "/no/such/b (//server/b)"},
        {"Z: = //server/z", "Z: (//server/z)"},
        {"\"" + there + "\" = x;/no/such/c", "share /no/such/c is"},
    };
    for (Case const& one : cases) {
        SCOPED_TRACE(one.resources);
        String const error = CheckShares(one.resources, "render07");
        EXPECT_EQ(error.Empty(), *one.expected == 0) << error;
        EXPECT_TRUE(error.Contains(one.expected)) << error;
    }
}

TEST(EventCommands, PutValuesInAsHarmlessWords) {
    Job work(UID(true));
    work.SetParameter(p_Name, "1-4");
    work.SetParameter("Scene", "a b; rm -rf '/'");
    work.SetParameter(p_WorkStartedEvt, "notify $(Engine.Name) $(Scene)");
    Engine settings;
    settings.SetEventCommand("WorkStartedEvt", "touch /tmp/$(Name)");
    auto const commands = CommandsFor("WorkStartedEvt", &settings, work, nullptr, {{"Engine.Name", "render07"}});
    ASSERT_EQ(commands.size(), 2U);
    EXPECT_EQ(commands[0].label, "Work Started");
    EXPECT_EQ(commands[0].script.text, "touch /tmp/\"${VORLAN_VALUE_1}\"");
    EXPECT_EQ(commands[1].script.variables.at("VORLAN_VALUE_2"), "a b; rm -rf '/'");
    EXPECT_TRUE(CommandsFor("WorkFinishedEvt", &settings, work, nullptr, {}).empty());
    EXPECT_TRUE(CommandsFor("WorkFinishedEvt", nullptr, work, nullptr, {}).empty());
}
