// Programs that die at any moment: nothing is lost, nothing is done twice.
#include "farm/farm.h"

namespace vorlan::farmtest {

struct FarmKills : FarmFixture {
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(StartFarm()); }

    // The one of the environment, to see a failure again, or a new one.
    static unsigned Seed() {
        char const* const given = std::getenv("VORLAN_TEST_SEED");
        unsigned const seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
        std::cout << "VORLAN_TEST_SEED=" << seed << std::endl;
        return seed;
    }
    size_t FramesRun() const { return CountedFrames().size(); }
    enum class Victim { Master, Engine, Both };
    void KillAndRestart(Victim victim) {
        if (victim != Victim::Engine)
            Master().KillAlone();
        if (victim != Victim::Master)
            Engine().KillAlone();
        if (victim != Victim::Engine)
            Master().Start();
        if (victim != Victim::Master)
            Engine().Start();
    }
};

TEST_F(FarmKills, NoFrameIsLostOrDoneTwice) {
    constexpr int k_Frames = 200;
    constexpr int k_Kills = 8;
    unsigned const seed = Seed();
    SCOPED_TRACE("VORLAN_TEST_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    // Neither Engine nor Job is given up because of what is done to them here.
    auto const job = SubmitCounting("1-" + String::From(k_Frames), "0.02", {{p_FailureLimit, "0"}});
    for (int kill = 1; kill <= k_Kills; ++kill) {
        // Some frames of each life, and a moment that nobody chose.
        size_t const frames = static_cast<size_t>(kill * (k_Frames - 20) / k_Kills);
        if (!WaitFor([&] { return FramesRun() >= frames; }, k_JobMs, 1 + static_cast<int>(random() % 40)))
            break;
        auto const victim = static_cast<Victim>(random() % 3);
        SCOPED_TRACE("kill " + std::to_string(kill) + " of " + std::to_string(static_cast<int>(victim)));
        ASSERT_NO_FATAL_FAILURE(KillAndRestart(victim));
    }
    EXPECT_EQ(WaitForEnd(job->id), Finished);
    ExpectEachFrameFinishedOnce(job->id, k_Frames);
    EXPECT_EQ(FramesRun(), static_cast<size_t>(k_Frames));
    EXPECT_TRUE(WaitFor([&] { return UnitProcesses().empty(); }, 10'000));
}

// Also what has left its group and session.
TEST_F(FarmKills, AKilledEngineLeavesNoUnitBehind) {
    Submit("Long", "setsid sleep 1000 & sleep 1000 & sleep 1000", "1-2", {{"Shell", k_Yes}});
    ASSERT_TRUE(WaitFor([&] { return UnitProcesses().size() >= 4; }, k_JobMs));
    Engine().KillAlone();
    EXPECT_TRUE(WaitFor([&] { return UnitProcesses().empty(); }, 1'000))
        << UnitProcesses().size() << " processes are alive a second after the Engine";
}

TEST_F(FarmKills, WorkGoesOnWithoutAMaster) {
    auto const job = SubmitCounting("1-2", "0.5");
    ASSERT_TRUE(WaitFor([&] { return !UnitProcesses().empty(); }, k_JobMs));
    Master().KillAlone();
    // What ran ends as it should, while nobody listens.
    ASSERT_TRUE(WaitFor([&] { return FramesRun() > 0 && UnitProcesses().empty(); }, k_JobMs));
    size_t const done = FramesRun();
    Master().Start();
    EXPECT_EQ(WaitForEnd(job->id), Finished);
    ExpectEachFrameFinishedOnce(job->id, 2);
    EXPECT_GE(done, 1U);
    for (auto const& [frame, times] : CountedFrames())
        EXPECT_EQ(times, 1) << "frame " << frame << " was run again";
}

TEST_F(FarmKills, WaitingOutlivesTheMaster) {
    auto const job = SubmitCounting("1-12", "0.3");
    auto const waiter = StartVorlan({"wait", "--progress", "--timeout", "2m", job->id.ToString()});
    ASSERT_TRUE(waiter);
    // It waits for the Job, and no longer for the connection.
    ASSERT_TRUE(WaitFor([&] { return FramesRun() >= 2 && VorlanErrors().Contains("counting: "); }, k_JobMs));
    Master().KillAlone();
    Master().Start();
    EXPECT_EQ(waiter->Wait(k_JobMs), 0) << VorlanErrors();
}

} // namespace vorlan::farmtest
