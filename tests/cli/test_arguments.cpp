#include "cli/fakemaster.h"
#include "corekit/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vorlan/farmkey.h>
#include <vorlan/version.h>

namespace vorlan::cli {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

struct ArgumentCase {
    std::vector<std::string> arguments;
    int code;
    char const* err; // a part of it
};

void PrintTo(ArgumentCase const& one, std::ostream* out) { *out << testing::PrintToString(one.arguments); }

class Arguments : public testing::TestWithParam<ArgumentCase> {};

// With no Master: what is right on the command line gets as far as looking for one.
TEST_P(Arguments, AreCheckedBeforeAMasterIsLookedFor) {
    FakeMaster master;
    master.isThere = false;
    auto const result = master.Run(GetParam().arguments);
    EXPECT_EQ(result.code, GetParam().code);
    EXPECT_THAT(result.err, HasSubstr(GetParam().err));
    EXPECT_THAT(result.out, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Wrong, Arguments,
    testing::Values(ArgumentCase{{}, 2, "required"},
                    ArgumentCase{{"frobnicate"}, 2, "There is no command \"frobnicate\""},
                    ArgumentCase{{"prioity", "x", "5"}, 2, "Is \"priority\" meant?"},
                    ArgumentCase{{"--master", "a", "jbos"}, 2, "Is \"jobs\" meant?"},
                    ArgumentCase{{"jobs", "--nonsense"}, 2, "--nonsense"}, ArgumentCase{{"job"}, 2, "required"},
                    ArgumentCase{{"wait"}, 2, "required"}, ArgumentCase{{"priority", "x"}, 2, "required"},
                    ArgumentCase{{"priority", "x", "101"}, 2, "101"}, ArgumentCase{{"priority", "x", "-1"}, 2, ""},
                    ArgumentCase{{"priority", "x", "much"}, 2, "much"},
                    ArgumentCase{{"stop", "x", "--requeue", "--permanently"}, 2, "excludes"},
                    ArgumentCase{{"wait", "x", "--timeout", "soon"}, 2, "is no time"},
                    ArgumentCase{{"wait", "x", "--timeout", "-5"}, 2, ""},
                    ArgumentCase{{"wait", "x", "--timeout", "5 weeks"}, 2, "is no time"},
                    ArgumentCase{{"log", "x", "--frame", "first"}, 2, "first"},
                    ArgumentCase{{"work", "--all"}, 2, "needs a Job"},
                    ArgumentCase{{"submit"}, 2, "either a Job file or --product"},
                    ArgumentCase{{"submit", "a.vj", "--product", "Command"}, 2, "either"},
                    ArgumentCase{{"key"}, 2, "required"}, ArgumentCase{{"key", "join", "host"}, 2, "required"},
                    ArgumentCase{{"key", "join", "host", "nonsense"}, 2, "no farm key"}));

INSTANTIATE_TEST_SUITE_P(
    Right, Arguments,
    testing::Values(ArgumentCase{{"jobs"}, 3, "tried nowhere:1"},
                    ArgumentCase{{"jobs", "--json", "--master", "render01"}, 3, "No Master"},
                    ArgumentCase{{"--master", "render01", "engines"}, 3, "No Master"},
                    ArgumentCase{{"wait", "a", "b", "--timeout", "1.5h"}, 3, "No Master"},
                    ArgumentCase{
                        {"submit", "-p", "Command", "--set", "A=1", "-s", "B=2=3", "--frames=-10--5"}, 3, "No Master"},
                    ArgumentCase{{"stop", "x", "--permanently", "--reason", "disk"}, 3, ""},
                    ArgumentCase{{"log", "x", "--frame", "-3", "--follow"}, 3, "No Master"}));

TEST(ArgumentsHelp, NamesEveryExitCodeAndNeedsNoMaster) {
    FakeMaster master;
    master.isThere = false;
    auto const help = master.Run({"--help"});
    EXPECT_EQ(help.code, 0);
    for (char const* code : {"  0  ", "  1  ", "  2  ", "  3  ", "  4  ", "  130"})
        EXPECT_THAT(help.out, HasSubstr(code));
    EXPECT_EQ(master.Run({"submit", "--help"}).code, 0);
    EXPECT_THAT(master.Run({"--version"}).out, HasSubstr(k_VorlanVersionText));
}

TEST(Span, IsANumberWithAUnit) {
    struct Case {
        char const* text;
        int64_t ms; // 0: none
    };
    for (Case const& one :
         {Case{"90", 90'000}, Case{"0.5", 500}, Case{"5s", 5'000}, Case{"5m", 300'000}, Case{"2h", 7'200'000},
          Case{"1d", 86'400'000}, Case{"0.0001", 1}, Case{"", 0}, Case{"0", 0}, Case{"-1", 0}, Case{"nan", 0},
          Case{"inf", 0}, Case{"5x", 0}, Case{"5mm", 0}, Case{"1e300d", 0}, Case{" 5", 0}}) {
        int64_t ms = 0;
        EXPECT_EQ(ParseSpan(one.text, ms), one.ms != 0) << one.text;
        EXPECT_EQ(ms, one.ms) << one.text;
    }
}

class KeyCommands : public testing::Test {
protected:
    corekit::TempFolder m_folder;
    corekit::EnvironmentValue m_home{"VORLAN_HOME", m_folder.Folder().c_str()};
    FakeMaster m_master;
};

TEST_F(KeyCommands, CarryAFarmToAnotherMachine) {
    EXPECT_EQ(m_master.Run({"key", "show"}).code, 1);
    FarmKey const key = FarmKey::Create(File::GetMachineDir());
    auto const shown = m_master.Run({"key", "show"});
    EXPECT_EQ(shown.code, 0);
    EXPECT_EQ(shown.out, key.Text().Str() + "\n");

    corekit::TempFolder other;
    corekit::EnvironmentValue const home("VORLAN_HOME", other.Folder().c_str());
    ASSERT_EQ(m_master.Run({"key", "join", "render01:7000", shown.out}).code, 0);
    EXPECT_EQ(m_master.Run({"key", "show"}).out, shown.out);
    EXPECT_TRUE(FarmKey::Load(File::GetMachineDir()).IsJoined());
    EXPECT_THAT(File::Read(other / "Connection.ini").Str(), HasSubstr("render01:7000"));
}

TEST_F(KeyCommands, DoNotThrowAwayAKeyUnasked) {
    FarmKey const own = FarmKey::Create(File::GetMachineDir());
    String const foreign = FarmKey::Fresh().Text();
    auto const refused = m_master.Run({"key", "join", "render01", foreign.Str()});
    EXPECT_EQ(refused.code, 1);
    EXPECT_THAT(refused.err, HasSubstr("--replace"));
    EXPECT_EQ(FarmKey::Load(File::GetMachineDir()), own);
    EXPECT_FALSE((m_folder / "Connection.ini").Exists());
    EXPECT_EQ(m_master.Run({"key", "join", "render01", own.Text().Str()}).code, 0);
    EXPECT_FALSE(FarmKey::Load(File::GetMachineDir()).IsJoined());
    EXPECT_EQ(m_master.Run({"key", "join", "--replace", "render01", foreign.Str()}).code, 0);
    EXPECT_EQ(FarmKey::Load(File::GetMachineDir()).Text(), foreign);
}

} // namespace vorlan::cli
