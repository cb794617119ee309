#include <vorlan/enginehistory.h>
#include <vorlan/job.h>
#include <vorlan/jobhistory.h>
#include <vorlan/status.h>
#include <vorlan/wire.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <tuple>

namespace vorlan {
namespace {

UID NumberedID(uint8_t kind, unsigned number) {
    std::array<uint8_t, UID::k_Size> bytes{};
    bytes[0] = kind;
    bytes[13] = static_cast<uint8_t>(number >> 16);
    bytes[14] = static_cast<uint8_t>(number >> 8);
    bytes[15] = static_cast<uint8_t>(number);
    return UID(bytes);
}

Time const k_Morning = Time::FromUnixMs(1'700'000'000'000);

// The same questions, answered the slow way from all elements at once.
struct Reference {
    struct Run {
        String key;
        UID engine;
        std::vector<WorkHistoryElement> elements;
        Time start, end, first;
        int status = 0;
        bool ended = false;
        int64_t Ms(Time now) const {
            return start.IsZero() ? 0 : std::max<int64_t>(0, ((ended ? end : now) - start).Milliseconds());
        }
        bool Counts() const { return ended && !start.IsZero(); }
        bool FinishedWell() const { return Counts() && status == Finished; }
    };
    std::map<UID, Run> runs;

    explicit Reference(std::vector<WorkHistoryElement> const& elements) {
        for (WorkHistoryElement const& element : elements) {
            Run& run = runs[element.work];
            run.key = element.subRange;
            if (!element.engine.IsNull())
                run.engine = element.engine;
            auto const same = [&](WorkHistoryElement const& other) {
                return std::tie(other.status, other.time, other.note) ==
                       std::tie(element.status, element.time, element.note);
            };
            if (std::none_of(run.elements.begin(), run.elements.end(), same))
                run.elements.push_back(element);
        }
        for (auto& [work, run] : runs) {
            auto const stage = [](int status) {
                return status == Closed ? 4 : status == Started ? 2 : status == Assigned ? 1 : status <= 0 ? 0 : 3;
            };
            std::sort(run.elements.begin(), run.elements.end(), [&](auto const& a, auto const& b) {
                return std::tuple(stage(a.status), a.time, a.status, a.note) <
                       std::tuple(stage(b.status), b.time, b.status, b.note);
            });
            run.first = run.elements.front().time;
            for (WorkHistoryElement const& element : run.elements) {
                if (element.status == Started && run.start.IsZero())
                    run.start = element.time;
                if (element.status != Closed)
                    run.status = element.status;
                if (stage(element.status) == 3) {
                    run.ended = true;
                    run.end = element.time;
                }
            }
        }
    }

