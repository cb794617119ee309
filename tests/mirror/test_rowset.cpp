// The order of the rows of lists: against the rules written out, and what is made from the
// former rows against what is made from nothing.
#include "mirrortest.h"
#include "rows/rowkinds.h"

#include <atomic>
#include <corekit/sformat.h>
#include <random>
#include <thread>
#include <vorlan/failures.h>
#include <vorlan/keys.h>

namespace vorlan {

namespace {

using JobRowSet = RowSet<JobRows>;

template <class T>
int Numeric(T const& a, T const& b, int lo) {
    return a < b ? lo : a == b ? 0 : -lo;
}

size_t Running(JobInfo const& info) { return WorkList::Get().GetJobCurrentCount(info.job->id); }

int CompareStatus(JobInfo const& first, JobInfo const& second, int lo) {
    Job const& a = *first.job;
    Job const& b = *second.job;
    int const hi = -lo;
    if (a.IsFinished()) {
        if (!b.IsFinished())
            return hi;
        if (a.IsFailed())
            return b.IsFailed() ? 0 : hi;
        if (a.IsCanceled())
            return b.IsFailed() ? lo : b.IsCanceled() ? 0 : hi;
        return b.IsFailed() || b.IsCanceled() ? lo : 0;
    }
    size_t const na = Running(first);
    size_t const nb = Running(second);
    if (na > 0) {
        if (b.IsFinished())
            return lo;
        if (a.IsPaused() != b.IsPaused())
            return a.IsPaused() ? lo : hi;
        return Numeric(na, nb, lo);
    }
    if (a.IsPaused())
        return b.IsPaused() && nb == 0 && !b.IsFinished() ? 0 : lo;
    if (!b.IsFinished() && nb == 0)
        return b.IsPaused() ? hi : 0;
    return lo;
}

int CompareUsage(int u, int v, int lo) {
    int const hi = -lo;
    if (u == v)
        return 0;
    if (u < 0)
        return v < 0 && u > v ? lo : hi;
    if (v > 0)
        return u < v ? lo : hi;
    return lo;
}

// The rule of one column; `type` -2 goes by the ids.
int CompareBy(JobInfo const& a, JobInfo const& b, SortBy const& by) {
    Job const& x = *a.job;
    Job const& y = *b.job;
    int const lo = by.ascending ? -1 : 1;
    int const hi = -lo;
    auto const text = [&](String const& first, String const& second) { return first.Compare(second) * hi; };
    size_t currentOfA = 0;
    size_t currentOfB = 0;
    size_t resetOfA = 0;
    size_t resetOfB = 0;
    switch (by.type) {
    case SortBy::k_ByID:
        return (x.id < y.id ? -1 : x.id == y.id ? 0 : 1) * hi;
    case JobColumns::Summary:
        return text(a.Summary(), b.Summary());
    case JobColumns::Priority:
        return Numeric(x.Priority(), y.Priority(), lo);
    case JobColumns::Progress:
        return Numeric(x.PercentDone(), y.PercentDone(), lo);
    case JobColumns::Status:
        return CompareStatus(a, b, lo);
    case JobColumns::Product:
        return text(x.TypeString(), y.TypeString());
    case JobColumns::Pool:
        return text(a.Pool(), b.Pool());
    case JobColumns::Creator:
        return x.Creator().CompareNoCase(y.Creator()) * hi;
    case JobColumns::Created:
        return Numeric(x.Created(), y.Created(), lo);
    case JobColumns::Note:
        return text(x.Note(), y.Note());
    case JobColumns::Failures:
        Failures::JobFailureCounts(x.id, currentOfA, resetOfA);
        Failures::JobFailureCounts(y.id, currentOfB, resetOfB);
        return currentOfA != currentOfB ? Numeric(currentOfA, currentOfB, lo)
                                        : Numeric(currentOfA + resetOfA, currentOfB + resetOfB, lo);
    case JobColumns::UsageLimit:
        return CompareUsage(x.UsageLimit(), y.UsageLimit(), lo);
    case JobColumns::CPUs:
        return Numeric(x.CPUs(), y.CPUs(), lo);
    case JobColumns::RAM:
        return Numeric(x.RAM(), y.RAM(), lo);
    case JobColumns::Staggering:
        if (x.StaggerMode() != y.StaggerMode())
            return Numeric(x.StaggerMode(), y.StaggerMode(), lo);
        if (x.StaggerCount() != y.StaggerCount())
            return Numeric(x.StaggerCount(), y.StaggerCount(), lo);
        return Numeric(x.StaggerStart(), y.StaggerStart(), lo);
    case JobColumns::WaitFor:
        return text(a.WaitForString(), b.WaitForString());
    case JobColumns::FinishDisposition:
        return text(FinishDispositionText(x.FinishDisposition()), FinishDispositionText(y.FinishDisposition()));
    case JobColumns::Finished:
        return Numeric(x.FinishedTime(), y.FinishedTime(), lo);
    case JobColumns::Custom:
        return text(x.FormatStringWithParameters(by.custom), y.FormatStringWithParameters(by.custom));
    default:
        return x.Name().CompareNoCase(y.Name()) * hi;
    }
}

bool IsJobLess(UID const& a, UID const& b, SortOrder const& order) {
    if (a == b)
        return false;
    auto const first = Jobs::FindJobInfo(a);
    auto const second = Jobs::FindJobInfo(b);
    int result = CompareBy(*first, *second, order.first);
    if (result == 0)
        result = CompareBy(*first, *second, order.second);
    if (result == 0)
        result = (a < b ? -1 : 1) * (order.first.ascending ? 1 : -1);
    return result < 0;
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

} // namespace

class RowSetTest : public MirrorTest {
protected:
    static constexpr unsigned k_Jobs = 90;

