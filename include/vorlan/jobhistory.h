#pragma once

#include <vorlan/keys.h>
#include <vorlan/workhistory.h>

#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace vorlan {

// Orders sub-ranges as the frames of a Job follow each other: by the number at
// their start, then as text; texts without a number come last.
struct SubRangeLess {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept;
};

// What one Engine has done for one Job. Owned by the JobHistory.
class EngineWorkStats {
public:
    // All runs on this Engine, the active ones too.
    size_t Tasks() const noexcept { return m_tasks; }
    size_t FinishedTasks() const noexcept { return m_finished; }
    // The start of the run that has been going on for longest; zero when none is.
    Time ActiveSince() const noexcept { return m_activeStarts.empty() ? Time() : *m_activeStarts.begin(); }
    bool IsActive() const noexcept { return !m_activeStarts.empty(); }
    // Of the runs that finished well.
    Time FinishedTime() const noexcept { return Time(static_cast<int64_t>(m_finishedMs)); }
    // Of the run that ended last.
    Time LastWorkTime() const noexcept;
    // Of all runs that have ended, whatever their result.
    Time TotalWorkTime() const noexcept { return Time(static_cast<int64_t>(m_totalMs)); }
    // Zero when there was none.
    Time AverageFinish() const noexcept;
    Time AverageWork() const noexcept;

private:
    friend class JobHistory;

    uint32_t m_tasks = 0;
    uint32_t m_finished = 0;
    uint32_t m_ended = 0;
    uint64_t m_finishedMs = 0;
    uint64_t m_totalMs = 0;
    std::multiset<Time> m_activeStarts;
    WorkRun const* m_last = nullptr;
};

// The work history of one Job, kept by sub-range, by run and by Engine, with its
// statistics kept up as the elements come.
// Owned by the Master's Job or the client's JobInfo. Works with the codec, which
// sends it whole, and with the history displays. Not locked: the owner's lock
// guards it, and the const operations may run side by side under a shared one.
// An empty one is a null pointer. Always: the same elements give the same
// answers in whatever order and however often they came; an element costs
// O(log n).
class JobHistory {
public:
    using Units = std::map<String, WorkHistory, SubRangeLess>;
    using const_iterator = Units::const_iterator;
    using WorkIndex = vorlan::WorkIndex;

    // Walks the runs by Engine, within one Engine by sub-range.
    class EngineIterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = WorkIndex;
        using difference_type = std::ptrdiff_t;
        using pointer = WorkIndex const*;
        using reference = WorkIndex const&;

        EngineIterator() = default;
        WorkIndex const& operator*() const noexcept { return *m_run; }
        WorkIndex const* operator->() const noexcept { return m_run; }
        // The run itself, without a look-up.
        WorkRun const& Run() const noexcept { return *m_run; }
        EngineIterator& operator++() {
            m_run = m_history->NextByEngine(*m_run);
            return *this;
        }
        EngineIterator operator++(int) {
            EngineIterator const before = *this;
            ++*this;
            return before;
        }
        bool operator==(EngineIterator const& other) const noexcept { return m_run == other.m_run; }

    private:
        friend class JobHistory;
        EngineIterator(JobHistory const* history, WorkRun const* run) : m_history(history), m_run(run) {}

        JobHistory const* m_history = nullptr;
        WorkRun const* m_run = nullptr;
    };

    JobHistory() noexcept;
    ~JobHistory();
    JobHistory(JobHistory const& other);
    JobHistory(JobHistory&& other) noexcept;
    JobHistory& operator=(JobHistory other) noexcept;

    void Swap(JobHistory& other) noexcept { m_data.swap(other.m_data); }
    void Clear() noexcept;
    bool Empty() const noexcept { return size() == 0; }
    // The number of sub-ranges.
    size_t size() const noexcept;
    size_t RunCount() const noexcept;
    size_t ElementCount() const noexcept;
    // The Job of its elements; null while empty.
    UID JobID() const noexcept;

    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;
    // An empty one when the sub-range has no history.
    WorkHistory const& operator[](String const& subRange) const;
    EngineIterator ebegin() const noexcept;
    EngineIterator eend() const noexcept { return EngineIterator(this, nullptr); }

    // Takes one element in. A second one that is the same changes nothing and
    // gives false, and so does one that names no run. `job` and `work` may be
    // null; they and `engine` fill what the element leaves empty. A time outside
    // the years 1 to 9999 is brought inside.
    bool Append(boost::shared_ptr<Job> const& job, boost::shared_ptr<Job> const& work, UID const& engine,
                WorkHistoryElement const& element);
    bool Append(WorkHistoryElement const& element);

    // Empty ones when it is unknown.
    WorkRun const& FindWork(UID const& work) const;
    WorkIndex const& FindWorkIndex(UID const& work) const;
    EngineWorkStats const& EngineStatistics(UID const& engine) const;
    std::vector<UID> Engines() const;

    // From the first start to the last finish, to now while a run is active.
    Time ElapsedRealTime() const;
    // The run times of all runs, active ones up to now.
    Time TotalEngineTime() const;
    // The run times of the runs that finished well, and how many they are.
    Time FinishedEngineTime() const noexcept;
    size_t FinishedRuns() const noexcept;
    // Zero before the first.
    Time AverageFinishTime() const noexcept;
    Time FirstStartTime() const noexcept;
    // Of the runs that had started, whatever their result.
    Time LastFinishTime() const noexcept;
    // Runs that have started and not ended.
    size_t ActiveRuns() const noexcept;

    // Of runs that finished well; of all runs that ended; of all tries of one
    // unit. Zero when there is none. A run that took no time at all counts in
    // none of them.
    Time LongestFinishedTime() const;
    Time ShortestFinishedTime() const;
    Time LongestWorkTime() const;
    Time ShortestWorkTime() const;
    Time LongestTotalTime() const;
    // The sub-ranges that hold these; the first in order when several do. Empty
    // when there is none.
    String const& LongestFinishedKey() const;
    String const& ShortestFinishedKey() const;
    String const& LongestWorkKey() const;
    String const& ShortestWorkKey() const;
    String const& LongestTotalKey() const;
    String const& MostTriesKey() const noexcept;
    unsigned MostTries() const noexcept;

private:
    friend class WorkHistory;
    struct Data;

    bool AppendParts(UID const& job, std::string_view key, UID const& work, UID const& engine, int status, Time time,
                     std::string_view note);
    WorkRun const* NextByEngine(WorkRun const& run) const;
    void NoteTotal(String const& key, Time total);

    std::unique_ptr<Data> m_data;
};

} // namespace vorlan
