#include "cli/fakemaster.h"
#include "corekit/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vorlan::cli {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

class CommandsTest : public testing::Test {
protected:
    using Result = FakeMaster::Result;

    template <class... Words>
    Result Run(Words const&... words) {
        return m_master.Run({std::string(words)...});
    }
    static std::string IdOf(boost::shared_ptr<Job> const& job) { return job->id.ToString().Str(); }

    FakeMaster m_master;
};

// Submitting.

class Submitting : public CommandsTest {
protected:
    std::string WriteJobFile(char const* values, int count = 1) {
        File::MakeFolder(m_folder / "demo");
        std::string text = R"({"format": "Vorlan Jobs", "version": 1, "jobs": [)";
        for (int i = 0; i < count; ++i)
            text += std::string(i ? "," : "") + R"({"product": "POV-Ray", "values": {)" + values + "}}";
        File::WriteWhole(m_folder / "demo/shot.vj", text + "]}");
        return (m_folder / "demo/shot.vj").Str();
    }
    boost::shared_ptr<Job const> Submitted() {
        auto const got = m_master.Got<JobMsg>();
        return got.empty() ? nullptr : got.back()->job;
    }

    corekit::TempFolder m_folder;
    std::string m_root = std::filesystem::canonical(m_folder.Folder().Native()).native();
};

TEST_F(Submitting, AFileGivesUIDsAndAbsolutePaths) {
    auto const result = Run("submit", WriteJobFile(R"("Name": "Shot", "SceneFile": "a.pov",
        "OutputFolder": "../out", "Range": "1-4")"));
    ASSERT_EQ(result.code, 0) << result.err;
    auto const job = Submitted();
    ASSERT_TRUE(job);
    EXPECT_EQ(result.out, job->id.ToString().Str() + "\n");
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_EQ(job->Get("SceneFile", false), m_root + "/demo/a.pov");
    EXPECT_EQ(job->Get("OutputFolder", false), m_root + "/out");
    EXPECT_EQ(job->Status(), Queued);
    EXPECT_FALSE(job->Creator().empty());
    EXPECT_FALSE(job->Created().IsZero());
}

TEST_F(Submitting, OptionsGoBeforeTheFile) {
    std::string const file = WriteJobFile(R"("Name": "Shot", "SceneFile": "a.pov", "OutputFolder": "o", "Width": 10)");
    auto const result = Run("submit", "--set", "Width=20", "--set", "Height=30", file, "--name", "New", "--frames",
                            "7-9", "--out", (m_folder / "there").Str(), "--json");
    ASSERT_EQ(result.code, 0) << result.err;
    auto const job = Submitted();
    EXPECT_EQ(job->Name(), "New");
    EXPECT_EQ(job->Get(p_Range, false), "7-9");
    EXPECT_EQ(job->Get("Width", false), "20");
    EXPECT_EQ(job->Get("Height", false), "30");
    EXPECT_EQ(job->Get("OutputFolder", false), (m_folder / "there").Str());
    json const printed = json::parse(result.out);
    EXPECT_EQ(printed.at(0).at("id"), job->id.ToString().Str());
    EXPECT_EQ(printed.at(0).at("frames"), 3);
}

TEST_F(Submitting, AProductGivesANewJob) {
    auto const result = Run("submit", "--product", "script", "--set", "CommandLine=echo $(First)", "--frames", "1-3");
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(Submitted()->Type(), FakeMaster::CommandProduct()->Type());
    EXPECT_EQ(Submitted()->Name(), "Command");
}

TEST_F(Submitting, WhatCannotBeIsSentNowhere) {
    struct Case {
        std::vector<std::string> arguments;
        int code;
        char const* err;
    };
    std::string const two = WriteJobFile(R"("SceneFile": "a.pov", "OutputFolder": "o")", 2);
    File::WriteWhole(m_folder / "bad.vj", "no job file");
    for (Case const& one :
         {Case{{"submit", "/nonexistent.vj"}, 1, "/nonexistent.vj"},
          Case{{"submit", (m_folder / "bad.vj").Str()}, 1, "bad.vj"},
          Case{{"submit", "-p", "Comand", "-s", "CommandLine=x"}, 1, "Is \"Command\" meant?"},
          Case{{"submit", "-p", "Command"}, 2, "needs a CommandLine"},
          Case{{"submit", "-p", "Command", "-s", "CommandLine=x", "-f", "3-"}, 2, "\"3-\""},
          Case{{"submit", "-p", "Command", "-s", "Comandline=x"}, 2, "Is CommandLine meant?"},
          Case{{"submit", "-p", "Command", "-s", "CommandLine=x", "-o", "/tmp"}, 2, "no output folder"},
          Case{{"submit", two, "--name", "x"}, 2, "the file has 2"}}) {
        auto const result = m_master.Run(one.arguments);
        EXPECT_EQ(result.code, one.code) << one.err;
        EXPECT_THAT(result.err, HasSubstr(one.err));
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(m_master.commands, IsEmpty());
    }
}

TEST_F(Submitting, ARefusalIsPrintedAsItIs) {
    m_master.refuses[UID::Null] = "The Job's Product is not known to the Master.";
    auto const result = Run("submit", "-p", "Command", "-s", "CommandLine=x", "--frames", "1", "--wait");
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("The Job's Product is not known to the Master."));
    EXPECT_THAT(result.out, IsEmpty());
}

