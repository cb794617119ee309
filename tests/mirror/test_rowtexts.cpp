// What the cells of the lists say, and the colours of their rows.
#include "mirrortest.h"
#include "rows/rowkinds.h"

#include <vorlan/failures.h>
#include <vorlan/keys.h>

namespace vorlan {

class RowTextsTest : public MirrorTest {
protected:
    RowTextsTest() { Failures::Clear(); }
    ~RowTextsTest() override { Failures::Clear(); }

    static String JobText(Job const& job, int type, String const& custom = String()) {
        JobInfo const info(boost::make_shared<Job>(job));
        return JobColumns::Text(info, type, custom, Time());
    }
    static void Fail(UID const& engine, char const* job, char const* product) {
        Failures::Add(UID::FromName(job), UID::FromName(product), engine, Time(1));
    }
};

TEST_F(RowTextsTest, TextsOfJobs) {
    struct {
        int type;
        char const* name;
        char const* value;
        char const* text;
    } const cases[] = {
        {JobColumns::Progress, p_PercentDone, "0", "0%"},
        {JobColumns::Progress, p_PercentDone, "12.345", "12.3%"},
        {JobColumns::Progress, p_PercentDone, "99.89", "99.9%"},
        {JobColumns::Progress, p_PercentDone, "99.95", "99.9%"},
        {JobColumns::Progress, p_PercentDone, "100", "100%"},
        {JobColumns::UsageLimit, p_UsageLimit, "-1", "1 engine"},
        {JobColumns::UsageLimit, p_UsageLimit, "-3", "3 engines"},
        {JobColumns::UsageLimit, p_UsageLimit, "1", "1 worker"},
        {JobColumns::UsageLimit, p_UsageLimit, "0", "0 workers"},
        {JobColumns::UsageLimit, p_UsageLimit, "-2147483648", "2147483648 engines"},
        {JobColumns::FinishDisposition, p_FinishDisposition, "-1", "Let the Master decide"},
        {JobColumns::FinishDisposition, p_FinishDisposition, "0", "Keep in the system"},
        {JobColumns::FinishDisposition, p_FinishDisposition, "1", "Delete immediately"},
        {JobColumns::FinishDisposition, p_FinishDisposition, "2", ""},
        {JobColumns::Finished, p_FinishedTime, "0", ""},
        {JobColumns::WaitFor, p_Note, "", "Waiting for 0 jobs"},
        {JobColumns::Failures, p_Note, "", "0 (0 total)"},
        {JobColumns::Staggering, p_StaggerCount, "4", "No Job staggering"},
        {18, p_Name, "unused", ""},
    };
    for (auto const& test : cases) {
        Job job(UID::FromName("job"));
        job.SetParameter(test.name, test.value);
        EXPECT_EQ(JobText(job, test.type), test.text) << test.type << " " << test.value;
    }
    char const* const staggering[] = {"Start 2 Work every 30 seconds", "Start 2 on an Engine every 30 seconds",
                                      "Start 2 Engines every 30 seconds", "Start 2 Work every 30 seconds"};
    for (int mode = 0; mode < 4; ++mode) {
        Job job(UID::FromName("job"));
        job.SetValues(
            {{p_StaggerCount, "2"}, {p_StaggerStart, "30"}, {p_StaggerMode, String::From(mode)}, {p_Name, "a"}});
        EXPECT_EQ(JobText(job, JobColumns::Staggering), staggering[mode]);
        EXPECT_EQ(JobText(job, JobColumns::Custom, "$(Name): $(StaggerCount)$(NoSuchName)!"), "a: 2!");
    }
    EXPECT_EQ(ProgressBarText(9.876F), "9.9%");
    EXPECT_EQ(ProgressBarText(12.345F), "12.3%");
    EXPECT_EQ(ProgressBarText(99.95F), "99.9%");
    EXPECT_EQ(JobColumns::Text(JobInfo(), JobColumns::Name, String(), Time()), "") << "a record without a Job";
}

TEST_F(RowTextsTest, TextsOfEngines) {
    Time const now(63'900'000'000'000);
    struct {
        bool online;
        int status;
        int64_t minutes;
        char const* text;
    } const uptimes[] = {
        {true, 0, 0, "0m"},        {true, 0, 5, "5m"},
        {true, 0, 125, "2h 05m"},  {true, 0, 1440 * 12 + 61, "12d 01h 01m"},
        {false, -1, 61, "1h 01m"}, {false, 0, 61, ""},
    };
    for (auto const& test : uptimes) {
        EngineInfo engine(UID::FromName("engine"));
        engine.SetOnline(test.online);
        engine.SetStatus(test.status);
        engine.SetStartTime(now - Time::Minutes(test.minutes) - Time::Seconds(59));
        EXPECT_EQ(EngineColumns::Text(engine, EngineColumns::Uptime, String(), now), test.text);
    }
    EngineInfo engine(UID::FromName("engine"));
    auto const errors = [&] { return EngineColumns::Text(engine, EngineColumns::Errors, String(), now); };
    EXPECT_EQ(errors(), "0 Failures");
    EXPECT_FALSE(EngineColumns::IsTinted(engine));
    Fail(engine.id, "a", "product");
    EXPECT_EQ(errors(), "1 Failure") << "no bracket, other than in the information panel";
    EXPECT_EQ(engine.DisplayFailures(), "1 Failure (1 Job 1 Product)");
    Fail(engine.id, "a", "product");
    Fail(engine.id, "b", "product");
    EXPECT_EQ(errors(), "3 Failures (2 Jobs 1 Product)");
    EXPECT_TRUE(EngineColumns::IsTinted(engine));
    engine.SetVersion(30102);
    EXPECT_EQ(EngineColumns::Text(engine, EngineColumns::Version, String(), now), "3.1.2");
    engine.SetName("node 7");
    EXPECT_EQ(EngineColumns::Text(engine, EngineColumns::Custom, "<$(Name)$(NoSuchName)>", now), "<node 7>");
}

TEST_F(RowTextsTest, TextsOfWork) {
    struct {
        int type;
        char const* name;
        char const* value;
        char const* text;
    } const cases[] = {
        {WorkColumns::Progress, p_PercentDone, "99.6", "99%"},
        {WorkColumns::Progress, p_PercentDone, "100", "100%"},
        {WorkColumns::Progress, p_PercentDone, "98.6", "99%"},
        {WorkColumns::UsageLimit, p_UsageLimit, "1", "1 work"},
        {WorkColumns::UsageLimit, p_UsageLimit, "-2", "2 engines"},
        {WorkColumns::UsageLimit, p_UsageLimit, "3", "3 works"},
    };
    for (auto const& test : cases) {
        auto const job = NewJob("job");
        job->SetParameter(test.name, test.value);
        WorkInfo info;
        info.job = boost::make_shared<JobInfo>(job);
        info.work = Unit("unit", job);
        info.work->SetParameter(test.name, test.value);
        EXPECT_EQ(WorkColumns::Text(info, test.type, String(), Time()), test.text) << test.value;
    }
    WorkInfo info;
    info.work = NewJob("unit");
    info.work->SetCreated(Time(1'000'000));
    EXPECT_EQ(WorkColumns::Text(info, WorkColumns::Elapsed, String(), Time(1'125'000)), "2m 05s");
    info.started.store(1'120'000);
    EXPECT_EQ(WorkColumns::Text(info, WorkColumns::Elapsed, String(), Time(1'125'000)), "5s");
    EXPECT_EQ(WorkColumns::Text(info, WorkColumns::JobName, String(), Time()), "");
    EXPECT_EQ(WorkColumns::Text(info, WorkColumns::Engine, String(), Time()), "");
}

TEST_F(RowTextsTest, ColoursOfJobs) {
    struct {
        int status;
        bool active;
        RowColor color;
    } const cases[] = {
        {Finished, true, RowColor::Blue}, {Failed, false, RowColor::Blue}, {Paused, true, RowColor::Cyan},
        {Queued, true, RowColor::Green},  {Paused, false, RowColor::Grey}, {Queued, false, RowColor::Base},
    };
    for (auto const& test : cases) {
        JobInfo info(NewJob("job", test.status));
        info.active.store(test.active);
        EXPECT_EQ(JobColumns::Color(info), test.color) << test.status << test.active;
    }
    JobInfo const info(NewJob("job", Finished));
    EXPECT_FALSE(JobColumns::IsTinted(info));
    Fail(UID::FromName("engine"), "job", "product");
    EXPECT_TRUE(JobColumns::IsTinted(info)) << "also when it is finished";
    EXPECT_EQ(JobColumns::Color(JobInfo()), RowColor::Base);
}

TEST_F(RowTextsTest, ColoursAndOrderOfEngines) {
    struct {
        char const* name;
        bool online;
        int status;
        bool enabled;
        bool restricted;
        int units;
        RowColor color;
    } const cases[] = {
        // In the order of their status.
        {"asleep", false, -1, true, false, 0, RowColor::DarkCyan},
        {"offline", false, 0, true, false, 0, RowColor::Grey},
        {"disabled", true, 0, false, false, 0, RowColor::Blue},
        {"disabled with two", true, 0, false, false, 2, RowColor::Yellow},
        {"disabled with one", true, 0, false, false, 1, RowColor::Yellow},
        {"idle", true, 0, true, false, 0, RowColor::Base},
        {"idle, restricted", true, 0, true, true, 0, RowColor::Indigo},
        {"one", true, 0, true, false, 1, RowColor::Green},
        {"two", true, 0, true, false, 2, RowColor::Green},
        {"one, restricted", true, 0, true, true, 1, RowColor::DarkViolet},
    };
    auto const job = NewJob("job");
    JobList::Get().InsertJob(job);
    Time const now = Time::CurrentTime();
    std::vector<UID> expected;
    for (auto const& test : cases) {
        Engine engine(UID::FromName(test.name));
        engine.SetName(test.name);
        engine.SetOnline(test.online);
        engine.SetStatus(test.status);
        engine.SetEnabled(test.enabled);
        engine.Restrict(test.restricted);
        engine.RestrictDays(0x7F);
        engine.RestrictTimes(Time(), Time());
        EngineList::Get().InsertEngine(engine);
        expected.push_back(engine.id);
        for (int unit = 0; unit < test.units; ++unit)
            Assign(Unit((std::string(test.name) + std::to_string(unit)).c_str(), job), engine.id);
        auto const info = EngineList::Get().FindEngine(engine.id);
        ASSERT_EQ(info->IsRestricted(now), test.restricted) << test.name;
        EXPECT_EQ(EngineColumns::Color(*info, now), test.color) << test.name;
    }
    for (bool const ascending : {true, false}) {
        RowSet<EngineRows> rows;
        RowSet<EngineRows>::Request request;
        request.order.first = {EngineColumns::Status, ascending, String()};
        request.now = now;
        rows.Rebuild(request);
        ListContents const contents = rows.Sorted();
        ASSERT_EQ(contents.size(), expected.size());
        for (size_t row = 0; row < expected.size(); ++row)
            EXPECT_EQ(contents[row], expected[ascending ? row : expected.size() - 1 - row]) << row;
    }
}

} // namespace vorlan