    template <class Pick>
    std::pair<Time, String> Extreme(bool longest, Pick pick) const {
        std::pair<Time, String> best;
        for (auto const& [work, run] : runs) {
            Time const time(run.Ms({}));
            if (!pick(run) || time.IsZero())
                continue;
            bool const better = longest ? time > best.first : time < best.first;
            if (best.first.IsZero() || better || (time == best.first && SubRangeLess()(run.key, best.second)))
                best = {time, run.key};
        }
        return best;
    }
};

void ExpectSame(JobHistory const& history, Reference const& reference) {
    auto const well = [](Reference::Run const& run) { return run.FinishedWell(); };
    auto const counts = [](Reference::Run const& run) { return run.Counts(); };
    EXPECT_EQ(std::pair(history.LongestFinishedTime(), history.LongestFinishedKey()), reference.Extreme(true, well));
    EXPECT_EQ(std::pair(history.ShortestFinishedTime(), history.ShortestFinishedKey()), reference.Extreme(false, well));
    EXPECT_EQ(std::pair(history.LongestWorkTime(), history.LongestWorkKey()), reference.Extreme(true, counts));
    EXPECT_EQ(std::pair(history.ShortestWorkTime(), history.ShortestWorkKey()), reference.Extreme(false, counts));

    struct Sums {
        size_t tasks = 0, finished = 0, ended = 0, active = 0;
        int64_t finishedMs = 0, totalMs = 0;
        Time activeSince;
        std::pair<Time, UID> last;
        int64_t lastMs = 0;
    };
    Sums all;
    std::map<UID, Sums> engines;
    std::map<String, std::vector<std::pair<Time, UID>>, SubRangeLess> units;
    std::map<String, int64_t, SubRangeLess> totals;
    Time firstStart, lastFinish;
    size_t elements = 0;
    for (auto const& [work, run] : reference.runs) {
        elements += run.elements.size();
        units[run.key].emplace_back(run.first, work);
        for (Sums* const sums : {&all, &engines[run.engine]}) {
            ++sums->tasks;
            if (run.start.IsZero())
                continue;
            if (!run.ended) {
                ++sums->active;
                if (sums->activeSince.IsZero() || run.start < sums->activeSince)
                    sums->activeSince = run.start;
                continue;
            }
            ++sums->ended;
            sums->totalMs += run.Ms({});
            sums->finished += run.FinishedWell();
            sums->finishedMs += run.FinishedWell() ? run.Ms({}) : 0;
            if (std::pair(run.end, work) > sums->last) {
                sums->last = {run.end, work};
                sums->lastMs = run.Ms({});
            }
        }
        if (!run.start.IsZero() && (firstStart.IsZero() || run.start < firstStart))
            firstStart = run.start;
        if (run.Counts()) {
            lastFinish = std::max(lastFinish, run.end);
            totals[run.key] += run.Ms({});
        }
    }
    EXPECT_EQ(history.ElementCount(), elements);
    EXPECT_EQ(history.RunCount(), reference.runs.size());
    EXPECT_EQ(history.FinishedRuns(), all.finished);
    EXPECT_EQ(history.FinishedEngineTime(), Time(all.finishedMs));
    EXPECT_EQ(history.AverageFinishTime(),
              Time(all.finished ? all.finishedMs / static_cast<int64_t>(all.finished) : 0));
    EXPECT_EQ(history.FirstStartTime(), firstStart);
    EXPECT_EQ(history.LastFinishTime(), lastFinish);
    EXPECT_EQ(history.ActiveRuns(), all.active);
    if (all.active == 0) {
        EXPECT_EQ(history.TotalEngineTime(), Time(all.totalMs));
        EXPECT_EQ(history.ElapsedRealTime(), std::max(Time(), lastFinish - firstStart));
    }

    std::pair<int64_t, String> longestTotal, mostTries;
    ASSERT_EQ(history.size(), units.size());
    auto unit = history.begin();
    for (auto& [key, tries] : units) {
        EXPECT_EQ(unit->first, key);
        WorkHistory const& found = history[key];
        EXPECT_EQ(&found, &unit->second);
        ++unit;
        std::sort(tries.begin(), tries.end());
        ASSERT_EQ(found.Tries(), tries.size());
        Time total;
        Time const now = k_Morning + Time::Days(400);
        for (size_t i = 0; i < tries.size(); ++i) {
            Reference::Run const& run = reference.runs.at(tries[i].second);
            EXPECT_EQ(found[i].Work(), tries[i].second);
            EXPECT_EQ(found[i].RunIndex(), i);
            EXPECT_EQ(found[i].Key(), key);
            EXPECT_EQ(found[i].Engine(), run.engine);
            EXPECT_EQ(found[i].Status(), run.status);
            EXPECT_EQ(found[i].RunTime(now), Time(run.Ms(now)));
            ASSERT_EQ(found[i].ElementCount(), run.elements.size());
            for (size_t e = 0; e < run.elements.size(); ++e) {
                WorkHistoryElement wanted = run.elements[e];
                wanted.engine = run.engine;
                EXPECT_EQ(found[i][e], wanted);
            }
            total += Time(run.Ms(now));
        }
        EXPECT_EQ(found.TotalTime(now), total);
        if (totals[key] > longestTotal.first)
            longestTotal = {totals[key], key};
        if (static_cast<int64_t>(tries.size()) > mostTries.first)
            mostTries = {static_cast<int64_t>(tries.size()), key};
    }
    EXPECT_EQ(std::pair(history.LongestTotalTime().Milliseconds(), history.LongestTotalKey()), longestTotal);
    EXPECT_EQ(std::pair(int64_t{history.MostTries()}, history.MostTriesKey()), mostTries);

    std::vector<std::tuple<UID, String, UID>> byEngine;
    for (auto run = history.ebegin(); run != history.eend(); ++run) {
        byEngine.emplace_back(run->Engine(), run->Key(), run->Work());
        EXPECT_EQ(&history.FindWorkIndex(run->Work()), &*run);
    }
    EXPECT_EQ(byEngine.size(), reference.runs.size());
    EXPECT_TRUE(std::is_sorted(byEngine.begin(), byEngine.end(), [](auto const& a, auto const& b) {
        if (std::get<0>(a) != std::get<0>(b))
            return std::get<0>(a) < std::get<0>(b);
        if (std::get<1>(a) != std::get<1>(b))
            return SubRangeLess()(std::get<1>(a), std::get<1>(b));
        return std::get<2>(a) < std::get<2>(b);
    }));

    engines.erase(UID());
    EXPECT_EQ(history.Engines().size(), engines.size());
    for (auto const& [engine, sums] : engines) {
        EngineWorkStats const& stats = history.EngineStatistics(engine);
        EXPECT_EQ(stats.Tasks(), sums.tasks);
        EXPECT_EQ(stats.FinishedTasks(), sums.finished);
        EXPECT_EQ(stats.ActiveSince(), sums.activeSince);
        EXPECT_EQ(stats.FinishedTime(), Time(sums.finishedMs));
        EXPECT_EQ(stats.TotalWorkTime(), Time(sums.totalMs));
        EXPECT_EQ(stats.LastWorkTime(), Time(sums.lastMs));
        EXPECT_EQ(stats.AverageWork(), Time(sums.ended ? sums.totalMs / static_cast<int64_t>(sums.ended) : 0));
        EXPECT_EQ(stats.AverageFinish(),
                  Time(sums.finished ? sums.finishedMs / static_cast<int64_t>(sums.finished) : 0));
    }
}

// A farm's day: most runs go their usual way, some are cut short, some elements
// are missing, doubled or contradict each other.
std::vector<WorkHistoryElement> RandomDay(std::mt19937& random) {
    static constexpr int k_Results[] = {Finished, Finished, Finished, Unsuccessful, Lost, UserCanceled, Failed, 77};
    std::vector<WorkHistoryElement> elements;
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

TEST(JobHistory, AnswersLikeTheSlowReferenceInAnyOrder) {
    for (unsigned seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        std::vector<WorkHistoryElement> elements = RandomDay(random);
        Reference const reference(elements);
        std::vector<WorkHistoryElement> doubled = elements;
        doubled.insert(doubled.end(), elements.begin(), elements.begin() + static_cast<ptrdiff_t>(elements.size() / 2));
        for (int order = 0; order < 3; ++order) {
            if (order > 0)
                std::shuffle(doubled.begin(), doubled.end(), random);
            JobHistory history;
            for (WorkHistoryElement const& element : doubled)
                history.Append(element);
            ExpectSame(history, reference);
            if (HasFailure())
                return;
            for (WorkHistoryElement const& element : elements)
                EXPECT_FALSE(history.Append(element)) << "a second one of the same must change nothing";
            JobHistory const copy(history);
            ExpectSame(copy, reference);

            MessageWriter writer;
            WriteJobHistory(writer, history);
            MessageReader reader(writer.Bytes());
            JobHistory decoded;
            ReadJobHistory(reader, decoded);
            EXPECT_TRUE(reader.AtEnd());
            ExpectSame(decoded, reference);
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
    EXPECT_EQ(history.FindWork(UID(true)).Key(), "");
    EXPECT_EQ(history.FindWork(UID(true)).LastNote(), "");
    EXPECT_EQ(history.FindWork(UID(true))[3].status, 0);
    EXPECT_EQ(history.EngineStatistics(UID(true)).AverageWork(), Time());
    EXPECT_EQ(history.ElapsedRealTime(), Time());
    EXPECT_EQ(history.LongestTotalKey(), "");
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

TEST(JobHistory, StatusAndNotePassOverTheClosingElementButItsTimeCounts) {
    JobHistory history;
    for (auto const& element : {Element(1, Assigned, 0), Element(1, Started, 5),
                                Element(1, Failed, 65, "1-10", "no licence"), Element(1, Closed, 70, "1-10", "closed")})
        EXPECT_TRUE(history.Append(element));
    WorkRun const& run = history.FindWork(NumberedID(2, 1));
    EXPECT_EQ(run.Status(), Failed);
    EXPECT_EQ(run.LastNote(), "no licence");
    EXPECT_EQ(run.LastElementTime(), k_Morning + Time::Seconds(70));
    EXPECT_EQ(run.RunTime(), Time::Seconds(60));
    EXPECT_FALSE(run.IsActive());
    EXPECT_EQ(history.LongestFinishedTime(), Time()) << "a failed run has not finished well";
    EXPECT_EQ(history.LongestWorkTime(), Time::Seconds(60));
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
    EXPECT_TRUE(between(history["1-10"].TotalTime(history, k_DontUpdateLongestTotal), 100));
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
        history.Push({k_Morning + Time::Seconds(i), String::From(i)}, 4);
    ASSERT_EQ(history.size(), 4u);
    EXPECT_EQ(history[0].message, "6");
    EXPECT_EQ(history[3].message, "9");
    history.Push({}, 0);
    EXPECT_TRUE(history.Empty());
}

} // namespace
} // namespace vorlan
