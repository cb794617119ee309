#include "domain.h"

#include <vorlan/enginehistory.h>
#include <vorlan/jobhistory.h>
#include <vorlan/wire.h>

namespace vorlan::test_jobhistory {

UID NumberedID(uint8_t kind, unsigned number) {
    std::array<uint8_t, UID::k_Size> bytes{};
    bytes[0] = kind;
    bytes[13] = static_cast<uint8_t>(number >> 16);
    bytes[14] = static_cast<uint8_t>(number >> 8);
    bytes[15] = static_cast<uint8_t>(number);
    return UID(bytes);
}

Time const k_Morning = Time::FromUnixMs(1'700'000'000'000);

using Elements = std::vector<WorkHistoryElement>;

// The elements by run as they are kept: each once, in the order of a run's life, with
// the Engine that one of them names.
std::map<UID, Elements> Sorted(Elements const& elements) {
    auto const rank = [](WorkHistoryElement const& element) {
        int const status = element.status;
        int const stage = status == Closed ? 4 : status == Started ? 2 : status == Assigned ? 1 : status > 0 ? 3 : 0;
        return std::tuple(stage, element.time, status, element.note);
    };
    std::map<UID, std::map<decltype(rank(elements[0])), WorkHistoryElement>> ranked;
    std::map<UID, UID> engines;
    for (WorkHistoryElement const& element : elements) {
        ranked[element.work].emplace(rank(element), element);
        if (!element.engine.IsNull())
            engines[element.work] = element.engine;
    }
    std::map<UID, Elements> runs;
    for (auto& [work, itsElements] : ranked) {
        for (auto& [place, element] : itsElements) {
            element.engine = engines[work];
            runs[work].push_back(element);
        }
    }
    return runs;
}

// What some runs add up to, asked one after the other in the order of their keys.
struct Sums {
    using Best = std::pair<Time, String>;
    size_t tasks = 0, finished = 0, ended = 0, active = 0;
    Time finishedTime, totalTime, activeSince, firstStart, lastEnd;
    Best longestFinished, shortestFinished, longest, shortest;
    std::tuple<Time, UID, Time> last; // when it ended, itself, how long it took

