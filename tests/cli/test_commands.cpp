#include "cli/fakemaster.h"
#include "cli/json.h"

namespace vorlan::cli {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

class CommandsTest : public testing::Test {
protected:
    FakeMaster::Result Run(String const& line) { return m_master.Run(line); }
    json Json(String const& line) { return json::parse(Run(line + " --json").out); }

    FakeMaster m_master;
};

// Submitting.

class Submitting : public CommandsTest {
protected:
    String WriteJobFile(std::string const& values, int count = 1, char const* program = "") {
        File::MakeFolder(m_folder / "demo");
        std::string text = R"({"format": "Vorlan Jobs", "version": 1, )" + std::string(program) + R"("jobs": [)";
        for (int i = 0; i < count; ++i)
            text += std::string(i ? "," : "") + R"({"product": "POV-Ray", "values": {)" + values + "}}";
        File::WriteWhole(m_folder / "demo/shot.vj", text + "]}");
        return m_folder / "demo/shot.vj";
    }

    corekit::TempFolder m_folder;
    std::string m_root = std::filesystem::canonical(m_folder.Folder().Native()).native();
};

TEST_F(Submitting, SendsAFileWithItsOptionsAndAbsolutePaths) {
    String const file = WriteJobFile(R"("Name": "Shot", "SceneFile": "a.pov", "OutputFolder": "../out", "Width": 10)");
    auto const plain = Run("submit " + file);
    ASSERT_EQ(plain.code, 0) << plain.err;
    auto job = m_master.Got<JobMsg>().back()->job;
    EXPECT_EQ(plain.out, job->id.ToString().Str() + "\n");
    EXPECT_THAT(plain.err, IsEmpty());
    EXPECT_EQ(std::tuple(job->Get("SceneFile", false), job->Get("OutputFolder", false), job->Status()),
              std::tuple(m_root + "/demo/a.pov", m_root + "/out", int{Queued}));
    EXPECT_FALSE(job->Creator().Empty() || job->Created().IsZero());

    json const printed =
        Json("submit --set Width=20 -s Height=30 " + file + " --name New --frames 7-9 --out " + m_folder.Folder());
    job = m_master.Got<JobMsg>().back()->job;
    EXPECT_EQ(std::tuple(job->Name(), job->Get(p_Range, false), job->Get("Width", false), job->Get("Height", false),
                         job->Get("OutputFolder", false)),
              std::tuple("New", "7-9", "20", "30", m_folder.Folder()));
    EXPECT_EQ(printed.at(0).at("id"), job->id.ToString().Str());
    EXPECT_EQ(printed.at(0).at("frames"), 3);

    EXPECT_EQ(Run("submit --product script --set 'CommandLine=echo $(First)' --frames 1-3").code, 0);
    job = m_master.Got<JobMsg>().back()->job;
    EXPECT_EQ(job->Type(), FakeMaster::CommandProduct()->Type());
    EXPECT_EQ(job->Name(), "Command");
}

TEST_F(Submitting, WhatCannotBeIsSentNowhere) {
    File::WriteWhole(m_folder / "bad.vj", "no job file");
    std::string const scene = R"("SceneFile": "a.pov", "OutputFolder": "o")";
    String const unknown = m_folder / "unknown.vj";
    std::filesystem::rename(WriteJobFile(scene + R"(, "Widht": 5, "Curve": [1])").Str(), unknown.Str());
    m_master.AddJob("Shot");
    String const command = "-p Command -s CommandLine=x -f 1 -s ";
    Rows<String, int, char const*> const cases = {
        {"/nonexistent.vj", 1, "/nonexistent.vj"},
        {m_folder / "bad.vj", 1, "bad.vj"},
        {"-p Comand -s CommandLine=x", 1, "Is \"Command\" meant?"},
        {"-p Command", 2, "needs a CommandLine"},
        {"-p Command -s CommandLine=x -f 3-", 2, "\"3-\""},
        {"-p Command -s Comandline=x", 2, "Is CommandLine meant?"},
        {"-p Command -s CommandLine=x -o /tmp", 2, "no output folder"},
        {WriteJobFile(scene, 2) + " --name x", 2, "the file has 2"},
        {m_folder / "demo/shot.vj -s Format=GIF", 2, "Format must be one of N (PNG), J (JPEG)"},
        {m_folder / "demo/shot.vj -s Quality=12", 2, "Quality must be a whole number from 0 to 11, not \"12\""},
        {m_folder / "demo/shot.vj -s Width=-1", 2, "Width must be a whole number, 0 or more"},
        {m_folder / "demo/shot.vj -s Alpha=perhaps", 2, "Alpha must be Yes or No"},
        {unknown, 1, "POV-Ray: Widht"},
        {unknown, 1, "POV-Ray: Curve"},
        {command + "PacketSize=abc", 2, "PacketSize must be a whole number"},
        {command + "Priority=900", 2, "Priority must be a whole number from 0 to 100"},
        {command + "Created=1", 2, "given by the Master"},
        {command + "WaitForJobID=Shoot", 1, "There is no Job \"Shoot\". Is \"Shot\" meant?"},
        {command + "WaitForJobID=Shot,x7", 1, "There is no Job \"x7\""},
        {command + "IncludeEngines=render07", 1, "There is no Engine or Pool \"render07\""},
        {command + "Pool=Day", 1, "There is no Pool \"Day\""},
    };
    for (auto const& [arguments, code, err] : cases) {
        EXPECT_THAT(Run("submit " + arguments), Ends(code, err, IsEmpty())) << arguments;
        EXPECT_THAT(m_master.commands, IsEmpty());
    }
    m_master.refuses[UID::Null] = "The Job's Product is not known to the Master.";
    EXPECT_THAT(Run("submit -p Command -s CommandLine=x --frames 1 --wait"),
                Ends(1, "The Job's Product is not known to the Master.", IsEmpty()));
}

TEST_F(Submitting, NamesBecomeIds) {
    UID const first = m_master.AddJob("First Shot")->id;
    UID const second = m_master.AddJob("Second")->id;
    UID const engine = m_master.AddEngine("render07");
    UID const pool(true);
    m_master.pools[pool] = "Night";
    String const both = first.ToString() + ", " + second.ToString();
    Rows<String, char const*, String> const cases = {
        {"WaitForJobID=first shot", p_WaitForJobID, first.ToString()},
        {"WaitForJobID=First Shot; second", p_WaitForJobID, both},
        {"WaitForJobID=" + first.ToString().Mid(0, 13) + " Second", p_WaitForJobID, both},
        {"WaitForJobID=" + pool.ToString(), p_WaitForJobID, pool.ToString()},
        {"ExcludeEngines=Render07,night", p_ExcludeEngines, engine.ToString() + ", " + pool.ToString()},
        {"Pool=night", p_Pool, pool.ToString()},
    };
    for (auto const& [setting, name, value] : cases) {
        auto const result = Run("submit -p Command -s CommandLine=x -f 1 -s '" + setting + "'");
        ASSERT_EQ(result.code, 0) << setting << result.err;
        EXPECT_EQ(m_master.Got<JobMsg>().back()->job->Get(name, false), value) << setting;
    }
    // Of one file, by name: the one that is waited for goes first.
    File::WriteWhole(m_folder / "two.vj", R"({"format": "Vorlan Jobs", "version": 1, "jobs": [
        {"product": "Command", "values": {"Name": "Comp", "CommandLine": "x", "WaitForJobID": "The Sim"}},
        {"product": "Command", "values": {"Name": "The Sim", "CommandLine": "x"}}]})");
    m_master.commands.clear();
    ASSERT_EQ(Run("submit " + m_folder / "two.vj").code, 0);
    auto const got = m_master.Got<JobMsg>();
    ASSERT_EQ(got.size(), 2U);
    EXPECT_EQ(got[0]->job->Name(), "The Sim");
    EXPECT_EQ(got[1]->job->Get(p_WaitForJobID, false), got[0]->job->id.ToString());
}

