#include "jobhistorydata.h"

#include <vorlan/status.h>

#include <algorithm>
#include <charconv>
#include <limits>

namespace vorlan {

namespace {

// The number at the start of a sub-range. False without one.
bool LeadingNumber(std::string_view text, int64_t& number) {
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::result_out_of_range)
        number = text.front() == '-' ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    return end != text.data();
}

} // namespace

bool SubRangeLess::operator()(std::string_view a, std::string_view b) const noexcept {
    int64_t first = 0;
    int64_t second = 0;
    bool const hasFirst = LeadingNumber(a, first);
    bool const hasSecond = LeadingNumber(b, second);
    if (hasFirst != hasSecond)
        return hasFirst;
    if (hasFirst && first != second)
        return first < second;
    return a < b;
}

JobHistory::Data::Share JobHistory::Data::ShareOf(WorkRun const& run) {
    Share share;
    share.start = run.StartTime();
    share.started = !share.start.IsZero();
    share.ended = run.HasEnded();
    if (!share.started || !share.ended)
        return share;
    share.end = run.EndTime();
    share.ms = std::max<int64_t>(0, (share.end - share.start).Milliseconds());
    int const status = run.Status();
    share.finished = IsFinishedStatus(status) && !IsFailedStatus(status) && !IsCanceledStatus(status);
    return share;
}

WorkRun const& JobHistory::Data::RunFor(UID const& job, std::string_view key, UID const& work, UID const& engine) {
    auto& byWork = runs.get<WorkTag>();
    if (auto const found = byWork.find(work); found != byWork.end())
        return found->m_engine.IsNull() && !engine.IsNull() ? SetEngine(*found, engine) : *found;

    auto unit = units.find(key);
    if (unit == units.end())
        unit = units.emplace(String(key), WorkHistory()).first;
    WorkHistory& history = unit->second;
    if (history.m_job.IsNull())
        history.m_job = job;
    WorkRun fresh;
    fresh.m_work = work;
    fresh.m_engine = engine;
    fresh.m_unit = &*unit;
    WorkRun const& run = *byWork.insert(std::move(fresh)).first;
    if (!engine.IsNull())
        ++engines[engine].m_tasks;
    return run;
}

// Gives a run its place among the tries of its unit, anew when its beginning has
// changed. `formerPlace` counts for a run that has one.
void JobHistory::Data::Place(WorkRun const& run, bool fresh, size_t formerPlace) {
    auto& history = const_cast<WorkHistory&>(run.m_unit->second);
    auto& tries = history.m_runs;
    if (!fresh)
        tries.erase(tries.begin() + static_cast<ptrdiff_t>(formerPlace));
    size_t const place = history.PlaceOf(run.FirstElementTime(), run.m_work);
    tries.insert(tries.begin() + static_cast<ptrdiff_t>(place), &run);
    unsigned const most = mostTries ? mostTries->second.Tries() : 0;
    if (!mostTries || history.Tries() > most ||
        (history.Tries() == most && SubRangeLess()(run.m_unit->first, mostTries->first)))
        mostTries = run.m_unit;
}

// An element that knew no Engine came first; its sums move over to the Engine.
WorkRun const& JobHistory::Data::SetEngine(WorkRun const& run, UID const& engine) {
    Share const share = ShareOf(run);
    Subtract(run, share);
    auto& byWork = runs.get<WorkTag>();
    byWork.modify(byWork.iterator_to(run), [&](WorkRun& changed) { changed.m_engine = engine; });
    ++engines[engine].m_tasks;
    Add(run, share);
    return run;
}

void JobHistory::Data::Rate(WorkRun const& run, Share const& share) {
    WorkRun::Rating const rating = share.ms == 0    ? WorkRun::Rating::Nothing
                                   : share.finished ? WorkRun::Rating::Finished
                                                    : WorkRun::Rating::Ended;
    if (rating == run.m_rating && share.ms == run.m_workMs)
        return;
    auto& byTime = runs.get<TimeTag>();
    byTime.modify(byTime.iterator_to(run), [&](WorkRun& changed) {
        changed.m_rating = rating;
        changed.m_workMs = share.ms;
    });
}

