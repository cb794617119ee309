// Strangers, damage, and the end of programs.
#include "farm/farm.h"

#include "cli/exitcode.h"
#include "cli/masterlink.h"
#include "vorlan/net/channel.h"

#include <corekit/runcommand.h>
#include <vorlan/farmkey.h>

namespace vorlan::farmtest {

using testing::HasSubstr;

struct FarmTrouble : FarmFixture {
    // A small Job works from submission to end.
    void ExpectFarmWorks() {
        auto const job = Submit("Sound", "true", "1-5");
        EXPECT_EQ(WaitForEnd(job->id), Finished);
        ExpectEachFrameFinishedOnce(job->id, 5);
    }
    static size_t CountLines(String const& log, char const* part) {
        size_t count = 0;
        for (size_t at = log.Find(part); at != String::npos; at = log.Find(part, at + 1))
            ++count;
        return count;
    }
    unsigned short EnginePort() {
        auto const farm = Connect();
        farm->LoadEngines();
        return farm->View().Engines().empty() ? static_cast<unsigned short>(0)
                                              : farm->View().Engines().begin()->second.InfoPeer().Port();
    }
};

TEST_F(FarmTrouble, AStrangerWithAnotherKeyGetsNothing) {
    ASSERT_NO_FATAL_FAILURE(StartFarm());
    String const host = "127.0.0.1:" + String::From(MasterFinder::LocalPort());
    String const ownKey = FarmKey::Load(File::GetMachineDir()).Text();
    {
        corekit::TempFolder other;
        corekit::EnvironmentValue const home("VORLAN_HOME", other.Folder().c_str());
        FarmKey::Create(File::GetMachineDir());
        try {
            cli::ConnectToMaster({host, {}});
            ADD_FAILURE() << "connected with a key of another farm";
        } catch (cli::CommandException const& exception) {
            EXPECT_EQ(exception.Exit(), cli::ExitCode::NoMaster);
            EXPECT_THAT(exception.Message().Str(), HasSubstr("key"));
            EXPECT_THAT(exception.Message().Str(), HasSubstr(host.Str()));
        }
    }
    EXPECT_TRUE(WaitFor([&] { return CountLines(Master().Log(), "farm's key") > 0; }, 10'000))
        << "the Master says nothing of it";
    EXPECT_FALSE(Master().Log().Contains(ownKey.LeftLast("-")));
    ExpectFarmWorks();
}

TEST_F(FarmTrouble, AnotherMachineJoinsTheFarm) {
    ASSERT_NO_FATAL_FAILURE(StartFarm());
    String const line = Vorlan({"key", "show"}).out;
    corekit::TempFolder other;
    corekit::EnvironmentValue const home("VORLAN_HOME", other.Folder().c_str());
    Program engine("VorlanEngine", other.Folder());
    engine.Start(); // before there is a key
    FarmKey::FromText(line).Join(File::GetMachineDir());
    corekit::EnvironmentValue const back("VORLAN_HOME", Home().c_str());
    File::WriteWhole(other / "Connection.ini",
                     "[Master]\nPeer = 127.0.0.1:" + String::From(MasterFinder::LocalPort()) + "\n");
    auto const farm = Connect();
    EXPECT_TRUE(WaitFor(
        [&] {
            farm->LoadEngines();
            return farm->View().Engines().size() == 2;
        },
        k_StartMs, 20))
        << "the second Engine has not come";
    EXPECT_EQ(engine.Stop(), 0);
}

TEST_F(FarmTrouble, GarbageOnEveryPort) {
    ASSERT_NO_FATAL_FAILURE(StartFarm());
    std::mt19937 random(20'26);
    net::asio::io_context context;
    for (unsigned short const port : {MasterFinder::LocalPort(), EnginePort()}) {
        ASSERT_NE(port, 0);
        std::vector<net::asio::ip::tcp::socket> held;
        for (int round = 0; round < 60; ++round) {
            net::asio::ip::tcp::socket socket(context);
            socket.connect({net::asio::ip::address_v4::loopback(), port});
            std::string noise(random() % 5'000, ' ');
            std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(random()); });
            std::string const openings[] = {
                "GET / HTTP/1.1\r\nHost: farm\r\n\r\n",
                std::string("\x16\x03\x01\xff\xff\x01\x00\xff", 8), // a record without an end
                std::string(4, '\xff'), noise};
            net::error_code ignored;
            socket.send(net::asio::buffer(openings[round % 4]), 0, ignored);
            if (round % 3 == 0)
                held.push_back(std::move(socket)); // says nothing more, and stays
        }
        ExpectFarmWorks();
    }
    EXPECT_TRUE(Master().Running());
    EXPECT_TRUE(Engine().Running());
}

TEST_F(FarmTrouble, ADamagedStoreIsOneLineAndTheFarmGoesOn) {
    ASSERT_NO_FATAL_FAILURE(StartFarm());
    ExpectFarmWorks();
    Path const store = Home() / "machine/VorlanMaster/farm.db";
    size_t errors = 0;
    for (bool const isTruncated : {true, false}) {
        ASSERT_EQ(Master().Stop(), 0);
        ASSERT_GT(File::Size(store), 8'192);
        if (isTruncated)
            std::filesystem::resize_file(store.Native(), static_cast<uintmax_t>(File::Size(store) / 2));
        else
            File::WriteWhole(store, std::string(50'000, 'x'));
        ASSERT_NO_FATAL_FAILURE(StartMaster());
        ExpectFarmWorks();
        EXPECT_EQ(CountLines(Master().Log(), " Error"), ++errors) << Master().Log();
        EXPECT_EQ(CountLines(Master().Log(), "The store was damaged"), errors);
    }
}

TEST_F(FarmTrouble, EachProgramEndsWhenAsked) {
    ASSERT_NO_FATAL_FAILURE(StartFarm());
    Submit("Long", "sleep 1000", "1-2");
    ASSERT_TRUE(WaitFor([&] { return UnitProcesses().size() == 2; }, k_JobMs));
    EXPECT_EQ(Engine().Stop(), 0);
    EXPECT_TRUE(UnitProcesses().empty());
    EXPECT_EQ(Master().Stop(), 0);
    EXPECT_TRUE(WaitFor([&] { return Processes().empty(); }, 2'000));
    EXPECT_EQ(Master().Output(), "");
    EXPECT_EQ(Engine().Output(), "");
    // What was cut off is done when they are back.
    ASSERT_NO_FATAL_FAILURE(StartFarm());
    EXPECT_TRUE(WaitFor([&] { return UnitProcesses().size() == 2; }, k_JobMs));
}

// Wherever in its start the signal finds it: before there is a handler it ends by the
// signal itself, afterwards with a clean exit.
TEST_F(FarmTrouble, AProgramThatIsStoppedWhileItStartsEnds) {
    for (int delayMs = 0; delayMs <= 120; delayMs += 8) {
        for (char const* name : {"VorlanMaster", "VorlanEngine"}) {
            Program program(name, Home());
            program.Start();
            std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
            auto const code = program.Stop();
            ASSERT_TRUE(code) << name << " goes on after " << delayMs << " ms";
            EXPECT_THAT(*code, testing::AnyOf(0, -SIGTERM)) << name << " after " << delayMs << " ms";
        }
    }
    EXPECT_TRUE(WaitFor([&] { return Processes().empty(); }, 2'000));
    ASSERT_NO_FATAL_FAILURE(StartFarm());
    ExpectFarmWorks();
}

TEST_F(FarmTrouble, ASecondMasterOfAMachineSaysWhoIsThere) {
    ASSERT_NO_FATAL_FAILURE(StartMaster());
    Program second("VorlanMaster", Home());
    second.Start();
    EXPECT_TRUE(WaitFor([&] { return !second.Running(); }, k_StartMs));
    EXPECT_THAT(second.Output().Str(), HasSubstr(std::to_string(Master().Pid())));
    EXPECT_TRUE(Master().Running());
}

TEST_F(FarmTrouble, TheCommandLineSaysThatThereIsNoMaster) {
    ASSERT_NO_FATAL_FAILURE(StartMaster());
    unsigned short const port = MasterFinder::LocalPort();
    ASSERT_EQ(Master().Stop(), 0);
    auto const result = Vorlan({"jobs", "--master", "127.0.0.1:" + String::From(port)});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr("127.0.0.1:" + std::to_string(port)));
    EXPECT_EQ(result.out, "");
}

// Root's home is closed to others, and so may be the build's: then it is skipped.
TEST_F(FarmTrouble, WorksForAPlainUser) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "this test runs as a plain user, and so have all the others";
    std::vector<String> const asNobody{"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
    Program master("VorlanMaster", Home());
    Program engine("VorlanEngine", Home());
    std::filesystem::permissions(Home().Native(), std::filesystem::perms::all);
    master.Start(asNobody);
    if (!WaitFor([&] { return (Home() / "machine/VorlanMaster/port").Exists() || !master.Running(); }, k_StartMs) ||
        (!master.Running() && master.Output().ContainsNoCase("denied")))
        GTEST_SKIP() << "a plain user may not start " << vorlan::k_BinDir;
    ASSERT_TRUE(master.Running()) << master.Output() << master.Log();
    engine.Start(asNobody);
    auto const job = Submit("Who", "id -u", "1");
    EXPECT_EQ(WaitForEnd(job->id), Finished) << engine.Log();
    EXPECT_THAT(Vorlan({"log", "Who"}).out, HasSubstr("\n65534\n"));
    EXPECT_EQ(engine.Stop(), 0);
    EXPECT_EQ(master.Stop(), 0);
}

TEST(FarmPrograms, TellTheirHelpWithoutBeginning) {
    for (char const* const program : {"VorlanMaster", "VorlanEngine"}) {
        for (char const* const asked : {"--help", "--version"}) {
            auto const outcome = corekit::RunCommand(Path(vorlan::k_BinDir) / program, {asked}, 10'000);
            EXPECT_TRUE(outcome.Ok()) << program << " " << asked << ": " << outcome.error;
            EXPECT_THAT(outcome.output, HasSubstr("orlan"));
        }
    }
}

} // namespace vorlan::farmtest
