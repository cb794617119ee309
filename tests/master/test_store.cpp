#include "master/postgresserver.h"
#include "master/store/sealedstore.h"
#include "master/store/sqlstore.h"

#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>
#include <vorlan/job.h>
#include <vorlan/keys.h>
#include <vorlan/message.h>

namespace corekit::test_store {

using namespace farm;

class StoreTest : public ::testing::Test {
protected:
    String Connection() const { return "sqlite3://" + m_file; }

    TempFolder m_folder;
    Path const m_file = m_folder / "farm.db";
};

Record Put(RecordKind kind, uint64_t number, uint64_t job, String body, String id = {}) {
    Record record;
    record.kind = kind;
    record.op = Record::Op::Put;
    record.number = number;
    record.job = job;
    record.id = std::move(id);
    record.body = std::move(body);
    return record;
}

Record Remove(Record::Op op, RecordKind kind, uint64_t key) {
    Record record = Put(kind, key, key, {});
    record.op = op;
    return record;
}

std::vector<Record> All(Store& store) {
    std::vector<Record> records;
    store.LoadAll([&](Record const& record) { records.push_back(record); });
    return records;
}

int TidyAll(Store& store) {
    int pieces = 0;
    while (store.Tidy())
        ++pieces;
    return pieces;
}

// What a store holds, as text that can be compared.
std::vector<String> Contents(Store& store) {
    std::vector<String> lines;
    for (Record const& record : All(store)) {
        lines.push_back(SFormat("%d ", static_cast<int>(record.kind)) + String::From(record.number) + " " +
                        String::From(record.job) + " " + record.id + " " + record.body);
    }
    return lines;
}

std::vector<Record> SomeHistory() {
    std::vector<Record> records = {Put(RecordKind::Job, 1, 1, "job one"),
                                   Put(RecordKind::Job, 2, 2, String("zero \0 and \xff", 12), String("\0\1\2", 3)),
                                   Put(RecordKind::History, 10, 1, "a"),
                                   Put(RecordKind::History, 11, 2, "b"),
                                   Put(RecordKind::History, 12, 1, ""),
                                   Put(RecordKind::Job, 1, 1, "job one, changed"),
                                   Remove(Record::Op::EraseJob, RecordKind::History, 2),
                                   Put(RecordKind::Engine, 1ULL << 40, 0, "far"),
                                   Put(RecordKind::Pool, 3, 0, "gone"),
                                   Remove(Record::Op::Erase, RecordKind::Pool, 3)};
    std::mt19937 random(7);
    for (uint64_t number = 1; number <= 200; ++number) {
        String body(random() % 700, '\0');
        for (char& byte : body)
            byte = static_cast<char>(random());
        records.push_back(Put(RecordKind::Option, number, 0, body, body.Mid(0, body.size() % 17)));
    }
    return records;
}

void KeepsRecordsLikeTheStoreInMemory(String const& connection) {
    MemoryStore memory;
    memory.Commit(SomeHistory());
    for (bool const isNew : {true, false}) {
        SqlStore store(connection);
        if (isNew)
            store.Commit(SomeHistory());
        TidyAll(store);
        EXPECT_EQ(Contents(store), Contents(memory));
        EXPECT_EQ(All(store).size(), 205U);
    }
}

TEST_F(StoreTest, KeepsRecordsLikeTheStoreInMemoryAndAcrossAReopening) {
    KeepsRecordsLikeTheStoreInMemory(Connection());
}

TEST_F(StoreTest, KeepsThemInPostgresToo) {
    if (!PostgresServer::Programs())
        GTEST_SKIP() << "no PostgreSQL server is installed";
    PostgresServer server;
    ASSERT_TRUE(server.Start());
    KeepsRecordsLikeTheStoreInMemory(server.Connection());
}

// A Job's many runs go piece by piece, and no statement looks through a table.
TEST_F(StoreTest, DeletingTakesNoTimeThatGrowsWithWhatIsStored) {
    std::vector<Record> runs;
    for (uint64_t number = 1; number <= 3000; ++number)
        runs.push_back(Put(RecordKind::History, number, 1 + number % 3, "a run"));
    std::vector<String> left;
    {
        SqlStore store(Connection());
        store.Commit(runs);
        for (String const& step : store.Plans())
            EXPECT_FALSE(step.Contains("SCAN")) << step;
        EXPECT_FALSE(store.Plans().empty());
        store.Commit(std::vector<Record>{Remove(Record::Op::EraseJob, RecordKind::History, 1)});
        left = Contents(store);
        EXPECT_EQ(left.size(), 2001U) << "nobody is told of them, but their numbers are not given out again";
    }
    SqlStore again(Connection());
    EXPECT_EQ(Contents(again), left);
    EXPECT_GT(TidyAll(again), 0);
    EXPECT_EQ(Contents(again).size(), 2000U);
}

TEST_F(StoreTest, AFileOfOldIsWrittenAnewAndGivesBackItsRoom) {
    SqlStore(Connection()).Commit(SomeHistory());
    MemoryStore memory;
    memory.Commit(SomeHistory());
    {
        soci::session old(soci::sqlite3, "dbname=" + m_file.Str());
        for (int kind = 1; kind <= 11; ++kind) {
            std::string const table = "record_" + std::to_string(kind);
            old << "CREATE TABLE old (number BIGINT PRIMARY KEY, job BIGINT NOT NULL, id TEXT NOT NULL, "
                   "body TEXT NOT NULL)";
            old << "INSERT INTO old SELECT * FROM " << table;
            old << "DROP TABLE " << table;
            old << "ALTER TABLE old RENAME TO " << table;
            old << "CREATE INDEX " << table << "_job ON " << table << " (job) WHERE job <> 0";
        }
    }
    {
        SqlStore store(Connection());
        TidyAll(store);
        EXPECT_EQ(Contents(store), Contents(memory));
        for (String const& step : store.Plans())
            EXPECT_FALSE(step.Contains("SCAN") || step.Contains("autoindex")) << step;
        std::vector<Record> many;
        std::vector<Record> none;
        for (uint64_t number = 1000; number < 9000; ++number) {
            many.push_back(Put(RecordKind::Option, number, 0, String(1000, 'x')));
            none.push_back(Remove(Record::Op::Erase, RecordKind::Option, number));
        }
        store.Commit(many);
        store.Commit(none);
    }
    SqlStore store(Connection());
    EXPECT_GT(TidyAll(store), 5);
    EXPECT_EQ(Contents(store), Contents(memory));
}

// Whoever has the file alone reads no password, not even one from before there was a key.
TEST_F(StoreTest, PasswordsAreEncrypted) {
    vorlan::Job job(UID(true));
    job.SetValues({{vorlan::p_Name, "renders"}, {vorlan::p_Username, "artist"}, {vorlan::p_Password, "hunter2"}});
    String const body = vorlan::EncodeJob(job);
    std::vector<Record> const rows = {Put(RecordKind::Job, 1, 1, body), Put(RecordKind::Job, 2, 2, "another Job")};
    SqlStore(Connection()).Commit(std::span(rows).first(1));
    for (int round = 0; round < 2; ++round) {
        SealedStore store(std::make_unique<SqlStore>(Connection()),
                          vorlan::SecretsKey::LoadOrCreate(m_folder.Folder()));
        EXPECT_EQ(All(store).front().body, body);
        store.Commit(rows);
    }
    {
        SqlStore bare(Connection());
        auto const stored = All(bare);
        ASSERT_EQ(stored.size(), 2U);
        EXPECT_FALSE(stored[0].body.Contains("hunter2"));
        EXPECT_EQ(stored[1].body, "another Job");
    }
    TempFolder other;
    SealedStore store(std::make_unique<SqlStore>(Connection()), vorlan::SecretsKey::LoadOrCreate(other.Folder()));
    LogLines log;
    EXPECT_EQ(All(store).size(), 1U);
    EXPECT_TRUE(log.Has("secrets.key"));
    for (Path const& file : {m_file, vorlan::SecretsKey::FilePath(m_folder.Folder())}) {
        using std::filesystem::perms;
        EXPECT_EQ(std::filesystem::status(file.Native()).permissions(), perms::owner_read | perms::owner_write) << file;
    }
}

TEST_F(StoreTest, AFailedStatementTellsNoValues) {
    SqlStore store(Connection());
    store.LimitPages(1);
    try {
        store.Commit(std::vector<Record>{Put(RecordKind::Job, 1, 1, String(100'000, 'x') + "hunter2", "artist")});
        FAIL();
    } catch (StoreException const& error) {
        EXPECT_EQ(error.Message(), "The store could not be written: its disk is full. Make room on it.");
    }
}

TEST_F(StoreTest, AFullDiskLosesTheWholeCommitAndNothingElse) {
    SqlStore store(Connection());
    store.Commit(SomeHistory());
    auto const before = Contents(store);
    store.LimitPages(100);
    std::vector<Record> large;
    for (uint64_t number = 100; number < 200; ++number)
        large.push_back(Put(RecordKind::Job, number, number, String(8000, 'x')));
    EXPECT_THROW(store.Commit(large), StoreException);
    EXPECT_EQ(Contents(store), before);

    store.LimitPages(100000);
    store.Commit(large);
    EXPECT_EQ(Contents(store).size(), before.size() + large.size());
}

TEST_F(StoreTest, ADamagedFileIsMendedAndKept) {
    std::vector<Record> records;
    for (uint64_t number = 1; number <= 2000; ++number)
        records.push_back(Put(RecordKind::Job, number, number, String(300, 'j')));
    struct Damage {
        char const* name;
        std::function<void(std::filesystem::path const&)> apply;
    };
    Damage const damages[] = {
        {"no data base at all", [](auto const& file) { std::ofstream(file) << std::string(20000, 'g'); }},
        {"cut in half", [](auto const& file) { resize_file(file, file_size(file) / 2); }},
        {"a page of rubbish",
         [](auto const& file) {
             std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
             stream.seekp(static_cast<std::streamoff>(file_size(file) / 2));
             stream << std::string(4096, '\x5a');
         }},
    };
    for (Damage const& damage : damages) {
        SCOPED_TRACE(damage.name);
        TempFolder const folder;
        Path const file = folder / "farm.db";
        SqlStore("sqlite3://" + file).Commit(records);
        damage.apply(file.Native());

        String report;
        auto mended = OpenSqliteStore(file, report);
        EXPECT_FALSE(report.Empty());
        EXPECT_TRUE(mended->IsSound());
        mended->Commit(std::vector<Record>{Put(RecordKind::Job, 5000, 5000, "new")});
        EXPECT_FALSE(All(*mended).empty());
        auto const names = folder.Names();
        EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](auto& name) { return name.Contains(".damaged-"); }));
    }
}

TEST_F(StoreTest, AStoreThatCannotBeOpenedSaysSoAndMovesNothing) {
    String report;
    EXPECT_THROW(OpenSqliteStore(m_folder / "no/such/folder/farm.db", report), StoreException);
    EXPECT_TRUE(m_folder.Names().empty());
    try {
        SqlStore store("postgresql://host=/no/such/folder dbname=farm");
        FAIL();
    } catch (StoreException const& error) {
        EXPECT_TRUE(error.Message().Contains("cannot be opened"));
    }
}

} // namespace corekit::test_store
