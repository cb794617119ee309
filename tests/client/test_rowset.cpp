// The order of the rows of lists: against the rules written out, and what is made from the
// former rows against what is made from nothing.
#include "clienttest.h"
#include "rows/rowkinds.h"

namespace vorlan::test_rowset {

using JobRowSet = RowSet<JobRows>;

// A filter with one slot.
struct TestFilter : HasSlots<> {
    explicit TestFilter(std::function<bool(JobInfo const&)> passes) {
        signal->Connect(this, [passes = std::move(passes)](boost::shared_ptr<JobInfo> const& info, bool& include) {
            include = passes(*info);
        });
    }
    boost::shared_ptr<JobRowSet::FilterSignal> const signal = boost::make_shared<JobRowSet::FilterSignal>();
};

// Negative: `a` stands above `b` in an ascending list.
using Rule = std::function<int(JobInfo const& a, JobInfo const& b)>;

template <class T>
int Order(T const& a, T const& b) {
    return a < b ? -1 : a == b ? 0 : 1;
}
int Order(String const& a, String const& b) { return a.Compare(b); }

template <class Key>
Rule By(Key const& key) {
    return [key](JobInfo const& a, JobInfo const& b) { return Order(key(a), key(b)); };
}
template <class Key>
Rule ByNoCase(Key const& key) {
    return [key](JobInfo const& a, JobInfo const& b) { return key(a).CompareNoCase(key(b)); };
}

// Of the two loose classes, whichever is compared with the other goes first.
template <class Class>
Rule ByClass(int loose, int otherLoose, Class const& classOf) {
    return [=](JobInfo const& a, JobInfo const& b) {
        std::pair<int, int64_t> const x = classOf(a);
        std::pair<int, int64_t> const y = classOf(b);
        if (std::minmax(x.first, y.first) == std::minmax(loose, otherLoose))
            return -1;
        return Order(x, y);
    };
}

std::pair<int, int64_t> StatusClass(JobInfo const& info) {
    Job const& job = *info.job;
    if (job.IsFinished())
        return {job.IsFailed() ? 6 : job.IsCanceled() ? 5 : 4, 0};
    auto const running = static_cast<int64_t>(WorkList::Get().GetJobCurrentCount(job.id));
    return {(running > 0 ? 2 : 0) + (job.IsPaused() ? 0 : 1), running};
}

std::pair<int, int64_t> UsageClass(JobInfo const& info) {
    int64_t const limit = info.job->UsageLimit();
    return {limit < 0 ? 2 : limit > 0 ? 1 : 0, std::abs(limit)};
}

std::pair<size_t, size_t> FailureCounts(JobInfo const& info) {
    size_t current = 0;
    size_t reset = 0;
    Failures::JobFailureCounts(info.job->id, current, reset);
    return {current, current + reset};
}

// A type that is no column's goes by the name.
Rule RuleOf(SortBy const& by) {
    static std::map<int, Rule> const s_rules = {
        {SortBy::k_ByID, By([](JobInfo const& info) { return info.job->id; })},
        {JobColumns::Summary, By([](JobInfo const& info) { return info.Summary(); })},
        {JobColumns::Priority, By([](JobInfo const& info) { return info.job->Priority(); })},
        {JobColumns::Progress, By([](JobInfo const& info) { return info.job->PercentDone(); })},
        {JobColumns::Status, ByClass(1, 2, StatusClass)},
        {JobColumns::Product, By([](JobInfo const& info) { return info.job->TypeString(); })},
        {JobColumns::Pool, By([](JobInfo const& info) { return info.Pool(); })},
        {JobColumns::Creator, ByNoCase([](JobInfo const& info) { return info.job->Creator(); })},
        {JobColumns::Created, By([](JobInfo const& info) { return info.job->Created(); })},
        {JobColumns::Note, By([](JobInfo const& info) { return info.job->Note(); })},
        {JobColumns::Failures, By(FailureCounts)},
        {JobColumns::UsageLimit, ByClass(0, 1, UsageClass)},
        {JobColumns::CPUs, By([](JobInfo const& info) { return info.job->CPUs(); })},
        {JobColumns::RAM, By([](JobInfo const& info) { return info.job->RAM(); })},
        {JobColumns::Staggering, By([](JobInfo const& info) {
             return std::tuple(info.job->StaggerMode(), info.job->StaggerCount(), info.job->StaggerStart());
         })},
        {JobColumns::WaitFor, By([](JobInfo const& info) { return info.WaitForString(); })},
        {JobColumns::FinishDisposition,
         By([](JobInfo const& info) { return FinishDispositionText(info.job->FinishDisposition()); })},
        {JobColumns::Finished, By([](JobInfo const& info) { return info.job->FinishedTime(); })},
    };
    if (by.type == JobColumns::Custom)
        return By([&by](JobInfo const& info) { return info.job->FormatStringWithParameters(by.custom); });
    auto const rule = s_rules.find(by.type);
    return rule != s_rules.end() ? rule->second : ByNoCase([](JobInfo const& info) { return info.job->Name(); });
}

std::vector<UID> RowsOf(ListContents const& contents) {
    std::vector<UID> rows;
    for (size_t row = 0; row < contents.size(); ++row)
        rows.push_back(contents[row]);
    return rows;
}

// All types, one that isn't used, one past the last, and the ids alone.
std::vector<int> Types() {
    std::vector<int> types{SortBy::k_ByID, -1, 18};
    for (auto const& column : JobColumns::All())
        types.push_back(column.type);
    return types;
}

class RowSetTest : public MirrorTest {
protected:
    static constexpr unsigned k_Jobs = 90;