// Waiting.

class Waiting : public CommandsTest {};

TEST_F(Waiting, EndsWithTheJobs) {
    struct Case {
        int status;
        int code;
        char const* err;
    };
    for (Case const& one :
         {Case{Finished, 0, ""}, Case{Failed, 1, "ended as Failed"}, Case{UserCanceled, 1, "ended as User Canceled"},
          Case{AdministratorCanceled, 1, "ended as Administrator Canceled"}}) {
        FakeMaster master;
        auto const job = master.AddJob("Shot");
        auto const other = master.AddJob("Other");
        master.later.push_back([&](FakeMaster& m) { m.TellFinished(other, Finished); });
        master.later.push_back([&](FakeMaster& m) {
            m.TellFinished(job, one.status);
            // A Job may be gone as soon as it is finished.
            auto gone = DeleteJobMsg::New();
            gone->job = job->id;
            m.Tell(gone);
        });
        auto const result = master.Run({"wait", "Shot", "Other", "--json"});
        EXPECT_EQ(result.code, one.code) << one.status;
        EXPECT_THAT(result.err, HasSubstr(one.err));
        EXPECT_EQ(json::parse(result.out).at(0).at("status").at("number"), one.status);
        EXPECT_TRUE(master.later.empty());
    }
}

TEST_F(Waiting, FinishedJobsNeedNone) {
    m_master.AddJob("Done", Finished);
    m_master.AddJob("Broken", Failed);
    EXPECT_EQ(Run("wait", "Done").code, 0);
    EXPECT_EQ(Run("wait", "Done", "Broken").code, 1);
    EXPECT_EQ(Run("wait", "None").code, 1);
}

TEST_F(Waiting, ADeletedJobHasFailed) {
    auto const job = m_master.AddJob("Shot");
    m_master.later.push_back([&](FakeMaster& m) {
        auto gone = DeleteJobMsg::New();
        gone->job = job->id;
        m.Tell(gone);
    });
    auto const result = Run("wait", "Shot");
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("\"Shot\" was deleted"));
}

TEST_F(Waiting, ItsTimeOverIsACodeOfItsOwn) {
    m_master.AddJob("Shot");
    auto const result = Run("wait", "Shot", "--timeout", "0.05");
    EXPECT_EQ(result.code, 4);
    EXPECT_THAT(result.err, HasSubstr("\"Shot\" is not finished"));
}

TEST_F(Waiting, OutlivesARestartOfTheMaster) {
    auto const job = m_master.AddJob("Shot");
    m_master.later.push_back([](FakeMaster& m) { m.Drop(); });
    m_master.later.push_back([&](FakeMaster& m) { m.TellFinished(job, Finished); });
    EXPECT_EQ(Run("wait", "Shot").code, 0);
    EXPECT_EQ(m_master.connections, 2);
}

