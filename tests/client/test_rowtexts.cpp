// What the cells of the lists say, and the colours of their rows.
#include "clienttest.h"
#include "rows/rowkinds.h"

namespace vorlan {

class RowTextsTest : public MirrorTest {
protected:
    static String JobText(Job const& job, int type, String const& custom = String()) {
        JobInfo const info(boost::make_shared<Job>(job));
        return JobColumns::Text(info, type, custom, Time());
    }
    static void Fail(char const* job, char const* product) {
        Failures::Add(UID::FromName(job), UID::FromName(product), UID::FromName("engine"), Time(1));
    }
    // So many units of the Job, on the Engine.
    static void Run(int units, UID const& job, UID const& engine) {
        for (int i = 0; i < units; ++i)
            Assign(Unit((engine.ToString() + String::From(i)).c_str(), job), engine);
    }
};

// A column, a value's name and text, and what the column shows.
using TextCases = Rows<int, char const*, char const*, char const*>;

TEST_F(RowTextsTest, TextsOfJobs) {
    TextCases const cases = {
        {JobColumns::Progress, p_PercentDone, "0", "0%"},
        {JobColumns::Progress, p_PercentDone, "12.345", "12.3%"},
        {JobColumns::Progress, p_PercentDone, "99.89", "99.9%"},
        {JobColumns::Progress, p_PercentDone, "99.96", "99.9%"},
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
    for (auto const& [type, name, value, text] : cases) {
        Job job(UID::FromName("job"));
        job.SetParameter(name, value);
        EXPECT_EQ(JobText(job, type), text) << type << " " << value;
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
    EXPECT_EQ(ProgressBarText(9.876F) + ProgressBarText(12.345F) + ProgressBarText(99.96F), "9.9%12.3%99.9%");
    EXPECT_EQ(JobColumns::Text(JobInfo(), JobColumns::Name, String(), Time()), "") << "a record without a Job";
}

TEST_F(RowTextsTest, TextsOfEngines) {
    Time const now(63'900'000'000'000);
    // Online or not, the status, minutes up.
    Rows<bool, int, int64_t, char const*> const uptimes = {
        {true, 0, 0, "0m"},        {true, 0, 5, "5m"},
        {true, 0, 125, "2h 05m"},  {true, 0, 1440 * 12 + 61, "12d 01h 01m"},
        {false, -1, 61, "1h 01m"}, {false, 0, 61, ""},
    };
    for (auto const& [online, status, minutes, text] : uptimes) {
        EngineInfo engine(UID::FromName("engine"));
        engine.SetOnline(online);
        engine.SetStatus(status);
        engine.SetStartTime(now - Time::Minutes(minutes) - Time::Seconds(59));
        EXPECT_EQ(EngineColumns::Text(engine, EngineColumns::Uptime, String(), now), text);
    }
    EngineInfo engine(UID::FromName("engine"));
    auto const errors = [&] { return EngineColumns::Text(engine, EngineColumns::Errors, String(), now); };
    EXPECT_EQ(errors(), "0 Failures");
    EXPECT_FALSE(EngineColumns::IsTinted(engine));
    Fail("a", "product");
    EXPECT_EQ(errors(), "1 Failure") << "no bracket, other than in the information panel";
    EXPECT_EQ(engine.DisplayFailures(), "1 Failure (1 Job 1 Product)");
    Fail("b", "product");
    EXPECT_EQ(errors(), "2 Failures (2 Jobs 1 Product)");
    Fail("c", "another product");
    EXPECT_EQ(errors(), "3 Failures (3 Jobs 2 Products)");
    EXPECT_TRUE(EngineColumns::IsTinted(engine));
    engine.SetVersion(30102);
    EXPECT_EQ(EngineColumns::Text(engine, EngineColumns::Version, String(), now), "3.1.2");
    engine.SetName("node 7");
    EXPECT_EQ(EngineColumns::Text(engine, EngineColumns::Custom, "<$(Name)$(NoSuchName)>", now), "<node 7>");
}

TEST_F(RowTextsTest, TextsOfWork) {
    TextCases const cases = {
        {WorkColumns::Progress, p_PercentDone, "99.6", "99%"},
        {WorkColumns::Progress, p_PercentDone, "100", "100%"},
        {WorkColumns::Progress, p_PercentDone, "98.6", "99%"},
        {WorkColumns::UsageLimit, p_UsageLimit, "1", "1 work"},
        {WorkColumns::UsageLimit, p_UsageLimit, "-2", "2 engines"},
        {WorkColumns::UsageLimit, p_UsageLimit, "3", "3 works"},
    };
    for (auto const& [type, name, value, text] : cases) {
        auto const job = NewJob("job");
        WorkInfo info;
        info.job = boost::make_shared<JobInfo>(job);
        info.work = Unit("unit", job->id);
        for (auto const& one : {job, info.work})
            one->SetParameter(name, value);
        EXPECT_EQ(WorkColumns::Text(info, type, String(), Time()), text) << value;
    }
    WorkInfo info;
    info.work = NewJob("unit");
    info.work->SetCreated(Time(1'000'000));
    EXPECT_EQ(WorkColumns::Text(info, WorkColumns::Elapsed, String(), Time(1'125'000)), "2m 05s");
    info.started.store(1'120'000);
    EXPECT_EQ(WorkColumns::Text(info, WorkColumns::Elapsed, String(), Time(1'125'000)), "5s");
    for (int const type : {WorkColumns::JobName, WorkColumns::Engine})
        EXPECT_EQ(WorkColumns::Text(info, type, String(), Time()), "");
}

TEST_F(RowTextsTest, StatusAndColourOfJobs) {
    // A status, how many units, and what is made of them.
    Rows<int, int, char const*, int, RowColor> const cases = {{Queued, 0, "Queued", 0, RowColor::Base},
                                                              {Paused, 0, "Paused", 1, RowColor::Grey},
                                                              {Queued, 2, "2 Active", 2, RowColor::Green},
                                                              {Paused, 3, "Paused: 3 Active", 2, RowColor::Cyan},
                                                              {Finished, 1, "Finished: 1 Active", 2, RowColor::Blue},
                                                              {Finished, 0, "Finished", 3, RowColor::Blue},
                                                              {Failed, 0, "Failed", 3, RowColor::Blue},
                                                              {UserCanceled, 0, "User Canceled", 3, RowColor::Blue}};
    UID const engine = AddEngine("engine");
    for (auto const& [status, units, text, statusClass, color] : cases) {
        auto const info = AddJob(text, status);
        Run(units, info->job->id, engine);
        EXPECT_EQ(info->Status(), text);
        EXPECT_EQ(std::tuple(info->StatusClass(), JobColumns::Color(*info)), std::tuple(statusClass, color)) << text;
        JobList::Get().Clear();
        WorkList::Get().Clear();
    }
    JobInfo const info(NewJob("job", Finished));
    EXPECT_FALSE(JobColumns::IsTinted(info));
    Fail("job", "product");
    EXPECT_TRUE(JobColumns::IsTinted(info)) << "also when it is finished";
    JobInfo const empty;
    EXPECT_EQ(empty.Status() + empty.Summary() + empty.Pool(), "");
    EXPECT_EQ(std::tuple(empty.StatusClass(), JobColumns::Color(empty)), std::tuple(0, RowColor::Base));
}

TEST_F(RowTextsTest, StatusColourAndOrderOfEngines) {
    // In the order of their status: online, asleep (-1), enabled, restricted, units.
    Rows<char const*, bool, int, bool, bool, int, RowColor> const cases = {
        {"Asleep", false, -1, true, false, 0, RowColor::DarkCyan},
        {"Offline", false, 0, false, false, 0, RowColor::Grey},
        {"Disabled", true, 0, false, false, 0, RowColor::Blue},
        {"Disabled: 2 Workers", true, 0, false, false, 2, RowColor::Yellow},
        {"Disabled: 1 Worker", true, 0, false, false, 1, RowColor::Yellow},
        {"Enabled", true, 0, true, false, 0, RowColor::Base},
        {"Restricted", true, 0, true, true, 0, RowColor::Indigo},
        {"1 Worker", true, 0, true, false, 1, RowColor::Green},
        {"2 Workers", true, 0, true, false, 2, RowColor::Green},
        {"Restricted to 0: 1 Worker", true, 0, true, true, 1, RowColor::DarkViolet},
    };
    UID const job = AddJob("job")->job->id;
    Time const now = Time::CurrentTime();
    std::vector<UID> expected;
    for (auto const& [text, online, status, enabled, restricted, units, color] : cases) {
        Engine engine(UID::FromName(text));
        engine.SetOnline(online);
        engine.SetStatus(status);
        engine.SetEnabled(enabled);
        engine.Restrict(restricted);
        engine.RestrictDays(0x7F);
        engine.RestrictTimes(Time(), Time()); // all day
        EngineList::Get().InsertEngine(engine);
        expected.push_back(engine.id);
        Run(units, job, engine.id);
        auto const info = EngineList::Get().FindEngine(engine.id);
        EXPECT_EQ(info->StatusString(), text);
        EXPECT_EQ(EngineColumns::Color(*info, now), color) << text;
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

TEST_F(RowTextsTest, RestrictionsAndWhenTheyShow) {
    EngineInfo engine;
    engine.SetOnline(true);
    EXPECT_EQ(engine.Restrictions(), "");
    engine.Restrict(true);
    Rows<unsigned, unsigned, Time, Time, char const*> const cases = {
        {1, 0b1000001, Time::Minutes(22 * 60 + 5), Time::Minutes(30), "1 core:  S-----S  22:05 - 00:30"},
        {2, 0b0111110, Time::Hours(9), Time::Hours(18), "2 cores:  -MTWTF-  09:00 - 18:00"},
        {2, 0b1000000, Time::Hours(9), Time::Hours(18), "2 cores:  ------S  09:00 - 18:00"},
    };
    for (auto const& [cores, days, from, to, text] : cases) {
        engine.RestrictCores(cores);
        engine.RestrictDays(static_cast<unsigned char>(days));
        engine.RestrictTimes(from, to);
        EXPECT_EQ(engine.Restrictions(), text);
    }
    // 2026-11-21 is a Saturday, 2026-11-22 a Sunday.
    Time const saturdayNoon = Time::FromUnixMs(1'795'262'400'000);
    EXPECT_EQ(EngineStatusTextOf(engine, 0, saturdayNoon), "Restricted to 2");
    EXPECT_EQ(EngineStatusTextOf(engine, 1, saturdayNoon), "Restricted to 2: 1 Worker");
    EXPECT_EQ(EngineStatusTextOf(engine, 0, saturdayNoon + Time::Hours(6)), "Enabled") << "its end is outside";
    EXPECT_EQ(EngineStatusTextOf(engine, 2, saturdayNoon + Time::Days(1)), "2 Workers");
}

} // namespace vorlan
