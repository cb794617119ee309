#pragma once

#include "farmprocess.h"

#include "master/store/sqlstore.h"

#include <vector>

namespace bench {

// Writes the Jobs as a Master keeps them, before it runs.
inline void FillStore(std::vector<boost::shared_ptr<Job>> const& jobs) {
    constexpr size_t k_Batch = 1000;
    Path const folder = Components::Folder("VorlanMaster");
    corekit::File::MakeFolder(folder);
    String report;
    auto const store = farm::OpenSqliteStore(folder / Path("farm.db"), report);
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
}

} // namespace bench