TEST_F(Waiting, NoticesAnEndThatItDidNotSee) {
    auto const job = m_master.AddJob("Shot");
    m_master.later.push_back([&](FakeMaster& m) {
        m.jobs[job->id]->SetStatus(Failed);
        m.Drop();
    });
    EXPECT_EQ(Run("wait", "Shot").code, 1);
}

TEST_F(Waiting, ProgressWithoutATerminalIsALineEachStep) {
    auto const job = m_master.AddJob("Shot", Queued, "1-100");
    UID const engine = m_master.AddEngine("render07");
    for (int percent = 1; percent <= 12; ++percent) {
        m_master.later.push_back([&, percent](FakeMaster& m) {
            auto changed = JobParameterMsg::New();
            changed->job = job->id;
            changed->name = p_PercentDone;
            changed->value = String::From(percent);
            m.Tell(changed);
        });
    }
    m_master.later.push_back([&](FakeMaster& m) {
        auto failed = WorkHistoryElementMsg::New();
        failed->element = {Unsuccessful, Time::CurrentTime(), "no licence", "13", UID(true), job->id, engine};
        m.Tell(failed);
        m.TellFinished(job, Finished);
    });
    auto const result = Run("wait", "--progress", "Shot");
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.err, HasSubstr("Shot: 5 %"));
    EXPECT_THAT(result.err, HasSubstr("Shot: 10 %"));
    EXPECT_THAT(result.err, HasSubstr("13 on render07: Unsuccessful, no licence"));
    EXPECT_LE(std::count(result.err.begin(), result.err.end(), '\n'), 5);
    EXPECT_THAT(result.out, IsEmpty());
}

// Control.

class Controlling : public CommandsTest {};

TEST_F(Controlling, JobValuesAreChanged) {
    struct Case {
        std::vector<std::string> arguments;
        char const* name;
        char const* value;
    };
    auto const job = m_master.AddJob("Shot");
    for (Case const& one : {Case{{"pause", "Shot"}, p_Status, "-1"}, Case{{"resume", IdOf(job)}, p_Status, "0"},
                            Case{{"priority", IdOf(job).substr(0, 9), "80"}, p_Priority, "80"}}) {
        m_master.commands.clear();
        auto const result = m_master.Run(one.arguments);
        EXPECT_EQ(result.code, 0) << result.err;
        auto const got = m_master.Got<JobParameterMsg>();
        ASSERT_EQ(got.size(), 1U);
        EXPECT_EQ(got[0]->job, job->id);
        EXPECT_EQ(got[0]->name, one.name);
        EXPECT_EQ(got[0]->value, one.value);
    }
}

TEST_F(Controlling, ARefusalDoesNotHoldUpTheRest) {
    auto const done = m_master.AddJob("Done", Finished);
    m_master.AddJob("Shot");
    m_master.refuses[done->id] = "The Job is finished.";
    auto const result = Run("pause", "Done", "Shot");
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("Done: The Job is finished."));
    EXPECT_EQ(m_master.Got<JobParameterMsg>().size(), 2U);
}

TEST_F(Controlling, OneUnknownNameStopsTheCommand) {
    m_master.AddJob("Shot");
    EXPECT_EQ(Run("delete", "Shot", "Shoot").code, 1);
    EXPECT_THAT(m_master.commands, IsEmpty());
}

TEST_F(Controlling, StopsWork) {
    struct Case {
        bool wholeJob;
        bool permanently;
        int status;
        int action;
        size_t stops;
        size_t jobChanges;
    };
    for (Case const& one : {Case{true, false, UserAborted, 0, 2, 0}, Case{true, true, UserCanceled, 1, 2, 1},
                            Case{false, false, UserAborted, 0, 1, 0}, Case{false, true, UserCanceled, 1, 1, 0}}) {
        FakeMaster master;
        auto const job = master.AddJob("Shot");
        UID const engine = master.AddEngine("render07");
        UID const unit = master.AddUnit(job->id, engine, "1");
        master.AddUnit(job->id, engine, "2");
        master.AddUnit(master.AddJob("Other")->id, engine, "1");
        std::vector<std::string> arguments{"stop", one.wholeJob ? "Shot" : unit.ToString().Str()};
        if (one.permanently)
            arguments.push_back("--permanently");
        EXPECT_EQ(master.Run(arguments).code, 0);
        auto const stops = master.Got<StopWorkMsg>();
        ASSERT_EQ(stops.size(), one.stops);
        EXPECT_EQ(stops[0]->status, one.status);
        EXPECT_EQ(stops[0]->action, one.action);
        auto const changes = master.Got<JobParameterMsg>();
        ASSERT_EQ(changes.size(), one.jobChanges);
        for (auto const& change : changes)
            EXPECT_EQ(change->value, String::From(static_cast<int>(UserCanceled)));
    }
}