TEST_F(Submitting, ReadsTheStandardInputAndTellsTheStateAfterTheWait) {
    m_master.input = File::Read(WriteJobFile(R"("SceneFile": "/a.pov", "OutputFolder": "o")")).Str();
    m_master.onCommand = [this] {
        if (m_master.units.empty() && !m_master.jobs.empty())
            m_master.AddUnit(m_master.jobs.begin()->first, UID(true), "1");
    };
    m_master.later.push_back([](FakeMaster& m) {
        m.units.clear();
        m.TellFinished(m.jobs.begin()->second, Failed);
    });
    auto const result = Run("submit - --wait --json");
    EXPECT_EQ(result.code, 1);
    json const printed = json::parse(result.out);
    ASSERT_EQ(printed.size(), 1U);
    EXPECT_EQ(printed[0].at("status").at("name"), "Failed");
    EXPECT_EQ(printed[0].at("failedFrames"), "");
    EXPECT_EQ(printed[0].at("activeWork"), 0);
    EXPECT_EQ(m_master.Got<JobMsg>().at(0)->job->Get("OutputFolder", false),
              String(std::filesystem::current_path().native()) + "/o");
    m_master.input = "{";
    EXPECT_THAT(Run("submit -").err, HasSubstr("standard input"));
}

TEST_F(Submitting, WhatAnotherVersionWroteIsKept) {
    EXPECT_THAT(Run("submit " + WriteJobFile(R"("SceneFile": "a.pov", "OutputFolder": "o", "Grain": 5)", 1,
                                             R"("program": 20000, )")),
                Ends(0, "POV-Ray: Grain"));
    EXPECT_EQ(m_master.Got<JobMsg>().back()->job->Get("Grain", false), "5");
}

