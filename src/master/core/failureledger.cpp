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
    entry.item.time = time;
    ++m_byJob[job];
    ++m_byProduct[{entry.item.product, engine}];
    return entry;
}

void FailureLedger::Restore(FailureEntry const& entry) {
    m_entries[{entry.item.job, entry.item.engine}] = entry;
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

template <class Matches>
std::vector<uint64_t> FailureLedger::Remove(Matches matches) {
    std::vector<uint64_t> numbers;
    for (auto at = m_entries.begin(); at != m_entries.end();) {
        vorlan::FailureItem const& item = at->second.item;
        if (!matches(item)) {
            ++at;
            continue;
        }
        numbers.push_back(at->second.number);
        if ((m_byJob[item.job] -= item.count) == 0)
            m_byJob.erase(item.job);
        if ((m_byProduct[{item.product, item.engine}] -= item.count) == 0)
            m_byProduct.erase({item.product, item.engine});
        at = m_entries.erase(at);
    }
    return numbers;
}

std::vector<uint64_t> FailureLedger::RemoveJob(UID const& job) {
    if (!m_byJob.contains(job))
        return {};
    return Remove([&](vorlan::FailureItem const& item) { return item.job == job; });
}

std::vector<uint64_t> FailureLedger::RemoveEngine(UID const& engine) {
    return Remove([&](vorlan::FailureItem const& item) { return item.engine == engine; });
}

std::vector<vorlan::FailureItem> FailureLedger::Items() const {
    std::vector<vorlan::FailureItem> items;
    items.reserve(m_entries.size());
    for (auto const& [key, entry] : m_entries)
        items.push_back(entry.item);
    return items;
}

} // namespace farm