TEST_F(Controlling, DeletesNowOrLater) {
    m_master.AddJob("Shot");
    EXPECT_EQ(Run("delete", "Shot").code, 0);
    EXPECT_EQ(Run("delete", "--deferred", "Shot").code, 0);
    auto const got = m_master.Got<DeleteJobMsg>();
    ASSERT_EQ(got.size(), 2U);
    EXPECT_TRUE(got[0]->immediately);
    EXPECT_FALSE(got[1]->immediately);
}

TEST_F(Controlling, RequeuesWholeJobsAndSomeFrames) {
    auto const done = m_master.AddJob("Done", Failed, "1-10");
    EXPECT_EQ(Run("requeue", "Done").code, 0);
    auto const got = m_master.Got<JobMsg>();
    ASSERT_EQ(got.size(), 1U);
    EXPECT_EQ(got[0]->job->id, done->id);
    EXPECT_EQ(got[0]->job->Status(), Queued);

    auto const some = Run("requeue", IdOf(done), "--frames", "3,7");
    EXPECT_EQ(some.code, 0);
    auto const copy = m_master.Got<JobMsg>().back()->job;
    EXPECT_NE(copy->id, done->id);
    EXPECT_EQ(copy->Get(p_Range, false), "3,7");
    EXPECT_EQ(some.out, IdOf(copy) + "\n");

    m_master.commands.clear();
    EXPECT_EQ(Run("requeue", IdOf(done), "--frames", "9-12").code, 2);
    m_master.AddJob("Running");
    EXPECT_EQ(Run("requeue", "Running").code, 1);
    EXPECT_THAT(m_master.commands, IsEmpty());
}

// Listing.

class Listing : public CommandsTest {
protected:
    void SetUp() override {
        m_job = m_master.AddJob("Küche", Queued, "1-3");
        m_engine = m_master.AddEngine("render07");
        m_unit = m_master.AddUnit(m_job->id, m_engine, "2");
        UID const run(true);
        m_run = run;
        Time const start = Time::FromUnixMs(1'700'000'000'000);
        for (auto const& [status, seconds, note] : std::initializer_list<std::tuple<int, int, char const*>>{
                 {Assigned, 0, ""}, {Started, 1, ""}, {Unsuccessful, 3, "exit code 9"}, {Closed, 3, ""}}) {
            m_master.histories[m_job->id].Append(
                {status, start + Time::Seconds(seconds), note, "1", run, m_job->id, m_engine});
        }
    }

    boost::shared_ptr<Job> m_job;
    UID m_engine;
    UID m_unit;
    UID m_run;
};