TEST_F(Submitting, IsTriedAgainAsTheSameWhenTheConnectionEnds) {
    m_master.onCommand = [this] {
        if (m_master.commands.size() == 1)
            m_master.Drop();
    };
    auto const result = Run("submit -p Command -s CommandLine=x -f 1");
    EXPECT_EQ(result.code, 0) << result.err;
    auto const got = m_master.Got<JobMsg>();
    ASSERT_EQ(got.size(), 2U);
    EXPECT_FALSE(got[0]->submission.IsNull());
    EXPECT_EQ(std::tuple(got[1]->submission, got[1]->job->id), std::tuple(got[0]->submission, got[0]->job->id));
    EXPECT_EQ(result.out, got[0]->job->id.ToString().Str() + "\n");
}

// Waiting.

class Waiting : public CommandsTest {};

TEST_F(Waiting, EndsWithTheJobs) {
    Rows<int, int, char const*> const cases = {
        {Finished, 0, ""},
        {Failed, 1, "ended as Failed"},
        {UserCanceled, 1, "ended as User Canceled"},
        {AdministratorCanceled, 1, "ended as Administrator Canceled"},
    };
    for (auto const& [ended, code, err] : cases) {
        int const status = ended;
        FakeMaster master;
        auto const job = master.AddJob("Shot");
        auto const other = master.AddJob("Other");
        master.later.push_back([&](FakeMaster& m) { m.TellFinished(other, Finished); });
        master.later.push_back([&](FakeMaster& m) {
            m.TellFinished(job, status);
            // A Job may be gone as soon as it is finished.
            m.Tell<DeleteJobMsg>(job->id);
        });
        auto const result = master.Run("wait Shot Other --json");
        EXPECT_THAT(result, Ends(code, err)) << status;
        EXPECT_EQ(json::parse(result.out).at(0).at("status").at("number"), status);
        EXPECT_TRUE(master.later.empty());
    }
}