void JobHistory::Data::Add(WorkRun const& run, Share const& share) {
    if (!share.started)
        return;
    // The unit is an element of `units`, which is not constant.
    auto& history = const_cast<WorkHistory&>(run.m_unit->second);
    EngineWorkStats* const stats = run.m_engine.IsNull() ? nullptr : &engines[run.m_engine];
    uint64_t const ms = static_cast<uint64_t>(share.ms);
    if (firstStart.IsZero() || share.start < firstStart)
        firstStart = share.start;
    if (share.Active()) {
        ++active;
        ++history.m_active;
        activeStartsMs += static_cast<uint64_t>(share.start.Milliseconds());
        if (stats)
            stats->m_activeStarts.insert(share.start);
        return;
    }
    lastFinish = std::max(lastFinish, share.end);
    endedMs += ms;
    history.m_endedMs += ms;
    finishedMs += share.finished ? ms : 0;
    finished += share.finished;
    longestTotal.Offer(*run.m_unit, static_cast<int64_t>(history.m_endedMs));
    if (!stats)
        return;
    ++stats->m_ended;
    stats->m_totalMs += ms;
    stats->m_finished += share.finished;
    stats->m_finishedMs += share.finished ? ms : 0;
    WorkRun const* const last = stats->m_last;
    if (!last || std::pair(share.end, run.m_work) > std::pair(last->EndTime(), last->m_work))
        stats->m_last = &run;
}

void JobHistory::Data::Subtract(WorkRun const& run, Share const& share) {
    if (!share.started)
        return;
    auto& history = const_cast<WorkHistory&>(run.m_unit->second);
    EngineWorkStats* const stats = run.m_engine.IsNull() ? nullptr : &engines[run.m_engine];
    uint64_t const ms = static_cast<uint64_t>(share.ms);
    if (share.Active()) {
        --active;
        --history.m_active;
        activeStartsMs -= static_cast<uint64_t>(share.start.Milliseconds());
        if (stats)
            stats->m_activeStarts.erase(stats->m_activeStarts.find(share.start));
        return;
    }
    // First start, last finish, the longest total and the Engine's last run only
    // ever move one way, so they need nothing taken back.
    endedMs -= ms;
    history.m_endedMs -= ms;
    finishedMs -= share.finished ? ms : 0;
    finished -= share.finished;
    if (!stats)
        return;
    --stats->m_ended;
    stats->m_totalMs -= ms;
    stats->m_finished -= share.finished;
    stats->m_finishedMs -= share.finished ? ms : 0;
}

WorkRun const* JobHistory::Data::Shortest(WorkRun::Rating rating) const {
    auto const& byTime = runs.get<TimeTag>();
    auto const first = byTime.lower_bound(ByTime::Place(rating, 0));
    return first != byTime.end() && first->m_rating == rating ? &*first : nullptr;
}

WorkRun const* JobHistory::Data::LongestOf(WorkRun::Rating rating) const {
    auto const& byTime = runs.get<TimeTag>();
    auto last = byTime.upper_bound(ByTime::Place(rating, std::numeric_limits<int64_t>::max()));
    if (last == byTime.begin() || (--last)->m_rating != rating)
        return nullptr;
    // Of several the one with the first sub-range.
    return &*byTime.lower_bound(ByTime::PlaceOf(*last));
}

namespace {

bool ComesBefore(int64_t aMs, String const& aKey, int64_t bMs, String const& bKey, bool longer) {
    if (aMs != bMs)
        return longer ? aMs > bMs : aMs < bMs;
    return SubRangeLess()(aKey, bKey);
}

} // namespace

WorkRun const* JobHistory::Data::ShortestWork() const {
    WorkRun const* const a = Shortest(WorkRun::Rating::Finished);
    WorkRun const* const b = Shortest(WorkRun::Rating::Ended);
    if (!a || !b)
        return a ? a : b;
    return ComesBefore(b->m_workMs, b->Key(), a->m_workMs, a->Key(), false) ? b : a;
}

WorkRun const* JobHistory::Data::LongestWork() const {
    WorkRun const* const a = LongestOf(WorkRun::Rating::Finished);
    WorkRun const* const b = LongestOf(WorkRun::Rating::Ended);
    if (!a || !b)
        return a ? a : b;
    return ComesBefore(b->m_workMs, b->Key(), a->m_workMs, a->Key(), true) ? b : a;
}

} // namespace vorlan
