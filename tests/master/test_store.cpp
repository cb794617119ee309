#include "master/store/sqlstore.h"

#include <corekit/file.h>
#include <corekit/uid.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

using corekit::Path;
using corekit::String;
using namespace farm;

namespace {

class StoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_folder = std::filesystem::temp_directory_path() / ("vorlan-store-" + corekit::UID(true).ToString().Str());
        std::filesystem::create_directories(m_folder);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::filesystem::path File() const { return m_folder / "farm.db"; }
    String Connection() const { return "sqlite3://" + File().string(); }

    std::filesystem::path m_folder;
};

Record Put(RecordKind kind, uint64_t number, uint64_t job, std::string body, std::string id = "") {
    Record record;
    record.kind = kind;
    record.op = Record::Op::Put;
    record.number = number;
    record.job = job;
    record.id = String(std::move(id));
    record.body = String(std::move(body));
    return record;
}

Record Remove(Record::Op op, RecordKind kind, uint64_t key) {
    Record record;
    record.kind = kind;
    record.op = op;
    (op == Record::Op::Erase ? record.number : record.job) = key;
    return record;
}

std::vector<Record> All(Store& store) {
    std::vector<Record> records;
    store.LoadAll([&](Record const& record) { records.push_back(record); });
    return records;
}

/// What a store holds, as text that can be compared.
std::vector<std::string> Contents(Store& store) {
    std::vector<std::string> lines;
    for (Record const& record : All(store)) {
        lines.push_back(std::to_string(static_cast<int>(record.kind)) + " " + std::to_string(record.number) + " " +
                        std::to_string(record.job) + " " + record.id.Str() + " " + record.body.Str());
    }
    return lines;
}

std::vector<Record> SomeHistory() {
    return {Put(RecordKind::Job, 1, 1, "job one"),
            Put(RecordKind::Job, 2, 2, std::string("zero \0 and \xff", 12), std::string("\0\1\2", 3)),
            Put(RecordKind::History, 10, 1, "a"),
            Put(RecordKind::History, 11, 2, "b"),
            Put(RecordKind::History, 12, 1, ""),
            Put(RecordKind::Job, 1, 1, "job one, changed"),
            Remove(Record::Op::EraseJob, RecordKind::History, 2),
            Put(RecordKind::Engine, 1ULL << 40, 0, "far"),
            Put(RecordKind::Pool, 3, 0, "gone"),
            Remove(Record::Op::Erase, RecordKind::Pool, 3)};
}

} // namespace

TEST_F(StoreTest, KeepsRecordsLikeTheStoreInMemoryAndAcrossAReopening) {
    MemoryStore memory;
    memory.Commit(SomeHistory());
    {
        SqlStore store(Connection());
        store.Commit(SomeHistory());
        EXPECT_EQ(Contents(store), Contents(memory));
    }
    SqlStore again(Connection());
    EXPECT_EQ(Contents(again), Contents(memory));
    EXPECT_EQ(All(again).size(), 5U);
}

TEST_F(StoreTest, KeepsAnyBytes) {
    std::mt19937 random(7);
    std::vector<Record> records;
    for (uint64_t number = 1; number <= 200; ++number) {
        std::string body(random() % 700, '\0');
        for (char& byte : body) {
            byte = static_cast<char>(random());
        }
        records.push_back(Put(RecordKind::Option, number, 0, body, body.substr(0, body.size() % 17)));
    }
    SqlStore store(Connection());
    store.Commit(records);
    auto const read = All(store);
    ASSERT_EQ(read.size(), records.size());
    for (size_t i = 0; i < read.size(); ++i) {
        EXPECT_EQ(read[i].body, records[i].body);
        EXPECT_EQ(read[i].id, records[i].id);
    }
}

TEST_F(StoreTest, AFullDiskLosesTheWholeCommitAndNothingElse) {
    SqlStore store(Connection());
    store.Commit(SomeHistory());
    auto const before = Contents(store);
    store.LimitPages(80);

    std::vector<Record> large;
    for (uint64_t number = 100; number < 200; ++number) {
        large.push_back(Put(RecordKind::Job, number, number, std::string(8000, 'x')));
    }
    EXPECT_THROW(store.Commit(large), StoreException);
    EXPECT_EQ(Contents(store), before);

    store.LimitPages(100000);
    store.Commit(large);
    EXPECT_EQ(Contents(store).size(), before.size() + large.size());
}

TEST_F(StoreTest, ADamagedFileIsMendedAndKept) {
    struct Damage {
        char const* name;
        std::function<void(std::filesystem::path const&)> apply;
    };
    Damage const damages[] = {
        {"no data base at all", [](auto const& file) { std::ofstream(file) << std::string(20000, 'g'); }},
        {"cut in half",
         [](auto const& file) { std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2); }},
        {"a page of rubbish",
         [](auto const& file) {
             std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
             stream.seekp(static_cast<std::streamoff>(std::filesystem::file_size(file) / 2));
             stream << std::string(4096, '\x5a');
         }},
    };
    for (Damage const& damage : damages) {
        SCOPED_TRACE(damage.name);
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
        {
            SqlStore store(Connection());
            std::vector<Record> records;
            for (uint64_t number = 1; number <= 2000; ++number) {
                records.push_back(Put(RecordKind::Job, number, number, std::string(300, 'j')));
            }
            store.Commit(records);
        }
        damage.apply(File());

        String report;
        auto mended = OpenSqliteStore(Path(String(File().string())), report);
        EXPECT_FALSE(report.Empty());
        EXPECT_TRUE(mended->IsSound());
        mended->Commit(std::vector<Record>{Put(RecordKind::Job, 5000, 5000, "new")});
        EXPECT_FALSE(All(*mended).empty());
        size_t kept = 0;
        for (auto const& entry : std::filesystem::directory_iterator(m_folder)) {
            kept += entry.path().string().find(".damaged-") != std::string::npos ? 1 : 0;
        }
        EXPECT_GE(kept, 1U);
    }
}

TEST_F(StoreTest, AStoreThatCannotBeOpenedSaysSoAndMovesNothing) {
    std::filesystem::path const missing = m_folder / "no" / "such" / "folder" / "farm.db";
    String report;
    EXPECT_THROW(OpenSqliteStore(Path(String(missing.string())), report), StoreException);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder));
}
