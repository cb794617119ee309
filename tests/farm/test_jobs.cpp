// Jobs of real Products, from the command line to the files they make.
#include "farm/farm.h"

namespace vorlan::farmtest {

using nlohmann::json;
using testing::HasSubstr;

struct FarmJobs : FarmFixture {
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(StartFarm()); }
};

TEST_F(FarmJobs, ACommandRunsOnceForEachFrame) {
    auto const job = SubmitCounting("1-50");
    EXPECT_EQ(WaitForEnd(job->id), Finished);
    ExpectEachFrameFinishedOnce(job->id, 50);
    auto const counted = CountedFrames();
    EXPECT_EQ(counted.size(), 50U);
    for (auto const& [frame, times] : counted)
        EXPECT_EQ(times, 1) << frame;
}

TEST_F(FarmJobs, TheCommandLineSubmitsWaitsAndShows) {
    auto const submitted =
        Vorlan({"submit", "--product", "Command", "--name", "Hello", "--set",
                "CommandLine=echo this is $(First) of $(SubRange)", "--set", "PacketSize=2", "--frames", "1-5"});
    ASSERT_EQ(submitted.code, 0) << submitted.err;
    String const id = String(submitted.out).Trim();
    UID uid;
    ASSERT_TRUE(UID::FromString(id, uid));
    auto const waited = Vorlan({"wait", "--progress", "--timeout", "2m", id});
    EXPECT_EQ(waited.code, 0) << waited.err;
    EXPECT_THAT(waited.err, HasSubstr("Hello: 100 %"));
    auto const log = Vorlan({"log", "Hello", "--frame", "4"});
    EXPECT_EQ(log.code, 0) << log.err;
    EXPECT_THAT(log.out, HasSubstr("\nthis is 3 of 3-4\n"));
    json const one = json::parse(Vorlan({"job", id.Mid(0, 8), "--json"}).out);
    EXPECT_EQ(one.at("runs").size(), 3U);
    EXPECT_EQ(one.at("percentDone"), 100);
    EXPECT_EQ(json::parse(Vorlan({"engines", "--json"}).out).at(0).at("online"), true);
    EXPECT_THAT(Vorlan({"report", "Hello"}).out, HasSubstr("5 finished"));
    EXPECT_EQ(Vorlan({"delete", "Hello"}).code, 0);
    EXPECT_EQ(Vorlan({"jobs", "--json"}).out, "[]\n");
}

