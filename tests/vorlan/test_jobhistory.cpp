#include "domain.h"

#include <vorlan/enginehistory.h>
#include <vorlan/jobhistory.h>
#include <vorlan/wire.h>

namespace vorlan::test_jobhistory {

UID WorkID(unsigned number) { return UID::FromName(SFormat("work %u", number)); }
UID EngineID(unsigned number) { return UID::FromName(SFormat("engine %u", number)); }
UID const k_Job = UID::FromName("job");
Time const k_Morning = Time::FromUnixMs(1'700'000'000'000);

using Elements = std::vector<WorkHistoryElement>;

// The elements by run as they are kept: each once, in the order of a run's life, with
// the Engine that one of them names.
std::map<UID, Elements> Sorted(Elements elements) {
    auto const rank = [](WorkHistoryElement const& element) {
        int const status = element.status;
        int const stage = status == Closed ? 4 : status == Started ? 2 : status == Assigned ? 1 : status > 0 ? 3 : 0;
        return std::tuple(stage, element.time, status, element.note);
    };
    std::map<UID, UID> engines;
    for (WorkHistoryElement const& element : elements) {
        if (!element.engine.IsNull())
            engines[element.work] = element.engine;
    }
    std::sort(elements.begin(), elements.end(), [&](auto const& a, auto const& b) { return rank(a) < rank(b); });
    std::map<UID, Elements> runs;
    for (WorkHistoryElement& element : elements) {
        element.engine = engines[element.work];
        Elements& run = runs[element.work];
        if (run.empty() || rank(run.back()) != rank(element))
            run.push_back(element);
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
        if (run.StartTime().IsZero())
            return;
        TakeFirst(run.StartTime(), firstStart);
        if (!run.HasEnded()) {
            ++active;
            return TakeFirst(run.StartTime(), activeSince);
        }
        Time const time = run.RunTime(Time());
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
    static void TakeFirst(Time time, Time& first) { first = first.IsZero() ? time : std::min(first, time); }
    static void Take(Time time, String const& key, Best& longest, Best& shortest) {
        if (time > longest.first)
            longest = {time, key};
        if (!time.IsZero() && (shortest.first.IsZero() || time < shortest.first))
            shortest = {time, key};
    }
    static Time Average(Time sum, size_t count) { return count ? sum / static_cast<int64_t>(count) : Time(); }
};

// The history holds these runs, and its figures are what they add up to.
void ExpectSame(JobHistory const& history, std::map<UID, Elements> const& runs) {
    std::map<String, std::set<std::pair<Time, UID>>, SubRangeLess> units;
    size_t count = 0;
    for (auto const& [work, elements] : runs) {
        units[elements[0].subRange].emplace(elements[0].time, work);
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
    EXPECT_EQ(std::tuple(history.FinishedEngineTime(), history.AverageFinishTime(), history.FirstStartTime(),
                         history.LastFinishTime()),
              std::tuple(all.finishedTime, all.Average(all.finishedTime, all.finished), all.firstStart, all.lastEnd));
    if (all.active == 0) {
        EXPECT_EQ(std::tuple(history.TotalEngineTime(), history.ElapsedRealTime()),
                  std::tuple(all.totalTime, std::max(Time(), all.lastEnd - all.firstStart)));
    }
    EXPECT_EQ(std::pair(history.LongestFinishedTime(), history.LongestFinishedKey()), all.longestFinished);
    EXPECT_EQ(std::pair(history.ShortestFinishedTime(), history.ShortestFinishedKey()), all.shortestFinished);
    EXPECT_EQ(std::pair(history.LongestWorkTime(), history.LongestWorkKey()), all.longest);
    EXPECT_EQ(std::pair(history.ShortestWorkTime(), history.ShortestWorkKey()), all.shortest);
    EXPECT_EQ(std::pair(history.LongestTotalTime(), history.LongestTotalKey()), longestTotal);
    EXPECT_EQ(std::pair(size_t{history.MostTries()}, history.MostTriesKey()), mostTries);

    std::vector<std::tuple<UID, ptrdiff_t, UID>> walked; // Engine, place of the unit, run
    for (auto run = history.ebegin(); run != history.eend(); ++run) {
        EXPECT_EQ(&history.FindWorkIndex(run->Work()), &*run);
        walked.emplace_back(run->Engine(), std::distance(units.begin(), units.find(run->Key())), run->Work());
    }
    EXPECT_EQ(walked.size(), runs.size());
    EXPECT_EQ(std::adjacent_find(walked.begin(), walked.end(), std::greater_equal<>()), walked.end());

    engines.erase(UID());
    EXPECT_EQ(history.Engines().size(), engines.size());
    for (auto const& [engine, sums] : engines) {
        EngineWorkStats const& stats = history.EngineStatistics(engine);
        EXPECT_EQ(std::tuple(stats.Tasks(), stats.FinishedTasks()), std::tuple(sums.tasks, sums.finished));
        EXPECT_EQ(std::tuple(stats.ActiveSince(), stats.FinishedTime(), stats.TotalWorkTime(), stats.LastWorkTime()),
                  std::tuple(sums.activeSince, sums.finishedTime, sums.totalTime, std::get<2>(sums.last)));
        EXPECT_EQ(std::tuple(stats.AverageWork(), stats.AverageFinish()),
                  std::tuple(sums.Average(sums.totalTime, sums.ended), sums.Average(sums.finishedTime, sums.finished)));
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
        element.work = WorkID(i);
        element.job = k_Job;
        UID const engine = EngineID(random() % 5);
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
        std::copy_n(elements.begin(), elements.size() / 2, std::back_inserter(doubled));
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
    UID const none(true);
    EXPECT_TRUE(history.begin() == history.end() && history.ebegin() == history.eend());
    EXPECT_EQ(history["1-10"].Tries() + history["1-10"].LastRun().ElementCount(), 0u);
    EXPECT_EQ(history["1-10"].TotalTime(history, "1-10"), Time());
    EXPECT_TRUE(history.FindWorkIndex(none).IsNull());
    EXPECT_EQ(history.FindWork(none).Key() + history.FindWork(none).LastNote(), "");
    EXPECT_EQ(history.FindWork(none)[3].status, 0);
    EXPECT_EQ(history.ElapsedRealTime(), Time());
    EXPECT_FALSE(history.Append({})) << "an element without a run";
    EXPECT_TRUE(history.Empty());
}

WorkHistoryElement Element(unsigned work, int status, Time time, String const& key = "1-10", char const* note = "") {
    return {status, time, note, key, WorkID(work), k_Job, EngineID(1)};
}
Time Second(int number) { return k_Morning + Time::Seconds(number); }

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
    for (auto const& [status, start, end, life] : cases) {
        JobHistory history;
        for (auto const& [what, when] : life)
            EXPECT_TRUE(history.Append(Element(1, what, Second(when), "1-10", what == Closed ? "closed" : "a note")));
        WorkRun const& run = history.FindWork(WorkID(1));
        EXPECT_EQ(std::tuple(run.Status(), run.LastNote(), run.IsActive()), std::tuple(status, "a note", end == 0));
        EXPECT_EQ(run.StartTime(), start ? Second(start) : Time()) << status;
        EXPECT_EQ(run.EndTime(), end ? Second(end) : Time()) << status;
        EXPECT_EQ(run.LastElementTime(), Second(std::get<1>(life.back())));
    }
}

TEST(JobHistory, ActiveRunsGrowWithTheClock) {
    Time const before = Time::CurrentTime();
    JobHistory history;
    auto const first = Element(1, Started, before - Time::Seconds(100));
    auto const second = Element(2, Started, before - Time::Seconds(40), "11-20");
    history.Append(second);
    history.Append(first);
    auto const between = [&](Time value, int seconds) {
        Time const passed = Time::CurrentTime() - before;
        return value >= Time::Seconds(seconds) && value <= Time::Seconds(seconds) + 2 * passed;
    };
    EXPECT_TRUE(between(history.ElapsedRealTime(), 100)) << history.ElapsedRealTime();
    EXPECT_TRUE(between(history.TotalEngineTime(), 140)) << history.TotalEngineTime();
    EXPECT_EQ(history.ActiveRuns(), 2u);
    EXPECT_EQ(history.EngineStatistics(EngineID(1)).ActiveSince(), first.time);

    // The longest total follows an active unit only when it is asked to.
    history["1-10"].TotalTime(history, k_DontUpdateLongestTotal);
    EXPECT_EQ(history.LongestTotalTime(), Time());
    EXPECT_TRUE(between(history["1-10"].TotalTime(history, "1-10"), 100));
    EXPECT_TRUE(between(history.LongestTotalTime(), 100));
    EXPECT_EQ(history.LongestTotalKey(), "1-10");
    EXPECT_TRUE(between(history["11-20"].TotalTime(history, "11-20"), 40));
    EXPECT_EQ(history.LongestTotalKey(), "1-10");

    history.Append(Element(1, Finished, first.time + Time::Seconds(30)));
    EXPECT_EQ(history.EngineStatistics(EngineID(1)).ActiveSince(), second.time);
    EXPECT_TRUE(between(history.TotalEngineTime(), 70)) << history.TotalEngineTime();
    EXPECT_EQ(history.AverageFinishTime(), Time::Seconds(30));
}

TEST(JobHistory, WorkAndJobFillWhatAnElementLeavesOut) {
    auto const job = boost::make_shared<Job>(k_Job);
    auto const work = boost::make_shared<Job>(WorkID(9));
    work->Set(p_SubRange, "21-30");
    JobHistory history;
    EXPECT_TRUE(history.Append(job, work, EngineID(9), {Started, k_Morning}));
    WorkIndex const& index = history.FindWorkIndex(work->id);
    EXPECT_EQ(std::tuple(index.Key(), index.Engine(), history.JobID()), std::tuple("21-30", EngineID(9), k_Job));
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
            history.Append(Element(++work, Started, Time(start), "1"));
            history.Append(Element(work, Finished, Time(end), "1"));
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
            history.Append(Element(i, status, Second(static_cast<int>(i) + status), key));
    }
    for (unsigned i = 20'000; i > 0; --i)
        history.Append(Element(200'000 + i, Started, Second(static_cast<int>(i)), "bad"));
    EXPECT_EQ(history.RunCount(), 120'000u);
    EXPECT_EQ(history.MostTriesKey(), "bad");
    EXPECT_EQ(history["bad"][0].Work(), WorkID(200'001));
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
