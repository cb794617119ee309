#include "master/store/store.h"

namespace farm {

void MemoryStore::LoadAll(std::function<void(Record const&)> const& take) {
    for (auto const& [key, record] : m_records)
        take(record);
}

void MemoryStore::Commit(std::span<Record const> records) {
    if (m_failures > 0) {
        --m_failures;
        throw StoreException("The store is full.");
    }
    for (Record const& record : records) {
        int const kind = static_cast<int>(record.kind);
        switch (record.op) {
        case Record::Op::Put:
            m_records[{kind, record.number}] = record;
            break;
        case Record::Op::Erase:
            m_records.erase({kind, record.number});
            break;
        case Record::Op::EraseJob:
            std::erase_if(m_records, [&](auto const& entry) {
                return entry.first.first == kind && entry.second.job == record.job;
            });
            break;
        }
    }
}

} // namespace farm