TEST_F(FarmJobs, RunningWorkIsStoppedAndCanceled) {
    auto const job = Submit("Long", "echo begun; exec sleep 1000", "1", {{"Shell", k_Yes}});
    ASSERT_TRUE(WaitFor([&] { return UnitProcesses().size() == 1; }, k_JobMs));
    ASSERT_TRUE(WaitFor([&] { return Vorlan({"log", "Long"}).out.find("\nbegun\n") != std::string::npos; }, k_JobMs));
    pid_t const first = UnitProcesses().front();
    EXPECT_EQ(Vorlan({"stop", "Long", "--requeue"}).code, 0);
    ASSERT_TRUE(WaitFor(
        [&] {
            auto const now = UnitProcesses();
            return now.size() == 1 && now.front() != first;
        },
        k_JobMs))
        << "requeued work did not start again";
    EXPECT_EQ(Vorlan({"wait", "Long", "--timeout", "0.2"}).code, 4);
    EXPECT_EQ(Vorlan({"stop", "Long", "--permanently"}).code, 0);
    EXPECT_EQ(Vorlan({"wait", "Long", "--timeout", "1m"}).code, 1);
    EXPECT_TRUE(WaitFor([&] { return UnitProcesses().empty(); }, 10'000));
    EXPECT_EQ(WaitForEnd(job->id), UserCanceled);
}

TEST_F(FarmJobs, OutputIsFollowedWhileItIsWritten) {
    // It goes on when the test has seen its first line.
    Submit("Talk", "echo first; while [ ! -e " + (Home() / "go") + " ]; do sleep 0.02; done; echo last", "7",
           {{"Shell", k_Yes}});
    auto const log = StartVorlan({"log", "--follow", "Talk"});
    ASSERT_TRUE(log);
    EXPECT_TRUE(WaitFor([&] { return VorlanOutput().Contains("[7] first\n"); }, k_JobMs));
    EXPECT_FALSE(VorlanOutput().Contains("[7] last\n"));
    File::WriteWhole(Home() / "go", "");
    EXPECT_EQ(log->Wait(k_JobMs), 0);
    EXPECT_TRUE(VorlanOutput().Contains("[7] last\n")) << VorlanOutput();
}

TEST_F(FarmJobs, AnInterruptEndsTheCommandAtOnce) {
    Submit("Long", "sleep 1000", "1");
    for (auto const& arguments : std::vector<std::vector<String>>{{"wait", "Long"}, {"log", "--follow", "Long"}}) {
        auto const process = StartVorlan(arguments);
        ASSERT_TRUE(process);
        String const begun = "process " + String::From(process->Pid());
        Path const history = Home() / "user/vorlan/History.log";
        EXPECT_TRUE(WaitFor([&] { return TextOf(history).Contains(begun); }, k_StartMs));
        ::kill(process->Pid(), SIGINT);
        EXPECT_EQ(process->Wait(2'000), 130);
    }
    EXPECT_EQ(UnitProcesses().size(), 1U);
}

TEST_F(FarmJobs, PausedJobsWaitAndPriorityDecides) {
    auto const paused = SubmitCounting("1-3", "0", {{p_Name, "Paused"}, {p_Status, String::From(int{Paused})}});
    auto const other = Submit("Other", "true", "1-20");
    EXPECT_EQ(WaitForEnd(other->id), Finished);
    EXPECT_TRUE(CountedFrames().empty());
    EXPECT_EQ(Vorlan({"priority", "Paused", "90"}).code, 0);
    EXPECT_EQ(Vorlan({"resume", "Paused"}).code, 0);
    EXPECT_EQ(WaitForEnd(paused->id), Finished);
    auto const farm = Connect();
    farm->LoadJobs();
    EXPECT_EQ(farm->View().FindJob(paused->id)->Priority(), 90);
}

TEST_F(FarmJobs, AProgramThatIsNotThereIsNamedInTheHistory) {
    auto const job = Submit("Missing", "no-such-renderer --frame $(First)", "1");
    EXPECT_EQ(WaitForEnd(job->id), Failed);
    JobHistory const history = HistoryOf(job->id);
    WorkHistory const& work = history["1"];
    EXPECT_EQ(work.Tries(), static_cast<unsigned>(Known(p_FailureLimit).fallback));
    EXPECT_THAT(work.LastRun().LastNote().Str(), HasSubstr("no-such-renderer"));
    auto const waited = Vorlan({"wait", "Missing"});
    EXPECT_EQ(waited.code, 1);
    EXPECT_THAT(waited.err, HasSubstr("Failed"));
}

TEST_F(FarmJobs, AnUnknownProductIsRefusedInWords) {
    File::WriteWhole(Home() / "odd.vj", R"({"format": "Vorlan Jobs", "version": 1, "jobs": [{"values":
        {"Name": "Odd", "Range": "1", "Type": "11111111-2222-4333-8444-555555555555"}}]})");
    auto const result = Vorlan({"submit", Home() / "odd.vj"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("The Job's Product is not known to the Master."));
    EXPECT_EQ(Vorlan({"jobs", "--json"}).out, "[]\n");
}

TEST_F(FarmJobs, POVRayRendersItsFrames) {
    if (::access("/usr/bin/povray", X_OK) != 0)
        GTEST_SKIP() << "povray is not installed";
    File::MakeFolder(Home() / "shot");
    File::WriteWhole(Home() / "shot/ball.pov", "#version 3.7; global_settings { assumed_gamma 1 }\n"
                                               "camera { location -4*z look_at 0 }\n"
                                               "light_source { <2, 4, -3> rgb 1 }\n"
                                               "sphere { 0, 1 pigment { rgb <clock, 0.5, 1> } }\n");
    File::WriteWhole(Home() / "shot/ball.vj", R"({"format": "Vorlan Jobs", "version": 1, "jobs": [{"product": "POV-Ray",
        "values": {"Type": "df6e29ba-ccac-4414-9cf9-a2a92aaa50f9", "Name": "Ball", "Range": "1-4", "SceneFile":
        "ball.pov", "OutputFolder": "../pictures", "OutputName": "ball_", "Width": 32, "Height": 24}}]})");
    auto const result = Vorlan({"submit", "--wait", Home() / "shot/ball.vj"});
    EXPECT_EQ(result.code, 0) << result.err;
    for (int frame = 1; frame <= 4; ++frame) {
        String const picture = File::Read(Home() / "pictures/ball_" + String::From(frame) + ".png");
        EXPECT_TRUE(picture.StartsWith("\x89PNG")) << frame;
    }
}

// What the repository's demo asks for, without the minutes that it takes.
TEST_F(FarmJobs, TheDemoIsAccepted) {
    auto const result = Vorlan({"submit", Path(vorlan::k_SourceDir) / "demo/demo.vj", "--out", Home() / "frames",
                                "--set", "Width=16", "--set", "Height=9", "--frames", "1-48", "--json"});
    ASSERT_EQ(result.code, 0) << result.err;
    json const job = json::parse(result.out).at(0);
    EXPECT_EQ(job.at("frames"), 48);
    auto const listed = json::parse(Vorlan({"job", job.at("id").get<std::string>(), "--json"}).out);
    EXPECT_EQ(listed.at("values").at("SceneFile"), std::string(vorlan::k_SourceDir) + "/demo/orrery.pov");
    EXPECT_EQ(listed.at("values").at("OutputFolder"), (Home() / "frames").Str());
}

} // namespace vorlan::farmtest