// One Job, "Shot", and what happens to it while the command waits.
TEST_F(Waiting, NoticesEveryWayToEnd) {
    using Step = std::function<void(FakeMaster&)>;
    Step const drop = [](FakeMaster& m) { m.Drop(); };
    Step const finish = [](FakeMaster& m) { m.TellFinished(m.jobs.begin()->second, Finished); };
    Step const remove = [](FakeMaster& m) { m.Tell<DeleteJobMsg>(m.jobs.begin()->first); };
    Step const stand = [](FakeMaster& m) {
        m.Tell<JobParameterMsg>(m.jobs.begin()->first, p_Standstill, "its scene is gone");
    };
    Step const failUnseen = [](FakeMaster& m) {
        m.jobs.begin()->second->SetStatus(Failed);
        m.Drop();
    };
    Rows<char const*, int, std::deque<Step>, int, int, char const*> const cases = {
        {"wait Shot", Finished, {}, 0, 1, ""},
        {"wait Shot", Failed, {}, 1, 1, ""},
        {"wait None", Queued, {}, 1, 1, "There is no Job \"None\""},
        {"wait Shot --timeout 0.05", Queued, {}, 4, 1, "\"Shot\" is not finished"},
        {"wait Shot", Queued, {remove}, 1, 1, "\"Shot\" was deleted"},
        {"wait Shot", Queued, {stand}, 1, 1, "\"Shot\" stands still: its scene is gone"},
        {"wait Shot", Queued, {drop, finish}, 0, 2, ""},
        {"wait Shot", Queued, {failUnseen}, 1, 2, ""},
    };
    for (auto const& [line, status, steps, code, connections, err] : cases) {
        FakeMaster master;
        master.AddJob("Shot", status);
        master.later = steps;
        EXPECT_THAT(master.Run(line), Ends(code, err)) << line;
        EXPECT_EQ(master.connections, connections) << line << " " << err;
    }
}

TEST_F(Waiting, ProgressWithoutATerminalIsALineEachStep) {
    auto const job = m_master.AddJob("Shot", Queued, "1-100");
    UID const engine = m_master.AddEngine("render07");
    for (int percent = 1; percent <= 12; ++percent) {
        m_master.later.push_back(
            [&, percent](FakeMaster& m) { m.Tell<JobParameterMsg>(job->id, p_PercentDone, String::From(percent)); });
    }
    m_master.later.push_back([&](FakeMaster& m) {
        m.Tell<WorkHistoryElementMsg>(
            WorkHistoryElement{Unsuccessful, Time::CurrentTime(), "no licence", "13", UID(true), job->id, engine});
        m.TellFinished(job, Finished);
    });
    auto const result = Run("wait --progress Shot");
    for (char const* said : {"Shot: 5 %", "Shot: 10 %", "13 on render07: Unsuccessful, no licence"})
        EXPECT_THAT(result, Ends(0, said, IsEmpty()));
    EXPECT_LE(std::count(result.err.begin(), result.err.end(), '\n'), 5);
}

// Control.

class Controlling : public CommandsTest {};

template <class Messages>
std::vector<String> TextsOf(Messages const& messages) {
    std::vector<String> texts;
    for (auto const& message : messages)
        texts.push_back(message->Text());
    return texts;
}

