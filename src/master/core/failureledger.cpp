#include "master/core/failureledger.h"

namespace farm {

namespace {

template <class Map, class Key>
unsigned CountAt(Map const& map, Key const& key) {
    auto const at = map.find(key);
    return at == map.end() ? 0 : at->second;
}

} // namespace

FailureEntry const& FailureLedger::Add(UID const& job, UID const& engine, UID const& product, Time time,
                                       uint64_t number) {
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
    ++m_byJob[job];
    ++m_byProduct[{entry.item.product, engine}];
    return entry;
}

void FailureLedger::Restore(FailureEntry const& entry) {
    m_entries[{entry.item.job, entry.item.engine}] = entry;
    if (entry.item.count == 0)
        return;
    m_byJob[entry.item.job] += entry.item.count;
    m_byProduct[{entry.item.product, entry.item.engine}] += entry.item.count;
}

unsigned FailureLedger::OfJob(UID const& job) const { return CountAt(m_byJob, job); }

unsigned FailureLedger::OnEngine(UID const& job, UID const& engine) const {
    auto const at = m_entries.find({job, engine});
    return at == m_entries.end() ? 0 : at->second.item.count;
}

unsigned FailureLedger::OfProductOn(UID const& product, UID const& engine) const {
    return CountAt(m_byProduct, Key{product, engine});
}

void FailureLedger::Reset(FailureEntry& entry, std::vector<FailureEntry>& changed) {
    vorlan::FailureItem& item = entry.item;
    if (item.count == 0)
        return;
    if ((m_byJob[item.job] -= item.count) == 0)
        m_byJob.erase(item.job);
    if ((m_byProduct[{item.product, item.engine}] -= item.count) == 0)
        m_byProduct.erase({item.product, item.engine});
    item.count = 0;
    changed.push_back(entry);
}

FailureLedger::Entries::iterator FailureLedger::Remove(Entries::iterator at, std::vector<uint64_t>& numbers) {
    std::vector<FailureEntry> changed;
    Reset(at->second, changed);
    numbers.push_back(at->second.number);
    return m_entries.erase(at);
}

std::vector<FailureEntry> FailureLedger::ResetJob(UID const& job) {
    std::vector<FailureEntry> changed;
    for (auto at = m_entries.lower_bound({job, UID::Null}); at != m_entries.end() && at->first.first == job; ++at)
        Reset(at->second, changed);
    return changed;
}

std::vector<FailureEntry> FailureLedger::ResetEngine(UID const& engine) {
    std::vector<FailureEntry> changed;
    for (auto& [key, entry] : m_entries) {
        if (key.second == engine)
            Reset(entry, changed);
    }
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
    for (auto at = m_entries.begin(); at != m_entries.end();)
        at = at->first.second == engine ? Remove(at, numbers) : std::next(at);
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
