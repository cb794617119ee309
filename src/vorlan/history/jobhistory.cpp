#include "jobhistorydata.h"

#include <vorlan/job.h>

#include <algorithm>

namespace vorlan {

namespace {

// 10000-01-01T00:00:00Z. Bounds the times, so that sums of a history stay sums.
constexpr int64_t k_EndOfTimeMs = 315'537'897'600'000;

Time Bounded(Time time) { return Time(std::clamp<int64_t>(time.Milliseconds(), 0, k_EndOfTimeMs)); }

Time Average(uint64_t sumMs, size_t count) {
    return count == 0 ? Time() : Time(static_cast<int64_t>(sumMs) / static_cast<int64_t>(count));
}

} // namespace

Time EngineWorkStats::LastWorkTime() const noexcept { return m_last ? m_last->RunTime(Time()) : Time(); }
Time EngineWorkStats::AverageFinish() const noexcept { return Average(m_finishedMs, m_finished); }
Time EngineWorkStats::AverageWork() const noexcept { return Average(m_totalMs, m_ended); }

JobHistory::JobHistory() noexcept = default;
JobHistory::~JobHistory() = default;
JobHistory::JobHistory(JobHistory&& other) noexcept = default;

JobHistory::JobHistory(JobHistory const& other) {
    for (auto const& [key, history] : other) {
        for (WorkRun const* const run : history.m_runs) {
            for (size_t i = 0; i < run->ElementCount(); ++i)
                AppendParts(history.m_job, key, run->m_work, run->m_engine, run->m_items[i].status,
                            run->m_items[i].time, run->NoteAt(i));
        }
    }
    NoteTotal(other.LongestTotalKey(), other.LongestTotalTime());
}

JobHistory& JobHistory::operator=(JobHistory other) noexcept {
    Swap(other);
    return *this;
}

void JobHistory::Clear() noexcept { m_data.reset(); }
size_t JobHistory::size() const noexcept { return m_data ? m_data->units.size() : 0; }
size_t JobHistory::RunCount() const noexcept { return m_data ? m_data->runs.size() : 0; }
size_t JobHistory::ElementCount() const noexcept { return m_data ? m_data->elements : 0; }
UID JobHistory::JobID() const noexcept { return Empty() ? UID() : begin()->second.m_job; }

namespace {

JobHistory::Units const& NoUnits() {
    static JobHistory::Units const s_none;
    return s_none;
}

} // namespace

JobHistory::const_iterator JobHistory::begin() const noexcept {
    return m_data ? m_data->units.begin() : NoUnits().begin();
}

JobHistory::const_iterator JobHistory::end() const noexcept { return m_data ? m_data->units.end() : NoUnits().end(); }

WorkHistory const& JobHistory::operator[](String const& subRange) const {
    static WorkHistory const s_empty;
    const_iterator const found = m_data ? m_data->units.find(subRange) : end();
    return found != end() ? found->second : s_empty;
}

JobHistory::EngineIterator JobHistory::ebegin() const noexcept {
    return EngineIterator(this, RunCount() == 0 ? nullptr : &*m_data->runs.get<Data::EngineTag>().begin());
}

WorkRun const* JobHistory::NextByEngine(WorkRun const& run) const {
    auto const& byEngine = m_data->runs.get<Data::EngineTag>();
    auto const next = std::next(byEngine.iterator_to(run));
    return next == byEngine.end() ? nullptr : &*next;
}

bool JobHistory::Append(boost::shared_ptr<Job> const& job, boost::shared_ptr<Job> const& work, UID const& engine,
                        WorkHistoryElement const& element) {
    UID const workID = element.work.IsNull() && work ? work->id : element.work;
    UID jobID = element.job;
    if (jobID.IsNull())
        jobID = job ? job->id : work ? work->parentID : UID();
    String key = element.subRange;
    if (key.Empty() && work && FindWork(workID).IsNull()) {
        key = work->Get(p_SubRange, false);
        if (key.Empty())
            key = work->Name();
    }
    return AppendParts(jobID, key, workID, element.engine.IsNull() ? engine : element.engine, element.status,
                       element.time, element.note);
}

bool JobHistory::Append(WorkHistoryElement const& element) {
    return AppendParts(element.job, element.subRange, element.work, element.engine, element.status, element.time,
                       element.note);
}

bool JobHistory::AppendParts(UID const& job, std::string_view key, UID const& work, UID const& engine, int status,
                             Time time, std::string_view note) {
    if (work.IsNull())
        return false;
    if (!m_data)
        m_data = std::make_unique<Data>();
    WorkRun const& run = m_data->RunFor(job, key, work, engine);
    auto const before = Data::ShareOf(run);
    bool const fresh = run.ElementCount() == 0;
    Time const beganBefore = run.FirstElementTime();
    size_t const formerPlace = fresh ? 0 : run.RunIndex();
    // The elements are not part of what the runs are ordered by.
    if (!const_cast<WorkRun&>(run).Insert(status, Bounded(time), note))
        return false;
    ++m_data->elements;
    if (fresh || run.FirstElementTime() != beganBefore)
        m_data->Place(run, fresh, formerPlace);
    auto const after = Data::ShareOf(run);
    if (after != before) {
        m_data->Subtract(run, before);
        m_data->Add(run, after);
        m_data->Rate(run, after);
    }
    return true;
}

void JobHistory::NoteTotal(String const& key, Time total) {
    const_iterator const unit = m_data ? m_data->units.find(key) : end();
    if (unit != end() && total.Milliseconds() > m_data->longestTotal.ms)
        m_data->longestTotal = {&*unit, total.Milliseconds()};
}

WorkRun const& JobHistory::FindWork(UID const& work) const {
    static WorkRun const s_empty;
    if (!m_data)
        return s_empty;
    auto const& byWork = m_data->runs.get<Data::WorkTag>();
    auto const found = byWork.find(work);
    return found != byWork.end() ? *found : s_empty;
}

WorkIndex const& JobHistory::FindWorkIndex(UID const& work) const { return FindWork(work); }

EngineWorkStats const& JobHistory::EngineStatistics(UID const& engine) const {
    static EngineWorkStats const s_empty;
    if (!m_data)
        return s_empty;
    auto const found = m_data->engines.find(engine);
    return found != m_data->engines.end() ? found->second : s_empty;
}

std::vector<UID> JobHistory::Engines() const {
    std::vector<UID> engines;
    if (m_data) {
        for (auto const& [engine, stats] : m_data->engines)
            engines.push_back(engine);
    }
    std::sort(engines.begin(), engines.end());
    return engines;
}

Time JobHistory::ElapsedRealTime() const {
    if (!m_data || m_data->firstStart.IsZero())
        return {};
    Time const last = m_data->active > 0 ? std::max(Time::CurrentTime(), m_data->lastFinish) : m_data->lastFinish;
    return std::max(Time(), last - m_data->firstStart);
}

Time JobHistory::TotalEngineTime() const {
    if (!m_data)
        return {};
    uint64_t const nowMs = static_cast<uint64_t>(Time::CurrentTime().Milliseconds());
    auto const activeMs = static_cast<int64_t>(m_data->active * nowMs - m_data->activeStartsMs);
    return Time(static_cast<int64_t>(m_data->endedMs)) + Time(std::max<int64_t>(0, activeMs));
}

Time JobHistory::FinishedEngineTime() const noexcept {
    return m_data ? Time(static_cast<int64_t>(m_data->finishedMs)) : Time();
}

size_t JobHistory::FinishedRuns() const noexcept { return m_data ? m_data->finished : 0; }

Time JobHistory::AverageFinishTime() const noexcept {
    return m_data ? Average(m_data->finishedMs, m_data->finished) : Time();
}

Time JobHistory::FirstStartTime() const noexcept { return m_data ? m_data->firstStart : Time(); }
Time JobHistory::LastFinishTime() const noexcept { return m_data ? m_data->lastFinish : Time(); }
size_t JobHistory::ActiveRuns() const noexcept { return m_data ? m_data->active : 0; }

namespace {

Time TimeOf(WorkRun const* run) { return run ? run->RunTime(Time()) : Time(); }
String const& KeyOf(WorkRun const* run) { return run ? run->Key() : String::Null; }

} // namespace

Time JobHistory::LongestFinishedTime() const {
    return m_data ? TimeOf(m_data->LongestOf(WorkRun::Rating::Finished)) : Time();
}
Time JobHistory::ShortestFinishedTime() const {
    return m_data ? TimeOf(m_data->Shortest(WorkRun::Rating::Finished)) : Time();
}
Time JobHistory::LongestWorkTime() const { return m_data ? TimeOf(m_data->LongestWork()) : Time(); }
Time JobHistory::ShortestWorkTime() const { return m_data ? TimeOf(m_data->ShortestWork()) : Time(); }
Time JobHistory::LongestTotalTime() const { return m_data ? Time(m_data->longestTotal.ms) : Time(); }

String const& JobHistory::LongestFinishedKey() const {
    return m_data ? KeyOf(m_data->LongestOf(WorkRun::Rating::Finished)) : String::Null;
}
String const& JobHistory::ShortestFinishedKey() const {
    return m_data ? KeyOf(m_data->Shortest(WorkRun::Rating::Finished)) : String::Null;
}
String const& JobHistory::LongestWorkKey() const { return m_data ? KeyOf(m_data->LongestWork()) : String::Null; }
String const& JobHistory::ShortestWorkKey() const { return m_data ? KeyOf(m_data->ShortestWork()) : String::Null; }
String const& JobHistory::LongestTotalKey() const {
    return m_data && m_data->longestTotal.unit ? m_data->longestTotal.unit->first : String::Null;
}
String const& JobHistory::MostTriesKey() const noexcept {
    return m_data && m_data->mostTries ? m_data->mostTries->first : String::Null;
}
unsigned JobHistory::MostTries() const noexcept {
    return m_data && m_data->mostTries ? m_data->mostTries->second.Tries() : 0;
}

} // namespace vorlan
