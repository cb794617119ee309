#pragma once

#include <vorlan/jobhistory.h>

#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/identity.hpp>
#include <boost/multi_index/mem_fun.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>

#include <unordered_map>

namespace vorlan {

namespace mi = boost::multi_index;

// All that one JobHistory holds: its units, its runs in three orders at once, and
// the sums over them. A run never moves. What a run adds to the sums is its Share:
// whoever changes a run takes the old share off and adds the new one.
struct JobHistory::Data {
    struct ByEngine {
        bool operator()(WorkRun const& a, WorkRun const& b) const noexcept {
            if (a.m_engine != b.m_engine)
                return a.m_engine < b.m_engine;
            return UnitThenWork(a, b);
        }
    };
    // The shortest of a rating first, then by sub-range. A bare rating and time
    // finds the first of them.
    struct ByTime {
        using Place = std::pair<WorkRun::Rating, int64_t>;
        static Place PlaceOf(WorkRun const& run) noexcept { return {run.m_rating, run.m_workMs}; }
        bool operator()(WorkRun const& a, WorkRun const& b) const noexcept {
            return PlaceOf(a) != PlaceOf(b) ? PlaceOf(a) < PlaceOf(b) : UnitThenWork(a, b);
        }
        bool operator()(WorkRun const& a, Place b) const noexcept { return PlaceOf(a) < b; }
        bool operator()(Place a, WorkRun const& b) const noexcept { return a < PlaceOf(b); }
    };
    struct WorkTag {};
    struct EngineTag {};
    struct TimeTag {};
    using Runs = mi::multi_index_container<
        WorkRun,
        mi::indexed_by<mi::hashed_unique<mi::tag<WorkTag>, mi::const_mem_fun<WorkIndex, UID const&, &WorkIndex::Work>>,
                       mi::ordered_unique<mi::tag<EngineTag>, mi::identity<WorkRun>, ByEngine>,
                       mi::ordered_unique<mi::tag<TimeTag>, mi::identity<WorkRun>, ByTime>>>;

    // What a run adds to the sums.
    struct Share {
        bool started = false;
        bool ended = false;
        bool finished = false;
        Time start;
        Time end;
        int64_t ms = 0;

        bool Active() const { return started && !ended; }
        bool operator==(Share const&) const = default;
    };
    struct Longest {
        Units::value_type const* unit = nullptr;
        int64_t ms = 0;

        void Offer(Units::value_type const& other, int64_t otherMs) {
            if (otherMs > ms || (otherMs == ms && otherMs > 0 && SubRangeLess()(other.first, unit->first))) {
                unit = &other;
                ms = otherMs;
            }
        }
    };

    static bool UnitThenWork(WorkRun const& a, WorkRun const& b) noexcept {
        if (a.m_unit != b.m_unit)
            return SubRangeLess()(a.Key(), b.Key());
        return a.m_work < b.m_work;
    }
    static Share ShareOf(WorkRun const& run);

    WorkRun const& RunFor(UID const& job, std::string_view key, UID const& work, UID const& engine);
    WorkRun const& SetEngine(WorkRun const& run, UID const& engine);
    void Place(WorkRun const& run, bool fresh, size_t formerPlace);
    void Rate(WorkRun const& run, Share const& share);
    void Add(WorkRun const& run, Share const& share);
    void Subtract(WorkRun const& run, Share const& share);
    WorkRun const* Shortest(WorkRun::Rating rating) const;
    WorkRun const* LongestOf(WorkRun::Rating rating) const;
    WorkRun const* ShortestWork() const;
    WorkRun const* LongestWork() const;

    Units units;
    Runs runs;
    std::unordered_map<UID, EngineWorkStats> engines;
    size_t elements = 0;
    // Sums in milliseconds; unsigned, so that absurd input wraps and comes back.
    uint64_t endedMs = 0;
    uint64_t finishedMs = 0;
    uint64_t activeStartsMs = 0;
    size_t active = 0;
    size_t finished = 0;
    Time firstStart;
    Time lastFinish;
    Longest longestTotal;
    Units::value_type const* mostTries = nullptr;
};

} // namespace vorlan
