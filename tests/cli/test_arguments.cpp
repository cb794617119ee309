#include "cli/fakemaster.h"

#include <vorlan/farmkey.h>

#include <fstream>
#include <iostream>

namespace vorlan::cli {

using testing::HasSubstr;
using testing::IsEmpty;

// With no Master: what is right on the command line gets as far as looking for one.
TEST(Arguments, AreCheckedBeforeAMasterIsLookedFor) {
    Rows<char const*, int, char const*> const cases = {
        {"", 2, "required"},
        {"frobnicate", 2, "There is no command \"frobnicate\""},
        {"prioity x 5", 2, "Is \"priority\" meant?"},
        {"--master a jbos", 2, "Is \"jobs\" meant?"},
        {"jobs --nonsense", 2, "--nonsense"},
        {"wait", 2, "required"},
        {"priority x", 2, "required"},
        {"priority x 101", 2, "101"},
        {"priority x -1", 2, ""},
        {"priority x much", 2, "much"},
        {"stop x --requeue --permanently", 2, "excludes"},
        {"wait x --timeout soon", 2, "is no time"},
        {"log x --frame first", 2, "first"},
        {"work --all", 2, "needs a Job"},
        {"submit", 2, "either a Job file or --product"},
        {"submit a.vj --product Command", 2, "either"},
        {"key", 2, "required"},
        {"key join host nonsense", 2, "no farm key"},
        {"jobs", 3, "tried nowhere:1"},
        {"jobs --json --master render01", 3, "No Master"},
        {"--master render01 engines", 3, "No Master"},
        {"wait a b --timeout 1.5h", 3, "No Master"},
        {"submit -p Command --set A=1 -s B=2=3 --frames=-10--5", 3, "No Master"},
        {"stop x --permanently --reason disk", 3, ""},
        {"log x --frame -3 --follow", 3, "No Master"},
    };
    FakeMaster master;
    master.isThere = false;
    for (auto const& [line, code, err] : cases) {
        EXPECT_THAT(master.Run(line), Ends(code, err, IsEmpty())) << line;
    }
    auto const help = master.Run("--help");
    EXPECT_EQ(help.code, 0);
    for (char const* exitCode : {"  0  ", "  1  ", "  2  ", "  3  ", "  4  ", "  130"})
        EXPECT_THAT(help.out, HasSubstr(exitCode));
    EXPECT_EQ(master.Run("submit --help").code, 0);
    EXPECT_THAT(master.Run("--version").out, HasSubstr(k_VorlanVersionText));
}

TEST(Output, ThatCannotBeWrittenIsAFailure) {
    FakeMaster master;
    std::ofstream full("/dev/full");
    std::ostringstream err;
    Terminal terminal(full, err, std::cin);
    EXPECT_EQ(master.Run({"jobs", "--json"}, terminal), 1);
    EXPECT_THAT(err.str(), HasSubstr("could not be written"));
}

TEST(Span, IsANumberWithAUnit) {
    // 0: none.
    Rows<char const*, int64_t> const cases = {
        {"90", 90'000}, {"0.5", 500}, {"5s", 5'000}, {"5m", 300'000}, {"2h", 7'200'000}, {"1d", 86'400'000},
        {"0.0001", 1},  {"", 0},      {"0", 0},      {"-1", 0},       {"nan", 0},        {"inf", 0},
        {"5x", 0},      {"5mm", 0},   {"1e300d", 0}, {" 5", 0},       {"5 weeks", 0}};
    for (auto const& [text, expected] : cases) {
        int64_t ms = 0;
        EXPECT_EQ(ParseSpan(text, ms), expected != 0) << text;
        EXPECT_EQ(ms, expected) << text;
    }
}

class KeyCommands : public testing::Test {
protected:
    corekit::TempFolder m_folder;
    corekit::EnvironmentValue m_home{"VORLAN_HOME", m_folder.Folder().c_str()};
    FakeMaster m_master;
};

TEST_F(KeyCommands, CarryAFarmToAnotherMachine) {
    EXPECT_EQ(m_master.Run("key show").code, 1);
    FarmKey const key = FarmKey::Create(File::GetMachineDir());
    auto const shown = m_master.Run("key show");
    EXPECT_EQ(shown.code, 0);
    EXPECT_EQ(shown.out, key.Text().Str() + "\n");

    corekit::TempFolder other;
    corekit::EnvironmentValue const home("VORLAN_HOME", other.Folder().c_str());
    EXPECT_EQ(m_master.Run("key join render01:7000 " + key.Text()).code, 3) << "nobody there has that key";
    EXPECT_TRUE(FarmKey::Load(File::GetMachineDir()).IsNull());
    EXPECT_FALSE((other / "Connection.ini").Exists());
    m_master.key = key;
    m_master.input = key.Text() + "\n";
    ASSERT_EQ(m_master.Run("key join render01:7000").code, 0);
    EXPECT_EQ(m_master.Run("key show").out, shown.out);
    EXPECT_TRUE(FarmKey::Load(File::GetMachineDir()).IsJoined());
    EXPECT_THAT(File::Read(other / "Connection.ini").Str(), HasSubstr("render01:7000"));
}

TEST_F(KeyCommands, DoNotThrowAwayAKeyUnasked) {
    FarmKey const own = FarmKey::Create(File::GetMachineDir());
    String const foreign = FarmKey::Fresh().Text();
    auto const refused = m_master.Run("key join render01 " + foreign);
    EXPECT_EQ(refused.code, 1);
    EXPECT_THAT(refused.err, HasSubstr("--replace"));
    EXPECT_EQ(FarmKey::Load(File::GetMachineDir()), own);
    EXPECT_FALSE((m_folder / "Connection.ini").Exists());
    EXPECT_EQ(m_master.Run("key join --unproved render01 " + own.Text()).code, 0);
    EXPECT_FALSE(FarmKey::Load(File::GetMachineDir()).IsJoined());
    // Where the programs lie somebody else writes; then the user's own place counts.
    std::filesystem::remove((m_folder / "Connection.ini").Str());
    File::MakeFolder(m_folder / "Connection.ini");
    EXPECT_EQ(m_master.Run("key join --unproved --replace render01 " + foreign).code, 0);
    EXPECT_EQ(FarmKey::Load(File::GetMachineDir()).Text(), foreign);
    EXPECT_THAT(File::Read(File::GetUserConnectionFile()).Str(), HasSubstr("render01"));
}

} // namespace vorlan::cli