TEST_F(Controlling, EachCommandSendsWhatItSays) {
    UID const shot = m_master.AddJob("Shot")->id;
    UID const held = m_master.AddJob("Held", Paused)->id;
    UID const done = m_master.AddJob("Done", Failed, "1-10")->id;
    UID const engine = m_master.AddEngine("render07");
    Rows<String, std::vector<boost::shared_ptr<Message>>> const cases = {
        {"pause Shot Held", {JobParameterMsg::Create(shot, p_Status, "-1")}}, // only what it changes
        {"resume Shot " + held.ToString(), {JobParameterMsg::Create(held, p_Status, "0")}},
        {"priority " + shot.ToString().Mid(0, 9) + " 80", {JobParameterMsg::Create(shot, p_Priority, "80")}},
        {"--admin jobs", {AdministrateMsg::Create(true)}},
        {"jobs", {}},
        {"delete Shot", {DeleteJobMsg::Create(shot, true)}},
        {"delete --deferred Shot", {DeleteJobMsg::Create(shot, false)}},
        {"requeue Done --failed", {RunAgainMsg::Create(done)}},
        {"requeue Done --failed --frames 3", {RunAgainMsg::Create(done, "3")}},
        {"reset Done render07", {ResetJobFailuresMsg::Create(done), ResetEngineFailuresMsg::Create(engine)}},
    };
    for (auto const& [line, sent] : cases) {
        EXPECT_THAT(Run(line), Ends(0)) << line;
        EXPECT_EQ(TextsOf(std::exchange(m_master.commands, {})), TextsOf(sent)) << line;
    }
    EXPECT_THAT(Run("reset nobody"), Ends(1));
}

TEST_F(Controlling, ARefusalDoesNotHoldUpTheRestAndAnUnknownNameDoes) {
    m_master.AddJob("Done", Finished);
    auto const kept = m_master.AddJob("Kept");
    m_master.AddJob("Shot");
    m_master.refuses[kept->id] = "The Job is kept.";
    EXPECT_EQ(Run("delete Shot Shoot").code, 1);
    EXPECT_THAT(m_master.commands, IsEmpty());
    auto const result = Run("pause Done Kept Shot");
    for (char const* said : {"Done: The Job is finished.", "Kept: The Job is kept."})
        EXPECT_THAT(result, Ends(1, said));
    EXPECT_EQ(m_master.Got<JobParameterMsg>().size(), 2U) << "nobody asks for what changes nothing";
}

TEST_F(Controlling, ARefusalIsToldThoughTheConnectionEndsBehindIt) {
    m_master.refuses[m_master.AddJob("Kept")->id] = "The Job is kept.";
    m_master.AddJob("Shot");
    m_master.onCommand = [this] { m_master.Drop(); };
    Rows<char const*, int> const cases = {{"pause Kept", 1}, {"pause Kept Shot", 3}};
    for (auto const& [line, code] : cases) {
        EXPECT_THAT(Run(line), Ends(code, "The Job is kept.")) << line;
    }
}

TEST_F(Controlling, StopsWork) {
    Rows<bool, char const*, int, int, size_t, size_t> const cases = {{true, "", UserAborted, 0, 2, 0},
                                                                     {true, " --permanently", UserCanceled, 1, 2, 1},
                                                                     {false, "", UserAborted, 0, 1, 0},
                                                                     {false, " --permanently", UserCanceled, 1, 1, 0}};
    for (auto const& [wholeJob, option, status, action, stopCount, jobChanges] : cases) {
        FakeMaster master;
        auto const job = master.AddJob("Shot");
        UID const engine = master.AddEngine("render07");
        UID const unit = master.AddUnit(job->id, engine, "1");
        master.AddUnit(job->id, engine, "2");
        master.AddUnit(master.AddJob("Other")->id, engine, "1");
        EXPECT_EQ(master.Run("stop " + (wholeJob ? String("Shot") : unit.ToString()) + option).code, 0);
        auto const stops = master.Got<StopWorkMsg>();
        ASSERT_EQ(stops.size(), stopCount);
        EXPECT_EQ(std::tuple(stops[0]->status, stops[0]->action), std::tuple(status, action));
        auto const changes = master.Got<JobParameterMsg>();
        ASSERT_EQ(changes.size(), jobChanges);
        for (auto const& change : changes)
            EXPECT_EQ(change->value, String::From(static_cast<int>(UserCanceled)));
    }
}

