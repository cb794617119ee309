#include "master/store/sqlstore.h"

#include <corekit/sformat.h>
#include <corekit/time.h>

#include <filesystem>
#include <vector>

namespace farm {

using corekit::Path;
using corekit::SFormat;
using corekit::String;
using corekit::Time;

namespace {

constexpr size_t k_SalvageBatch = 1000;

// The side files that belong to an SQLite file.
constexpr char const* k_Companions[] = {"", "-wal", "-shm"};

String Connection(std::filesystem::path const& file) { return "sqlite3://" + file.string(); }

// Reads what can be read; true when that was all of it.
bool ReadAll(SqlStore& store, std::vector<Record>& records) {
    try {
        store.LoadAll([&](Record const& record) { records.push_back(record); });
        return true;
    } catch (StoreException const&) {
        return false;
    }
}

void MoveAside(std::filesystem::path const& file, std::filesystem::path const& aside) {
    for (char const* companion : k_Companions) {
        std::error_code ignored;
        std::filesystem::rename(file.string() + companion, aside.string() + companion, ignored);
    }
}

} // namespace

std::unique_ptr<SqlStore> OpenSqliteStore(Path const& path, String& report) {
    report = String();
    std::filesystem::path const file = path.Native();
    std::vector<Record> records;
    try {
        auto store = std::make_unique<SqlStore>(Connection(file));
        bool const sound = store->IsSound();
        if (ReadAll(*store, records) && sound)
            return store;
    } catch (StoreException const& error) {
        if (error.What() != StoreException::Cause::Damage)
            throw;
    }

    std::filesystem::path const aside = file.string() + ".damaged-" + Time::CurrentTime().Format("%Y%m%d-%H%M%S").Str();
    MoveAside(file, aside);
    auto mended = std::make_unique<SqlStore>(Connection(file));
    for (size_t from = 0; from < records.size(); from += k_SalvageBatch) {
        size_t const count = std::min(k_SalvageBatch, records.size() - from);
        mended->Commit(std::span<Record const>(records).subspan(from, count));
    }
    report = SFormat("The store was damaged: %llu records were saved into a new one, the damaged file is kept as %s. "
                     "Jobs that are missing must be submitted again.",
                     static_cast<unsigned long long>(records.size()), aside.c_str());
    return mended;
}

} // namespace farm
