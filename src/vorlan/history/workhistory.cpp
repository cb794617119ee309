#include <vorlan/jobhistory.h>
#include <vorlan/status.h>
#include <vorlan/workhistory.h>

#include <algorithm>

namespace vorlan {

namespace {

// The place of a status in the life of a run; unknown ones count as results.
int StageOf(int status) {
    switch (status) {
    case JobStatus::Assigned:
        return 1;
    case JobStatus::Started:
        return 2;
    case JobStatus::Closed:
        return 4;
    default:
        return status <= JobStatus::Queued ? 0 : 3;
    }
}

WorkRun const& EmptyRun() {
    static WorkRun const s_empty;
    return s_empty;
}

} // namespace

String const& WorkIndex::Key() const noexcept { return m_unit ? m_unit->first : String::Null; }

size_t WorkIndex::RunIndex() const noexcept {
    // Only a WorkRun has a unit.
    return m_unit ? m_unit->second.PlaceOf(static_cast<WorkRun const*>(this)->FirstElementTime(), m_work) : 0;
}

UID const& WorkRun::Job() const noexcept { return m_unit ? m_unit->second.m_job : UID::Null; }

WorkHistoryElement WorkRun::operator[](size_t index) const {
    WorkHistoryElement element;
    if (index >= m_items.size())
        return element;
    element.status = m_items[index].status;
    element.time = m_items[index].time;
    element.note = NoteAt(index);
    element.subRange = Key();
    element.work = m_work;
    element.job = Job();
    element.engine = m_engine;
    return element;
}

std::string_view WorkRun::NoteAt(size_t index) const noexcept {
    size_t from = 0;
    for (size_t i = 0; i < index; ++i)
        from += m_items[i].noteLength;
    return std::string_view(m_notes).substr(from, m_items[index].noteLength);
}

bool WorkRun::Insert(int status, Time time, std::string_view note) {
    if (m_items.size() >= k_MaxElements)
        return false;
    int const stage = StageOf(status);
    size_t at = m_items.size();
    size_t noteAt = m_notes.size();
    while (at > 0) {
        Item const& before = m_items[at - 1];
        int const beforeStage = StageOf(before.status);
        std::string_view const beforeNote =
            std::string_view(m_notes).substr(noteAt - before.noteLength, before.noteLength);
        auto const order =
            std::tie(beforeStage, before.time, before.status, beforeNote) <=> std::tie(stage, time, status, note);
        if (order == 0)
            return false;
        if (order < 0)
            break;
        --at;
        noteAt -= before.noteLength;
    }
    std::string text = m_notes.Str();
    text.insert(noteAt, note);
    m_items.insert(m_items.begin() + static_cast<ptrdiff_t>(at),
                   Item{time, status, static_cast<uint32_t>(note.size())});
    m_notes = String(std::move(text));
    return true;
}

WorkRun::Item const* WorkRun::LastBeforeClosing() const noexcept {
    for (auto item = m_items.rbegin(); item != m_items.rend(); ++item) {
        if (item->status != JobStatus::Closed)
            return &*item;
    }
    return nullptr;
}

int WorkRun::Status() const noexcept {
    Item const* const last = LastBeforeClosing();
    return last ? last->status : 0;
}

Time WorkRun::StartTime() const noexcept {
    for (Item const& item : m_items) {
        if (item.status == JobStatus::Started)
            return item.time;
    }
    return {};
}

bool WorkRun::HasEnded() const noexcept {
    Item const* const last = LastBeforeClosing();
    return last && StageOf(last->status) == 3;
}

Time WorkRun::EndTime() const noexcept { return HasEnded() ? LastBeforeClosing()->time : Time(); }

String WorkRun::LastNote() const {
    Item const* const last = LastBeforeClosing();
    return last ? String(NoteAt(static_cast<size_t>(last - m_items.data()))) : String();
}

bool WorkRun::IsActive() const noexcept { return IsActiveStatus(Status()); }

Time WorkRun::RunTime() const { return RunTime(Time::CurrentTime()); }

Time WorkRun::RunTime(Time now) const noexcept {
    Time const start = StartTime();
    if (start.IsZero())
        return {};
    return std::max(Time(), (HasEnded() ? EndTime() : now) - start);
}

WorkRun const& WorkHistory::operator[](size_t index) const noexcept {
    return index < m_runs.size() ? *m_runs[index] : EmptyRun();
}

size_t WorkHistory::PlaceOf(Time first, UID const& work) const noexcept {
    auto const less = [&](WorkRun const* run, Time) {
        Time const begun = run->FirstElementTime();
        return begun < first || (begun == first && run->Work() < work);
    };
    return static_cast<size_t>(std::lower_bound(m_runs.begin(), m_runs.end(), first, less) - m_runs.begin());
}

Time WorkHistory::TotalTime(Time now) const noexcept {
    Time total(static_cast<int64_t>(m_endedMs));
    uint32_t active = m_active;
    for (auto run = m_runs.rbegin(); active > 0; ++run) {
        if ((*run)->HasEnded() || (*run)->StartTime().IsZero())
            continue;
        total += (*run)->RunTime(now);
        --active;
    }
    return total;
}

Time WorkHistory::TotalTime(JobHistory& history, String const& key) const {
    Time const total = TotalTime(Time::CurrentTime());
    if (key != k_DontUpdateLongestTotal)
        history.NoteTotal(key, total);
    return total;
}

} // namespace vorlan