TEST_F(Controlling, RequeuesWholeJobsAndSomeFrames) {
    auto const done = m_master.AddJob("Done", Failed, "1-10");
    String const id = done->id.ToString();
    EXPECT_EQ(Run("requeue Done").code, 0);
    auto const got = m_master.Got<JobMsg>();
    ASSERT_EQ(got.size(), 1U);
    EXPECT_EQ(std::tuple(got[0]->job->id, got[0]->job->Status()), std::tuple(done->id, int{Queued}));

    auto const some = Run("requeue " + id + " --frames 3,7");
    EXPECT_EQ(some.code, 0);
    auto const copy = m_master.Got<JobMsg>().back()->job;
    EXPECT_NE(copy->id, done->id);
    EXPECT_EQ(copy->Get(p_Range, false), "3,7");
    EXPECT_EQ(some.out, copy->id.ToString().Str() + "\n");

    m_master.commands.clear();
    EXPECT_EQ(Run("requeue " + id + " --frames 9-12").code, 2);
    m_master.AddJob("Running");
    EXPECT_EQ(Run("requeue Running").code, 1);
    EXPECT_THAT(m_master.commands, IsEmpty());
}

// Listing.

class Listing : public CommandsTest {
protected:
    void SetUp() override {
        m_job = m_master.AddJob("Küche", Queued, "1-3");
        m_engine = m_master.AddEngine("render07");
        m_unit = m_master.AddUnit(m_job->id, m_engine, "2");
        Time const start = Time::FromUnixMs(1'700'000'000'000);
        Rows<int, int, char const*> const life = {
            {Assigned, 0, ""}, {Started, 1, ""}, {Unsuccessful, 3, "exit code 9"}, {Closed, 3, ""}};
        for (auto const& [status, seconds, note] : life)
            m_master.histories[m_job->id].Append(
                {status, start + Time::Seconds(seconds), note, "1", m_run, m_job->id, m_engine});
    }

    boost::shared_ptr<Job> m_job;
    UID m_engine;
    UID m_unit;
    UID m_run{true};
};

TEST_F(Listing, JsonHoldsWhatTheFarmHolds) {
    Rows<char const*, char const*, json> const cases = {
        {"jobs", "/0/name", "Küche"},
        {"jobs", "/0/frames", 3},
        {"jobs", "/0/activeWork", 1},
        {"jobs", "/0/product", "Command"},
        {"work", "/0/id", m_unit.ToString().Str()},
        {"work", "/0/engineName", "render07"},
        {"work", "/0/jobName", "Küche"},
        {"engines", "/0/activeWork", 1},
        {"engines", "/0/online", true},
        {"job Küche", "/runs/0/id", m_run.ToString().Str()},
        {"job Küche", "/runs/0/frames", "1"},
        {"job Küche", "/runs/0/status/name", "Unsuccessful"},
        {"job Küche", "/runs/0/note", "exit code 9"},
        {"job Küche", "/runs/0/start", "2023-11-14T22:13:21.000Z"},
        {"job Küche", "/runs/0/seconds", 2.0},
        {"work --all Küche", "", Json("job Küche").at("runs")},
        {"products Command", "/class", "Sequence"},
        {"jobs", "/0/failures", 3},
        {"engines", "/0/failures", 3},
        {"engines", "/0/barredProducts/0", "Command"},
        {"job Küche", "/failedFrames", "1"},
        {"job Küche", "/values", json::parse(R"({"Name": "Küche", "Range": "1-3"})")},
        {"wait Küche --timeout 0.01", "/0/failedFrames", "1"},
        {"report Küche", "/name", "Küche"},
        {"log Küche", "/0/run/frames", "1"},
        {"log Küche", "/0/output", "frame 1\n"},
    };
    m_master.outputs[m_run] = {"frame 1\n"};
    m_master.failures = {{m_job->id, m_engine, UID(true), 3, Time(), 3}};
    m_master.engines[0].SetBarredProducts({FakeMaster::CommandProduct()->Type()});
    for (auto const& [line, place, value] : cases)
        EXPECT_EQ(Json(line).at(json::json_pointer(place)), value) << line << place;
    EXPECT_THAT(Run("engines").out, HasSubstr("gets no more work of: Command"));
    for (char const* line : {"jobs", "work", "engines"})
        EXPECT_EQ(Json(line).size(), 1U) << line;
    EXPECT_EQ(Json("products").size(), 2U);
}