TEST_F(Listing, JsonHoldsWhatTheFarmHolds) {
    json const jobs = json::parse(Run("jobs", "--json").out);
    ASSERT_EQ(jobs.size(), 1U);
    EXPECT_EQ(jobs[0].at("name"), "Küche");
    EXPECT_EQ(jobs[0].at("frames"), 3);
    EXPECT_EQ(jobs[0].at("activeWork"), 1);
    EXPECT_EQ(jobs[0].at("product"), "Command");

    json const work = json::parse(Run("work", "--json").out);
    ASSERT_EQ(work.size(), 1U);
    EXPECT_EQ(work[0].at("id"), m_unit.ToString().Str());
    EXPECT_EQ(work[0].at("engineName"), "render07");
    EXPECT_EQ(work[0].at("jobName"), "Küche");

    json const engines = json::parse(Run("engines", "--json").out);
    ASSERT_EQ(engines.size(), 1U);
    EXPECT_EQ(engines[0].at("activeWork"), 1);
    EXPECT_EQ(engines[0].at("online"), true);

    json const one = json::parse(Run("job", "Küche", "--json").out);
    ASSERT_EQ(one.at("runs").size(), 1U);
    json const& run = one.at("runs")[0];
    EXPECT_EQ(run.at("id"), m_run.ToString().Str());
    EXPECT_EQ(run.at("frames"), "1");
    EXPECT_EQ(run.at("status").at("name"), "Unsuccessful");
    EXPECT_EQ(run.at("note"), "exit code 9");
    EXPECT_EQ(run.at("start"), "2023-11-14T22:13:21.000Z");
    EXPECT_EQ(run.at("seconds"), 2.0);
    EXPECT_EQ(json::parse(Run("work", "--all", "Küche", "--json").out), one.at("runs"));

    json const products = json::parse(Run("products", "--json").out);
    EXPECT_EQ(products.size(), 2U);
    EXPECT_EQ(json::parse(Run("products", "Command", "--json").out).at("class"), "Sequence");
}

TEST_F(Listing, AnEmptyFarmIsAnEmptyList) {
    FakeMaster empty;
    for (char const* command : {"jobs", "work", "engines", "pools"}) {
        EXPECT_EQ(empty.Run({command, "--json"}).out, "[]\n") << command;
        auto const text = empty.Run({command});
        EXPECT_EQ(text.code, 0);
        EXPECT_THAT(text.out, Not(IsEmpty())) << command;
    }
}

TEST_F(Listing, NothingSecretAndNothingBrokenGetsOut) {
    m_job->Set(p_Password, "sesame");
    m_job->SetName("bad \xff name \x1b[2J");
    auto const listed = Run("job", IdOf(m_job), "--json");
    EXPECT_EQ(listed.code, 0);
    EXPECT_THAT(listed.out, Not(HasSubstr("sesame")));
    EXPECT_TRUE(json::accept(listed.out));
    EXPECT_THAT(Run("job", IdOf(m_job)).out, Not(HasSubstr("sesame")));
    EXPECT_THAT(Run("jobs").out, Not(HasSubstr("\x1b")));
}

TEST_F(Listing, OutputOfRuns) {
    m_master.outputs[m_unit] = {"frame 2\nhalf ", "a line"};
    EXPECT_EQ(Run("log", m_unit.ToString().Str()).out, "frame 2\nhalf a line");
    m_master.outputs[m_run] = {"frame 1\n"};
    auto const whole = Run("log", "Küche");
    EXPECT_EQ(whole.code, 0);
    EXPECT_EQ(whole.out, "==> 1 on render07, Unsuccessful <==\nframe 1\n");
    EXPECT_EQ(Run("log", "Küche", "--frame", "3").code, 1);
    m_master.outputs.clear();
    auto const gone = Run("log", "Küche");
    EXPECT_EQ(gone.code, 1);
    EXPECT_THAT(gone.err, HasSubstr("not there any more"));
    EXPECT_EQ(Run("log", "nothing").code, 1);
}

TEST_F(Listing, FollowingNamesTheFramesAndEndsWithTheJob) {
    m_master.outputs[m_unit] = {"first\nsec", "ond\nthird"};
    UID const late(true);
    m_master.outputs[late] = {"of another\n"};
    m_master.later.push_back([&](FakeMaster& m) {
        auto started = StartedWorkMsg::New();
        started->work = boost::make_shared<Job>(late);
        started->work->parentID = m_job->id;
        started->work->Set(p_SubRange, "3");
        started->engine = m_engine;
        m.Tell(started);
    });
    m_master.later.push_back([&](FakeMaster& m) { m.TellFinished(m_job, Finished); });
    auto const followed = Run("log", "--follow", "Küche");
    EXPECT_EQ(followed.code, 0);
    EXPECT_EQ(followed.out, "[2] first\n[2] second\n[2] third\n[3] of another\n");
}

} // namespace vorlan::cli