    RowSetTest() {
        m_engine = AddEngine("engine");
        for (unsigned i = 0; i < k_Jobs; ++i)
            AddJob();
    }

    unsigned Pick(unsigned from) { return static_cast<unsigned>(m_random() % from); }
    template <class T, size_t N>
    T const& OneOf(T const (&choice)[N]) {
        return choice[m_random() % N];
    }

    void AddJob() {
        auto job = boost::make_shared<Job>(UID::FromName(SFormat("job %u", m_count++)));
        for (int i = 0; i < 12; ++i)
            ChangeValue(*job);
        m_jobs.push_back(job->id);
        JobList::Get().InsertJob(job);
    }

    void ChangeValue(Job& job) {
        char const* const names[] = {"Shot 1", "shot 1", "Shot 10", "shot 2", "", "SHOT 12 beauty"};
        char const* const percents[] = {"0", "12.5", "99.95", "100", "x"};
        char const* const people[] = {"anna", "Anna", "bob"};
        int const states[] = {Paused, Queued, Queued, Finished, Failed, UserCanceled};
        char const* const keys[] = {p_Priority,     p_CPUs,         p_RAM,        p_UsageLimit,       p_StaggerMode,
                                    p_StaggerCount, p_StaggerStart, p_JobSummary, p_FinishDisposition};
        std::function<void()> const changes[] = {
            [&] { job.SetName(OneOf(names)); },
            [&] { job.SetNote(OneOf(names)); },
            [&] { job.SetStatus(OneOf(states)); },
            [&] { job.SetParameter(p_PercentDone, OneOf(percents)); },
            [&] { job.SetCreator(OneOf(people)); },
            [&] { job.SetCreated(Time(63'900'000'000'000 + 60'000 * Pick(3))); },
            [&] { job.SetFinishedTime(Time(Pick(3) * 1000)); },
            [&] { job.SetParameter(p_WaitForJobID, Pick(2) ? UID::FromName("other").ToString() : String()); },
            [&] { job.SetParameter(OneOf(keys), String::From(static_cast<int>(Pick(5)) - 2)); },
        };
        changes[std::min<size_t>(Pick(16), std::size(changes) - 1)]();
    }

    void ChangeSomething() {
        UID const& id = m_jobs[Pick(static_cast<unsigned>(m_jobs.size()))];
        boost::shared_ptr<Job> const job = Jobs::GetJobA(id);
        auto const changed = [&](int changes) {
            auto const copy = SDuplicateJob(*job, false);
            for (; changes > 0; --changes)
                ChangeValue(*copy);
            return copy;
        };
        switch (job ? Pick(10) : 9) {
        case 0:
            AddJob();
            break;
        case 1:
            JobList::Get().RemoveJob(id);
            break;
        case 2:
            m_units.push_back(UID::FromName(SFormat("unit %u", m_count)));
            Assign(Unit(SFormat("unit %u", m_count++).c_str(), id), m_engine);
            break;
        case 3:
            Failures::Add(id, UID::FromName("product"), m_engine, Time(1));
            JobList::Get().RefreshJob(id);
            break;
        case 4:
            JobList::Get().InsertJob(changed(2)); // it may move to the finished ones, or come back
            break;
        case 5: {
            char const* const name = Pick(2) == 0 ? "west" : "east";
            Say<PoolMsg>(std::map<UID, String>{{UID::FromName("pool"), name}});
            JobList::Get().UpdateJob(id, p_Pool, (Pick(2) == 0 ? UID::Null : UID::FromName("pool")).ToString());
            Say<SetMasterOptionsMsg>(o_Distribution, OptionMap{{o_UseWholeSystem, Pick(2) == 0 ? "1" : "0"}});
            break;
        }
        case 9:
            if (!m_units.empty()) {
                Finish(m_units.back(), Failed);
                m_units.pop_back();
            }
            break;
        default:
            for (auto const& [name, value] : changed(1)->Values())
                JobList::Get().UpdateJob(id, name, value);
        }
    }

    // What the refill gives, sorted by the rules.
    std::vector<UID> ByTheRules(SortOrder const& order, std::function<bool(JobInfo const&)> const& filter = {}) {
        std::vector<boost::shared_ptr<JobInfo>> infos;
        std::set<UID> seen;
        JobList::Get().Visit([&](auto const& objects) {
            for (auto const& [id, info, part] : objects) {
                if (seen.insert(*id).second && (!filter || filter(**info)))
                    infos.push_back(*info);
            }
        });
        std::array<std::pair<Rule, bool>, 3> const rules{{{RuleOf(order.first), order.first.ascending},
                                                          {RuleOf(order.second), order.second.ascending},
                                                          {RuleOf({}), order.first.ascending}}};
        StableSort(infos, [&rules](auto const& a, auto const& b) {
            for (auto const& [rule, ascending] : rules) {
                if (int const result = rule(*a, *b); result != 0)
                    return (result < 0) == ascending;
            }
            return false;
        });
        std::vector<UID> rows;
        for (auto const& info : infos)
            rows.push_back(info->job->id);
        return rows;
    }

    // What is wrong with the rows, in words; empty: nothing.
    static String Difference(std::vector<UID> const& rows, std::vector<UID> const& expected) {
        auto const describe = [](UID const& id) {
            auto const info = Jobs::FindJobInfo(id);
            return info ? info->job->Name() + ", " + info->Status() : String("gone");
        };
        if (rows.size() != expected.size())
            return SFormat("%zu rows instead of %zu", rows.size(), expected.size());
        for (size_t row = 0; row < rows.size(); ++row) {
            if (rows[row] != expected[row])
                return SFormat("row %zu is ", row) + describe(rows[row]) + ", not " + describe(expected[row]);
        }
        return String();
    }

    static std::vector<UID> Rebuild(JobRowSet& rows, JobRowSet::Request const& request) {
        rows.Rebuild(request);
        ListContents const contents = rows.Sorted();
        for (size_t row = 0; row < contents.size(); ++row)
            EXPECT_EQ(contents[contents[row]], row) << "the index of ids";
        return RowsOf(contents);
    }

    std::mt19937 m_random{20261121};
    unsigned m_count = 0;
    UID m_engine;
    std::vector<UID> m_jobs;
    std::vector<UID> m_units;
};

TEST_F(RowSetTest, EveryPairOfColumnsSortsByTheRules) {
    for (int i = 0; i < 300; ++i)
        ChangeSomething();
    for (int const first : Types()) {
        for (int const second : Types()) {
            unsigned const directions = Pick(4);
            SortOrder const order{{first, (directions & 1) != 0, "$(Priority) $(Name)"},
                                  {second, (directions & 2) != 0, "$(CPUs)"}};
            JobRowSet rows;
            JobRowSet::Request request;
            request.order = order;
            ASSERT_EQ(Difference(Rebuild(rows, request), ByTheRules(order)), String())
                << "columns " << first << ", " << second << " directions " << directions;
        }
    }
}

TEST_F(RowSetTest, WhatIsReusedIsAsFromScratch) {
    for (int const first : Types()) {
        for (int const second : {int{JobColumns::Name}, int{JobColumns::Status}, int{JobColumns::UsageLimit}}) {
            JobRowSet kept;
            JobRowSet::Request request;
            request.order = {{first, Pick(2) == 0, "$(Name)"}, {second, Pick(2) == 0, String()}};
            request.scope = FilterScope::OwnValues;
            auto const passes = [](JobInfo const& info) { return info.job->Priority() != 1; };
            TestFilter const filter([&passes](JobInfo const& info) { return passes(info); });
            request.filter = filter.signal;
            Rebuild(kept, request);
            request.reuse = Reuse::Unchanged;
            for (int round = 0; round < 6; ++round) {
                std::vector<UID> const before = RowsOf(kept.Sorted());
                unsigned const changes = Pick(6);
                for (unsigned i = 0; i < changes; ++i)
                    ChangeSomething();
                std::vector<UID> const rows = Rebuild(kept, request);
                ASSERT_EQ(Difference(rows, ByTheRules(request.order, passes)), String())
                    << "columns " << first << ", " << second;
                if (kept.IsSame()) {
                    ASSERT_EQ(rows, before);
                }
            }
            Rebuild(kept, request);
            EXPECT_TRUE(kept.IsSame()) << "nothing has changed; columns " << first << ", " << second;
            while (JobList::Get().Count() < k_Jobs)
                AddJob();
        }
    }
}

TEST_F(RowSetTest, AFilterIsAskedAboutEveryRowUnlessItLooksAtTheRowAlone) {
    size_t asked = 0;
    JobRowSet rows;
    JobRowSet::Request request;
    TestFilter const filter([&asked](JobInfo const&) { return ++asked % 2 != 0; });
    request.filter = filter.signal;
    size_t const all = JobList::Get().Count();
    Rebuild(rows, request);
    EXPECT_EQ(std::exchange(asked, 0), all);
    request.reuse = Reuse::Unchanged;
    Rebuild(rows, request);
    EXPECT_EQ(std::exchange(asked, 0), all);
    request.scope = FilterScope::OwnValues;
    JobList::Get().UpdateJob(m_jobs[3], p_Note, "changed");
    Rebuild(rows, request);
    EXPECT_EQ(asked, 1u);
}

// As on the pool, while the message thread goes on.
TEST_F(RowSetTest, RowsAreMadeWhileJobsChange) {
    JobRowSet rows;
    JobRowSet::Request request;
    request.order = {{JobColumns::Priority, true, {}}, {JobColumns::Name, true, {}}};
    std::atomic<bool> isOver{false};
    std::thread changes([&] {
        for (int i = 0; i < 1500; ++i)
            ChangeSomething();
        isOver = true;
    });
    while (!isOver) {
        Rebuild(rows, request);
        request.reuse = Reuse::Unchanged;
    }
    changes.join();
    EXPECT_EQ(Difference(Rebuild(rows, request), ByTheRules(request.order)), String());
}

TEST_F(RowSetTest, AJobRemovedMeanwhileStillSorts) {
    JobRowSet rows;
    JobRowSet::Request request;
    request.order.first.type = JobColumns::Name;
    rows.Refill(request);
    size_t const count = rows.ObjectCount();
    JobList::Get().RemoveJob(m_jobs[0]);
    rows.Sort(request);
    EXPECT_EQ(rows.Sorted().size(), count);
    request.reuse = Reuse::Unchanged;
    Rebuild(rows, request);
    EXPECT_EQ(rows.Sorted().size(), count - 1);
    EXPECT_FALSE(rows.IsSame());
}

} // namespace vorlan::test_rowset
