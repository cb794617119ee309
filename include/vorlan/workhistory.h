#pragma once

#include <vorlan/field.h>
#include <vorlan/fwd.h>

#include <corekit/string.h>
#include <corekit/time.h>
#include <corekit/uid.h>

#include <boost/container/small_vector.hpp>

#include <cstdint>
#include <tuple>
#include <vector>

namespace vorlan {

// One event in the life of a work unit. A value without an owner.
struct WorkHistoryElement {
    static constexpr char const* k_Name = "WorkHistoryElement";

    int status = 0;
    Time time;
    String note;
    String subRange;
    UID work;
    UID job;
    UID engine;

    static constexpr auto Fields() {
        using E = WorkHistoryElement;
        return std::tuple{Field{"Status", &E::status, "the status of the run from this moment on; 3 closes the run"},
                          Field{"Time", &E::time, "the moment"},
                          Field{"Note", &E::note, "what people should know about it"},
                          Field{"SubRange", &E::subRange, "the packet of frames"},
                          Field{"Work", &E::work, "the run"},
                          Field{"Job", &E::job, "the Job it belongs to"},
                          Field{"Engine", &E::engine, "where it ran"}};
    }

    bool operator==(WorkHistoryElement const&) const = default;
};

class WorkHistory;

// Where one run stands in the history of its Job: its unit's key, its place
// among the tries, its Engine. Owned by the JobHistory, stays at its address for
// as long as that lives. Guarded by whatever guards the history.
class WorkIndex {
public:
    using Unit = std::pair<String const, WorkHistory>;

    WorkIndex() = default;

    UID const& Work() const noexcept { return m_work; }
    UID const& Engine() const noexcept { return m_engine; }
    // The sub-range; empty when there is no such run.
    String const& Key() const noexcept;
    // Counts from 0, in the order in which the tries began. O(log n).
    size_t RunIndex() const noexcept;
    // True when there is no such run.
    bool IsNull() const noexcept { return m_unit == nullptr; }

protected:
    friend class JobHistory;

    UID m_work;
    UID m_engine;
    Unit const* m_unit = nullptr;
};

// One try of a work unit: its events in the order in which they must have
// happened (assigned, started, result, closing), late ones sorted in.
// Owned by the JobHistory; constant for all others. Guarded by whatever guards
// the history.
class WorkRun : public WorkIndex {
public:
    // Further elements of one run are dropped.
    static constexpr size_t k_MaxElements = 1000;

    WorkRun() = default;

    size_t ElementCount() const noexcept { return m_items.size(); }
    // Put together on each call. An empty element past the end.
    WorkHistoryElement operator[](size_t index) const;
    int ElementStatus(size_t index) const noexcept { return index < m_items.size() ? m_items[index].status : 0; }
    Time ElementTime(size_t index) const noexcept { return index < m_items.size() ? m_items[index].time : Time(); }
    std::string_view ElementNote(size_t index) const noexcept {
        return index < m_items.size() ? NoteAt(index) : std::string_view();
    }

    UID const& Job() const noexcept;
    // The last status that is not the closing element's; 0 without any.
    int Status() const noexcept;
    // The first start; zero when it has not started.
    Time StartTime() const noexcept;
    // The last result; zero while it runs.
    Time EndTime() const noexcept;
    Time FirstElementTime() const noexcept { return ElementTime(0); }
    // The closing element's too.
    Time LastElementTime() const noexcept { return m_items.empty() ? Time() : m_items.back().time; }
    // The note of the last element that is not the closing one.
    String LastNote() const;
    // Assigned or started, with no result yet.
    bool IsActive() const noexcept;
    // It has a result.
    bool HasEnded() const noexcept;
    // From start to result, to `now` while it runs; zero when it never started.
    Time RunTime() const;
    Time RunTime(Time now) const noexcept;

private:
    friend class JobHistory;

    // What the run's time counts for.
    enum class Rating : uint8_t { Finished, Ended, Nothing };

    struct Item {
        Time time;
        int32_t status;
        uint32_t noteLength;
    };

    // False when exactly this event is there already or there are too many.
    bool Insert(int status, Time time, std::string_view note);
    std::string_view NoteAt(size_t index) const noexcept;
    // Null when there is none but a closing one.
    Item const* LastBeforeClosing() const noexcept;

    boost::container::small_vector<Item, 4> m_items;
    // The notes of all elements, one behind the other.
    String m_notes;
    // Kept by the history, which orders by them.
    int64_t m_workMs = 0;
    Rating m_rating = Rating::Nothing;
};

// All tries of one sub-range, in the order in which they began. Owned by the
// JobHistory; guarded by whatever guards that.
class WorkHistory {
public:
    // The run at `index`; an empty one past the end.
    WorkRun const& operator[](size_t index) const noexcept;
    WorkRun const& LastRun() const noexcept { return (*this)[m_runs.empty() ? 0 : m_runs.size() - 1]; }
    unsigned Tries() const noexcept { return static_cast<unsigned>(m_runs.size()); }

    // The run times of all tries. With its own key the history learns of a new
    // longest total, which a running try may make; k_DontUpdateLongestTotal
    // leaves the history alone.
    Time TotalTime(JobHistory& history, String const& key) const;
    Time TotalTime(Time now) const noexcept;

private:
    friend class JobHistory;
    friend class WorkIndex;
    friend class WorkRun;

    // Where a run with this beginning stands or would stand.
    size_t PlaceOf(Time first, UID const& work) const noexcept;

    UID m_job;
    // The runs themselves belong to the JobHistory.
    std::vector<WorkRun const*> m_runs;
    // Of the ended runs, in milliseconds; wraps on absurd input.
    uint64_t m_endedMs = 0;
    // Runs that have started and not ended.
    uint32_t m_active = 0;
};

} // namespace vorlan