// Run it with VORLAN_REWRITE_DOCS=1 to write the page anew.
TEST_F(Listing, ThePageOfFieldsIsWhatIsPrinted) {
    constexpr char k_Begin[] = "<!-- fields: begin -->\n";
    constexpr char k_End[] = "<!-- fields: end -->";
    String tables;
    for (JsonTable const& table : DescribeJson()) {
        tables += "\n### " + table.title + "\n\n" + table.about + "\n\n| Field | Meaning |\n|---|---|\n";
        for (auto const& [name, meaning] : table.fields)
            tables += "| `" + name + "` | " + meaning + " |\n";
    }
    Path const file(String(vorlan::k_SourceDir) + "/docs/json.md");
    String const page = File::Read(file);
    size_t const from = page.Find(k_Begin) + std::string_view(k_Begin).size();
    size_t const end = page.Find(k_End);
    ASSERT_NE(end, String::npos);
    if (std::getenv("VORLAN_REWRITE_DOCS"))
        File::WriteWhole(file, page.Mid(0, from) + tables + "\n" + page.Mid(end));
    else
        EXPECT_EQ(page.Mid(from, end - from), tables + "\n");
}

TEST_F(Listing, AnEmptyFarmIsAnEmptyList) {
    FakeMaster empty;
    for (String const command : {"jobs", "work", "engines", "pools"}) {
        EXPECT_EQ(empty.Run(command + " --json").out, "[]\n") << command;
        EXPECT_THAT(empty.Run(command), Ends(0, "", Not(IsEmpty()))) << command;
    }
}

TEST_F(Listing, NothingSecretAndNothingBrokenGetsOut) {
    m_job->Set(p_Password, "sesame");
    m_job->SetName("bad \xff name \x1b[2J");
    String const line = "job " + m_job->id.ToString();
    auto const listed = Run(line + " --json");
    EXPECT_EQ(listed.code, 0);
    EXPECT_THAT(listed.out, Not(HasSubstr("sesame")));
    EXPECT_TRUE(json::accept(listed.out));
    EXPECT_THAT(Run(line).out, Not(HasSubstr("sesame")));
    EXPECT_THAT(Run("jobs").out, Not(HasSubstr("\x1b")));
}

TEST_F(Listing, OutputOfRuns) {
    m_master.outputs[m_unit] = {"frame 2\nhalf ", "a line"};
    EXPECT_EQ(Run("log " + m_unit.ToString()).out, "frame 2\nhalf a line");
    m_master.outputs[m_run] = {"frame 1\n"};
    EXPECT_THAT(Run("log Küche"), Ends(0, "", "==> 1 on render07, Unsuccessful <==\nframe 1\n"));
    EXPECT_EQ(Run("log Küche --frame 3").code, 1);
    m_master.outputs.clear();
    EXPECT_THAT(Run("log Küche"), Ends(1, "not there any more"));
    EXPECT_EQ(Run("log nothing").code, 1);
}

TEST_F(Listing, FollowingNamesTheFramesAndEndsWithTheJob) {
    m_master.outputs[m_unit] = {"first\nsec", "ond\nthird"};
    m_master.later.push_back([&](FakeMaster& m) {
        UID const late = m.AddUnit(m_job->id, m_engine, "3");
        m.outputs[late] = {"of another\n"};
        m.Tell<StartedWorkMsg>(std::get<0>(m.units.back()), m_engine);
    });
    m_master.later.push_back([&](FakeMaster& m) { m.TellFinished(m_job, Finished); });
    EXPECT_THAT(Run("log --follow Küche"), Ends(0, "", "[2] first\n[2] second\n[2] third\n[3] of another\n"));
}

} // namespace vorlan::cli
