#pragma once

#include "farmprocess.h"

#include "master/store/sqlstore.h"

#include <vector>

namespace bench {

inline Path StoreFile() { return Components::Folder("VorlanMaster") / Path("farm.db"); }

// Writes the Jobs as a Master keeps them, before it runs, numbered from 1 on, and what
// `more` adds.
inline void FillStore(std::vector<boost::shared_ptr<Job>> const& jobs,
                      std::function<void(farm::SqlStore&)> const& more = {}) {
    constexpr size_t k_Batch = 1000;
    corekit::File::MakeFolder(StoreFile().Branch());
    String report;
    auto const store = farm::OpenSqliteStore(StoreFile(), report);
    std::vector<farm::Record> records;
    uint64_t number = 0;
    for (auto const& job : jobs) {
        farm::Record record;
        record.kind = farm::RecordKind::Job;
        record.number = record.job = ++number;
        record.id = String(reinterpret_cast<char const*>(job->id.Bytes()), UID::k_Size);
        record.body = EncodeJob(*job);
        records.push_back(std::move(record));
        if (records.size() == k_Batch || number == jobs.size()) {
            store->Commit(records);
            records.clear();
        }
    }
    if (more)
        more(*store);
}

} // namespace bench