    RowSetTest() {
        Failures::Clear();
        m_engine = AddEngine("engine");
        for (unsigned i = 0; i < k_Jobs; ++i)
            AddJob();
    }
    ~RowSetTest() override { Failures::Clear(); }

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
        switch (Pick(16)) {
        case 0:
            job.SetName(OneOf(names));
            break;
        case 1:
            job.SetNote(OneOf(names));
            break;
        case 2:
            job.SetStatus(OneOf(states));
            break;
        case 3:
            job.SetParameter(p_PercentDone, OneOf(percents));
            break;
        case 4:
            job.SetCreator(OneOf(people));
            break;
        case 5:
            job.SetCreated(Time(63'900'000'000'000 + 60'000 * Pick(3)));
            break;
        case 6:
            job.SetFinishedTime(Time(Pick(3) * 1000));
            break;
        case 7:
            job.SetParameter(p_WaitForJobID, Pick(2) ? UID::FromName("other").ToString() : String());
            break;
        default: {
            char const* const keys[] = {p_Priority,     p_CPUs,         p_RAM,        p_UsageLimit,       p_StaggerMode,
                                        p_StaggerCount, p_StaggerStart, p_JobSummary, p_FinishDisposition};
            job.SetParameter(OneOf(keys), String::From(static_cast<int>(Pick(5)) - 2));
        }
        }
    }

    void RunUnit(UID const& job) {
        auto unit = boost::make_shared<Job>(UID::FromName(SFormat("unit %u", m_count++)));
        unit->parentID = job;
        m_units.push_back(unit->id);
        auto message = AssignedWorkMsg::New();
        message->work = unit;
        message->engine = m_engine;
        AssignedWorkMsg::s_Signal.Emit(message);
    }

    // As the messages of a busy farm do.
    void ChangeSomething() {
        UID const& id = m_jobs[Pick(static_cast<unsigned>(m_jobs.size()))];
        boost::shared_ptr<Job> const job = Jobs::GetJobA(id);
        switch (job ? Pick(10) : 9) {
        case 0:
            AddJob();
            break;
        case 1:
            JobList::Get().RemoveJob(id);
            break;
        case 2:
            RunUnit(id);
            break;
        case 3:
            Failures::Add(id, UID::FromName("product"), m_engine, Time(1));
            JobList::Get().RefreshJob(id);
            break;
        case 4: {
            auto copy = SDuplicateJob(*job, false);
            ChangeValue(*copy);
            ChangeValue(*copy);
            JobList::Get().InsertJob(copy); // it may move to the finished ones, or come back
            break;
        }
        case 5: {
            auto message = PoolMsg::New();
            message->pools[UID::FromName("pool")] = Pick(2) == 0 ? "west" : "east";
            PoolMsg::s_Signal.Emit(message);
            JobList::Get().UpdateJob(id, p_Pool, UID::FromName("pool").ToString());
            break;
        }
        case 9:
            if (!m_units.empty()) {
                auto message = FinishedWorkMsg::New();
                message->work = m_units.back();
                message->status = Failed;
                m_units.pop_back();
                FinishedWorkMsg::s_Signal.Emit(message);
            }
            break;
        default: {
            auto copy = SDuplicateJob(*job, false);
            ChangeValue(*copy);
            for (auto const& [name, value] : copy->Values())
                JobList::Get().UpdateJob(id, name, value);
        }
        }
    }

    // What the refill gives, sorted by the rules.
    std::vector<UID> ByTheRules(SortOrder const& order, std::function<bool(JobInfo const&)> const& filter = {}) {
        std::vector<UID> rows;
        corekit::set<UID> seen;
        JobList::Get().Visit([&](auto const& objects) {
            for (auto const& [id, info, part] : objects) {
                if (seen.insert(*id).second && (!filter || filter(**info)))
                    rows.push_back(*id);
            }
        });
        StableSort(rows, [&order](UID const& a, UID const& b) { return IsJobLess(a, b, order); });
        return rows;
    }

    // What is wrong with the rows, in words; empty: nothing.
    static String Difference(std::vector<UID> const& rows, std::vector<UID> const& expected) {
        if (rows.size() != expected.size())
            return SFormat("%zu rows instead of %zu", rows.size(), expected.size());
        auto const at = std::ranges::mismatch(rows, expected).in1 - rows.begin();
        if (at == static_cast<std::ptrdiff_t>(rows.size()))
            return String();
        auto const describe = [](UID const& id) {
            auto const info = Jobs::FindJobInfo(id);
            return info ? info->job->Name() + ", " + info->Status() : String("gone");
        };
        auto const row = static_cast<size_t>(at);
        return SFormat("row %zu is ", row) + describe(rows[row]) + ", not " + describe(expected[row]);
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
            request.filter = [&passes](boost::shared_ptr<JobInfo> const& info) { return passes(*info); };
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
    request.filter = [&asked](boost::shared_ptr<JobInfo> const&) { return ++asked % 2 != 0; };
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

} // namespace vorlan
