#include "master/core/failureledger.h"

#include <algorithm>
#include <cctype>

namespace farm {

namespace {

constexpr size_t k_ComparedLength = 200;
// A fault of the Engine shows in that many Jobs at least.
constexpr unsigned k_Several = 2;

// What two failures of one cause share: times, frames and the like are numbers.
String WithoutNumbers(String const& note) {
    std::string kept;
    for (char const c : note.Str().substr(0, k_ComparedLength)) {
        if (!std::isdigit(static_cast<unsigned char>(c)))
            kept += c;
    }
    return String(kept);
}

} // namespace

void FailureLedger::Index(FailureEntry const& entry) {
    vorlan::FailureItem const& item = entry.item;
    Against& against = m_against[{item.engine, item.product}];
    against.jobs.insert(item.job);
    if (item.count > 0 && !entry.cleared)
        against.open.insert(item.job);
    else
        against.open.erase(item.job);
    against.counted.reset();
}

unsigned FailureLedger::Counted(UID const& engine, Against const& against) const {
    if (against.counted)
        return *against.counted;
    std::map<String, unsigned> alike;
    for (UID const& job : against.open)
        ++alike[m_entries.at({job, engine}).note];
    against.counted =
        static_cast<unsigned>(std::count_if(against.open.begin(), against.open.end(), [&](UID const& job) {
            FailureEntry const& entry = m_entries.at({job, engine});
            return entry.finishedElsewhere || alike[entry.note] >= k_Several;
        }));
    return *against.counted;
}

FailureEntry const& FailureLedger::Add(UID const& job, UID const& engine, UID const& product, Time time,
                                       String const& note, uint64_t number) {
    auto [at, isNew] = m_entries.try_emplace({job, engine});
    FailureEntry& entry = at->second;
    if (isNew) {
        entry.number = number;
        entry.item.job = job;
        entry.item.engine = engine;
        entry.item.product = product;
    }
    ++entry.item.count;
    ++entry.item.total;
    entry.item.time = time;
    entry.note = WithoutNumbers(note);
    entry.cleared = false;
    ++m_byJob[job];
    Index(entry);
    return entry;
}

void FailureLedger::Restore(FailureEntry const& entry) {
    FailureEntry& known = m_entries[{entry.item.job, entry.item.engine}];
    std::vector<FailureEntry> changed;
    Reset(known, changed);
    known = entry;
    if (entry.item.count > 0)
        m_byJob[entry.item.job] += entry.item.count;
    Index(entry);
}

void FailureLedger::RemoveRow(uint64_t number) {
    std::vector<uint64_t> numbers;
    auto const at = std::find_if(m_entries.begin(), m_entries.end(),
                                 [number](auto const& entry) { return entry.second.number == number; });
    if (at != m_entries.end())
        Remove(at, numbers);
}

unsigned FailureLedger::OfJob(UID const& job) const {
    auto const at = m_byJob.find(job);
    return at == m_byJob.end() ? 0 : at->second;
}

unsigned FailureLedger::OnEngine(UID const& job, UID const& engine) const {
    auto const at = m_entries.find({job, engine});
    return at == m_entries.end() ? 0 : at->second.item.count;
}

unsigned FailureLedger::JobsAgainst(UID const& product, UID const& engine) const {
    auto const at = m_against.find({engine, product});
    return at == m_against.end() ? 0 : Counted(engine, at->second);
}

std::set<UID> FailureLedger::ProductsAgainst(UID const& engine, unsigned limit) const {
    std::set<UID> products;
    for (auto at = m_against.lower_bound({engine, UID::Null}); at != m_against.end() && at->first.first == engine;
         ++at) {
        if (limit > 0 && Counted(engine, at->second) >= limit)
            products.insert(at->first.second);
    }
    return products;
}

FailureEntry const* FailureLedger::NoteFinishedElsewhere(UID const& job, UID const& engine) {
    auto const at = m_entries.find({job, engine});
    if (at == m_entries.end() || at->second.finishedElsewhere)
        return nullptr;
    at->second.finishedElsewhere = true;
    Index(at->second);
    return &at->second;
}

std::vector<FailureEntry> FailureLedger::NoteSuccess(UID const& job, UID const& engine, UID const& product) {
    std::vector<FailureEntry> changed;
    auto const at = m_against.find({engine, product});
    if (at == m_against.end() || at->second.open.empty())
        return changed;
    for (UID const& other : std::set<UID>(at->second.open)) {
        if (other == job)
            continue;
        FailureEntry& entry = m_entries.at({other, engine});
        entry.cleared = true;
        changed.push_back(entry);
        Index(entry);
    }
    return changed;
}

void FailureLedger::Reset(FailureEntry& entry, std::vector<FailureEntry>& changed) {
    vorlan::FailureItem& item = entry.item;
    if (item.count == 0)
        return;
    if ((m_byJob[item.job] -= item.count) == 0)
        m_byJob.erase(item.job);
    item.count = 0;
    Index(entry);
    changed.push_back(entry);
}

FailureLedger::Entries::iterator FailureLedger::Remove(Entries::iterator at, std::vector<uint64_t>& numbers) {
    std::vector<FailureEntry> changed;
    Reset(at->second, changed);
    numbers.push_back(at->second.number);
    auto const against = m_against.find({at->first.second, at->second.item.product});
    against->second.jobs.erase(at->first.first);
    if (against->second.jobs.empty())
        m_against.erase(against);
    return m_entries.erase(at);
}

std::vector<UID> FailureLedger::JobsOn(UID const& engine) const {
    std::vector<UID> jobs;
    for (auto at = m_against.lower_bound({engine, UID::Null}); at != m_against.end() && at->first.first == engine; ++at)
        jobs.insert(jobs.end(), at->second.jobs.begin(), at->second.jobs.end());
    return jobs;
}

std::vector<FailureEntry> FailureLedger::ResetJob(UID const& job) {
    std::vector<FailureEntry> changed;
    for (auto at = m_entries.lower_bound({job, UID::Null}); at != m_entries.end() && at->first.first == job; ++at)
        Reset(at->second, changed);
    return changed;
}

std::vector<FailureEntry> FailureLedger::ResetEngine(UID const& engine) {
    std::vector<FailureEntry> changed;
    for (UID const& job : JobsOn(engine))
        Reset(m_entries.at({job, engine}), changed);
    return changed;
}

std::vector<uint64_t> FailureLedger::RemoveReset(UID const& job) {
    std::vector<uint64_t> numbers;
    for (auto at = m_entries.lower_bound({job, UID::Null}); at != m_entries.end() && at->first.first == job;)
        at = at->second.item.count == 0 ? Remove(at, numbers) : std::next(at);
    return numbers;
}

std::vector<uint64_t> FailureLedger::RemoveEngine(UID const& engine) {
    std::vector<uint64_t> numbers;
    for (UID const& job : JobsOn(engine))
        Remove(m_entries.find({job, engine}), numbers);
    return numbers;
}

std::vector<vorlan::FailureItem> FailureLedger::Items() const {
    std::vector<vorlan::FailureItem> items;
    items.reserve(m_entries.size());
    for (auto const& [key, entry] : m_entries)
        items.push_back(entry.item);
    return items;
}

} // namespace farm