    void Add(WorkRun const& run) {
        ++tasks;
        Time const time = run.RunTime(Time());
        if (!run.StartTime().IsZero())
            firstStart = firstStart.IsZero() ? run.StartTime() : std::min(firstStart, run.StartTime());
        if (!run.StartTime().IsZero() && !run.HasEnded()) {
            ++active;
            activeSince = activeSince.IsZero() ? run.StartTime() : std::min(activeSince, run.StartTime());
        } else if (run.HasEnded() && !run.StartTime().IsZero()) {
            ++ended;
            totalTime += time;
            lastEnd = std::max(lastEnd, run.EndTime());
            last = std::max(last, {run.EndTime(), run.Work(), time});
            Take(time, run.Key(), longest, shortest);
            if (run.Status() == Finished) {
                ++finished;
                finishedTime += time;
                Take(time, run.Key(), longestFinished, shortestFinished);
            }
        }
    }
    static void Take(Time time, String const& key, Best& longest, Best& shortest) {
        if (time > longest.first)
            longest = {time, key};
        if (!time.IsZero() && (shortest.first.IsZero() || time < shortest.first))
            shortest = {time, key};
    }
    static Time Average(Time sum, size_t count) {
        return Time(count ? sum.Milliseconds() / static_cast<int64_t>(count) : 0);
    }
};

// The history holds these runs, and its figures are what they add up to.
void ExpectSame(JobHistory const& history, std::map<UID, Elements> const& runs) {
    std::map<String, std::set<std::pair<Time, UID>>, SubRangeLess> units;
    std::map<UID, std::map<String, std::set<UID>, SubRangeLess>> byEngine;
    size_t count = 0;
    for (auto const& [work, elements] : runs) {
        units[elements[0].subRange].emplace(elements[0].time, work);
        byEngine[elements[0].engine][elements[0].subRange].insert(work);
        count += elements.size();
    }
    Sums all;
    std::map<UID, Sums> engines;
    Sums::Best longestTotal;
    std::pair<size_t, String> mostTries;
    ASSERT_EQ(history.size(), units.size());
    auto unit = history.begin();
    for (auto const& [key, tries] : units) {
        EXPECT_EQ(unit->first, key);
        WorkHistory const& found = history[key];
        EXPECT_EQ(&found, &unit->second);
        ++unit;
        ASSERT_EQ(found.Tries(), tries.size());
        Time const now = k_Morning + Time::Days(400);
        Time total;
        Sums ofUnit;
        for (auto const& [first, work] : tries) {
            WorkRun const& run = found[ofUnit.tasks];
            EXPECT_EQ(std::tuple(run.Work(), run.RunIndex(), run.Key()), std::tuple(work, ofUnit.tasks, key));
            Elements elements;
            for (size_t i = 0; i < run.ElementCount(); ++i)
                elements.push_back(run[i]);
            EXPECT_EQ(elements, runs.at(work));
            total += run.RunTime(now);
            ofUnit.Add(run);
            all.Add(run);
            engines[run.Engine()].Add(run);
        }
        EXPECT_EQ(found.TotalTime(now), total);
        if (ofUnit.totalTime > longestTotal.first)
            longestTotal = {ofUnit.totalTime, key};
        if (tries.size() > mostTries.first)
            mostTries = {tries.size(), key};
    }
    EXPECT_EQ(std::tuple(history.ElementCount(), history.RunCount(), history.FinishedRuns(), history.ActiveRuns()),
              std::tuple(count, runs.size(), all.finished, all.active));
    EXPECT_EQ(history.FinishedEngineTime(), all.finishedTime);
    EXPECT_EQ(history.AverageFinishTime(), all.Average(all.finishedTime, all.finished));
    EXPECT_EQ(history.FirstStartTime(), all.firstStart);
    EXPECT_EQ(history.LastFinishTime(), all.lastEnd);
    if (all.active == 0) {
        EXPECT_EQ(history.TotalEngineTime(), all.totalTime);
        EXPECT_EQ(history.ElapsedRealTime(), std::max(Time(), all.lastEnd - all.firstStart));
    }
    EXPECT_EQ(std::pair(history.LongestFinishedTime(), history.LongestFinishedKey()), all.longestFinished);
    EXPECT_EQ(std::pair(history.ShortestFinishedTime(), history.ShortestFinishedKey()), all.shortestFinished);
    EXPECT_EQ(std::pair(history.LongestWorkTime(), history.LongestWorkKey()), all.longest);
    EXPECT_EQ(std::pair(history.ShortestWorkTime(), history.ShortestWorkKey()), all.shortest);
    EXPECT_EQ(std::pair(history.LongestTotalTime(), history.LongestTotalKey()), longestTotal);
    EXPECT_EQ(std::pair(size_t{history.MostTries()}, history.MostTriesKey()), mostTries);

    auto run = history.ebegin();
    for (auto const& [engine, keys] : byEngine) {
        for (auto const& [key, works] : keys) {
            for (UID const& work : works) {
                ASSERT_NE(run, history.eend());
                EXPECT_EQ(run->Work(), work);
                EXPECT_EQ(&history.FindWorkIndex(work), &*run);
                ++run;
            }
        }
    }
    EXPECT_EQ(run, history.eend());

    engines.erase(UID());
    EXPECT_EQ(history.Engines().size(), engines.size());
    for (auto const& [engine, sums] : engines) {
        EngineWorkStats const& stats = history.EngineStatistics(engine);
        EXPECT_EQ(std::tuple(stats.Tasks(), stats.FinishedTasks()), std::tuple(sums.tasks, sums.finished));
        EXPECT_EQ(std::tuple(stats.ActiveSince(), stats.FinishedTime(), stats.TotalWorkTime(), stats.LastWorkTime()),
                  std::tuple(sums.activeSince, sums.finishedTime, sums.totalTime, std::get<2>(sums.last)));
        EXPECT_EQ(stats.AverageWork(), sums.Average(sums.totalTime, sums.ended));
        EXPECT_EQ(stats.AverageFinish(), sums.Average(sums.finishedTime, sums.finished));
    }
}

// A farm's day: most runs go their usual way, some are cut short, some elements
// are missing, doubled or contradict each other.
Elements RandomDay(std::mt19937& random) {
    static constexpr int k_Results[] = {Finished, Finished, Finished, Unsuccessful, Lost, UserCanceled, Failed, 77};
    Elements elements;
    unsigned const runs = 1 + random() % 60;
    for (unsigned i = 0; i < runs; ++i) {
        WorkHistoryElement element;
        unsigned const unit = random() % 20;
        int const first = static_cast<int>(unit) * 10 - 50;
        element.subRange = unit == 19 ? String("whole") : String::From(first) + "-" + String::From(first + 9);
        element.work = NumberedID(2, i);
        element.job = NumberedID(1, 1);
        UID const engine = NumberedID(3, random() % 5);
        Time time = k_Morning + Time(static_cast<int64_t>(random() % 86'400'000));
        auto const add = [&](int status, char const* note) {
            element.status = status;
            element.time = time;
            element.note = note;
            element.engine = random() % 6 == 0 && status != Closed ? UID() : engine;
            if (random() % 12 != 0 || status == Closed)
                elements.push_back(element);
            // Times repeat, so that ties are met.
            time += Time(static_cast<int64_t>(random() % 4) * 10'000);
        };
        if (random() % 10 == 0)
            add(Queued, "");
        add(Assigned, "");
        if (random() % 8 != 0)
            add(Started, random() % 2 ? "begun" : "");
        if (random() % 15 == 0)
            add(Started, "begun again");
        if (random() % 6 != 0)
            add(k_Results[random() % std::size(k_Results)], "a result with a note of some length");
        if (random() % 15 == 0)
            add(k_Results[random() % std::size(k_Results)], "another result");
        // The Engine is known from one element at least.
        add(Closed, "");
    }
    return elements;
}

TEST(JobHistory, HoldsEachElementOnceInAnyOrderAndAddsUp) {
    for (unsigned seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        Elements elements = RandomDay(random);
        auto const runs = Sorted(elements);
        Elements doubled = elements;
        doubled.insert(doubled.end(), elements.begin(), elements.begin() + static_cast<ptrdiff_t>(elements.size() / 2));
        for (int order = 0; order < 3; ++order) {
            if (order > 0)
                std::shuffle(doubled.begin(), doubled.end(), random);
            JobHistory history;
            for (WorkHistoryElement const& element : doubled)
                history.Append(element);
            ExpectSame(history, runs);
            if (HasFailure())
                return;
            for (WorkHistoryElement const& element : elements)
                EXPECT_FALSE(history.Append(element)) << "a second one of the same must change nothing";
            JobHistory const copy(history);
            ExpectSame(copy, runs);

            MessageWriter writer;
            WriteJobHistory(writer, history);
            MessageReader reader(writer.Bytes());
            JobHistory decoded;
            ReadJobHistory(reader, decoded);
            EXPECT_TRUE(reader.AtEnd());
            ExpectSame(decoded, runs);
        }
    }
}

TEST(JobHistory, IsEmptyAndHarmlessWithoutElements) {
    JobHistory history;
    EXPECT_TRUE(history.Empty());
    EXPECT_EQ(history.begin(), history.end());
    EXPECT_EQ(history.ebegin(), history.eend());
    EXPECT_EQ(history["1-10"].Tries(), 0u);
    EXPECT_EQ(history["1-10"].LastRun().ElementCount(), 0u);
    EXPECT_EQ(history["1-10"].TotalTime(history, "1-10"), Time());
    EXPECT_TRUE(history.FindWorkIndex(UID(true)).IsNull());
    EXPECT_EQ(history.FindWork(UID(true)).Key() + history.FindWork(UID(true)).LastNote(), "");
    EXPECT_EQ(history.FindWork(UID(true))[3].status, 0);
    EXPECT_EQ(history.ElapsedRealTime(), Time());
    EXPECT_FALSE(history.Append({})) << "an element without a run";
    EXPECT_TRUE(history.Empty());
}

WorkHistoryElement Element(unsigned work, int status, int seconds, char const* key = "1-10", char const* note = "") {
    WorkHistoryElement element;
    element.work = NumberedID(2, work);
    element.job = NumberedID(1, 1);
    element.engine = NumberedID(3, 1);
    element.status = status;
    element.time = k_Morning + Time::Seconds(seconds);
    element.subRange = key;
    element.note = note;
    return element;
}

TEST(JobHistory, ARunIsWhatItsElementsSay) {
    // The run's status, start and end in seconds, 0 for none, and what says so.
    using Life = Rows<int, int>;
    Rows<int, int, int, Life> const cases = {
        {Assigned, 0, 0, {{Assigned, 1}}},
        {Started, 5, 0, {{Assigned, 1}, {Started, 5}}},
        {Failed, 5, 65, {{Assigned, 1}, {Started, 5}, {Failed, 65}, {Closed, 70}}},
        {Finished, 5, 20, {{Started, 5}, {Started, 8}, {Finished, 20}}},
        {Lost, 0, 20, {{Assigned, 1}, {Lost, 20}}},
        {Lost, 5, 30, {{Started, 5}, {Finished, 20}, {Lost, 30}}},
    };
    auto const second = [](int number) { return number ? k_Morning + Time::Seconds(number) : Time(); };
    for (auto const& [status, start, end, life] : cases) {
        JobHistory history;
        for (auto const& [what, when] : life)
            EXPECT_TRUE(history.Append(Element(1, what, when, "1-10", what == Closed ? "closed" : "a note")));
        WorkRun const& run = history.FindWork(NumberedID(2, 1));
        EXPECT_EQ(run.Status(), status);
        EXPECT_EQ(run.LastNote(), "a note");
        EXPECT_EQ(run.StartTime(), second(start)) << status;
        EXPECT_EQ(run.EndTime(), second(end)) << status;
        EXPECT_EQ(run.LastElementTime(), second(std::get<1>(life.back())));
        EXPECT_EQ(run.IsActive(), end == 0) << status;
    }
}

TEST(JobHistory, ActiveRunsGrowWithTheClock) {
    Time const before = Time::CurrentTime();
    JobHistory history;
    auto first = Element(1, Started, 0);
    first.time = before - Time::Seconds(100);
    auto second = Element(2, Started, 0, "11-20");
    second.time = before - Time::Seconds(40);
    history.Append(second);
    history.Append(first);
    auto const between = [&](Time value, int seconds) {
        Time const passed = Time::CurrentTime() - before;
        return value >= Time::Seconds(seconds) && value <= Time::Seconds(seconds) + 2 * passed;
    };
    EXPECT_TRUE(between(history.ElapsedRealTime(), 100)) << history.ElapsedRealTime();
    EXPECT_TRUE(between(history.TotalEngineTime(), 140)) << history.TotalEngineTime();
    EXPECT_EQ(history.ActiveRuns(), 2u);
    EXPECT_EQ(history.EngineStatistics(NumberedID(3, 1)).ActiveSince(), first.time);

    // The longest total follows an active unit only when it is asked to.
    history["1-10"].TotalTime(history, k_DontUpdateLongestTotal);
    EXPECT_EQ(history.LongestTotalTime(), Time());
    EXPECT_TRUE(between(history["1-10"].TotalTime(history, "1-10"), 100));
    EXPECT_TRUE(between(history.LongestTotalTime(), 100));
    EXPECT_EQ(history.LongestTotalKey(), "1-10");
    EXPECT_TRUE(between(history["11-20"].TotalTime(history, "11-20"), 40));
    EXPECT_EQ(history.LongestTotalKey(), "1-10");

    auto ended = Element(1, Finished, 0);
    ended.time = first.time + Time::Seconds(30);
    history.Append(ended);
    EXPECT_EQ(history.EngineStatistics(NumberedID(3, 1)).ActiveSince(), second.time);
    EXPECT_EQ(history.AverageFinishTime(), Time::Seconds(30));
}

TEST(JobHistory, WorkAndJobFillWhatAnElementLeavesOut) {
    auto const job = boost::make_shared<Job>(NumberedID(1, 9));
    auto const work = boost::make_shared<Job>(NumberedID(2, 9));
    work->Set(p_SubRange, "21-30");
    WorkHistoryElement element;
    element.status = Started;
    element.time = k_Morning;
    JobHistory history;
    EXPECT_TRUE(history.Append(job, work, NumberedID(3, 9), element));
    WorkIndex const& index = history.FindWorkIndex(work->id);
    EXPECT_EQ(index.Key(), "21-30");
    EXPECT_EQ(index.Engine(), NumberedID(3, 9));
    EXPECT_EQ(history.JobID(), job->id);
}

TEST(JobHistory, SubRangesFollowTheFrames) {
    char const* const k_InOrder[] = {
        "-100--91", "-5-4", "1-10", "2", "10x2", "11-20", "101-110", "99999999999999999999", "", "Setup", "cleanup"};
    for (size_t a = 0; a < std::size(k_InOrder); ++a) {
        for (size_t b = 0; b < std::size(k_InOrder); ++b)
            EXPECT_EQ(SubRangeLess()(k_InOrder[a], k_InOrder[b]), a < b) << k_InOrder[a] << " and " << k_InOrder[b];
    }
}

TEST(JobHistory, AbsurdTimesStayNumbers) {
    JobHistory history;
    int64_t const ends[] = {INT64_MIN, -1, 0, 1, INT64_MAX};
    unsigned work = 0;
    for (int64_t const start : ends) {
        for (int64_t const end : ends) {
            auto element = Element(++work, Started, 0, "1");
            element.time = Time(start);
            history.Append(element);
            element.status = Finished;
            element.time = Time(end);
            history.Append(element);
        }
    }
    EXPECT_EQ(history.RunCount(), 25u);
    EXPECT_GE(history.TotalEngineTime(), history.FinishedEngineTime());
    EXPECT_GE(history.ElapsedRealTime(), Time());
    EXPECT_GE(history["1"].TotalTime(Time::CurrentTime()), Time());
}

// 100,000 runs, live elements slightly out of order, a bad unit with 20,000 tries
// whose elements come backwards. Quadratic work would take minutes.
TEST(JobHistory, LongHistoriesAreTakenInWithoutQuadraticWork) {
    JobHistory history;
    for (unsigned i = 0; i < 100'000; ++i) {
        String const key = String::From(i * 10) + "-" + String::From(i * 10 + 9);
        for (int const status : {Started, Assigned, Finished, Closed})
            history.Append(Element(i, status, static_cast<int>(i) + status, key.c_str()));
    }
    for (unsigned i = 20'000; i > 0; --i)
        history.Append(Element(200'000 + i, Started, static_cast<int>(i), "bad"));
    EXPECT_EQ(history.RunCount(), 120'000u);
    EXPECT_EQ(history.MostTriesKey(), "bad");
    EXPECT_EQ(history["bad"][0].Work(), NumberedID(2, 200'001));
    EXPECT_EQ(history.FinishedRuns(), 100'000u);
}

TEST(EngineHistory, KeepsTheLastLines) {
    EngineHistory history;
    for (int i = 0; i < 10; ++i)
        history.Push({k_Morning, String::From(i)}, 4);
    ASSERT_EQ(history.size(), 4u);
    EXPECT_EQ(history[0].message + history[3].message, "69");
    history.Push({}, 0);
    EXPECT_TRUE(history.Empty());
}

} // namespace vorlan::test_jobhistory
