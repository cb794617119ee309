#include "master/store/sqlstore.h"

#include "master/store/base64.h"

#include <corekit/sformat.h>

#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include <map>

namespace farm {

using corekit::SFormat;
using corekit::String;

namespace {

constexpr int k_FirstKind = 1;
constexpr int k_LastKind = static_cast<int>(RecordKind::EngineHistory);

// The schema's own number, stored so that a later Master can tell what it opens.
constexpr int k_SchemaVersion = 1;

std::string TableName(int kind) { return "record_" + std::to_string(kind); }

StoreException::Cause CauseOf(soci::soci_error const& error) {
    constexpr int k_Corrupt = 11;
    constexpr int k_NotADatabase = 26;
    auto const* sqliteError = dynamic_cast<soci::sqlite3_soci_error const*>(&error);
    bool const damaged = sqliteError && (sqliteError->result() == k_Corrupt || sqliteError->result() == k_NotADatabase);
    return damaged ? StoreException::Cause::Damage : StoreException::Cause::Surroundings;
}

// A prepared statement with the variables that it reads.
struct PreparedPut {
    long long number = 0;
    long long job = 0;
    std::string id;
    std::string body;
    std::unique_ptr<soci::statement> statement;
};

struct PreparedErase {
    long long key = 0;
    std::unique_ptr<soci::statement> statement;
};

} // namespace

struct SqlStore::Impl {
    soci::session session;
    bool sqlite = false;
    std::map<int, PreparedPut> puts;
    std::map<int, PreparedErase> erases;
    std::map<int, PreparedErase> jobErases;

    void Open(std::string const& connection);
    void MakeTables();
    void Apply(Record const& record);
    void Put(Record const& record);
    void Erase(std::map<int, PreparedErase>& statements, char const* column, int kind, uint64_t key);
    void ForgetStatements();
};

void SqlStore::Impl::Open(std::string const& connection) {
    constexpr std::string_view sqlitePrefix = "sqlite3://";
    sqlite = connection.starts_with(sqlitePrefix);
    if (sqlite) {
        session.open(soci::sqlite3, "dbname=\"" + connection.substr(sqlitePrefix.size()) + "\"");
        session << "PRAGMA journal_mode=WAL";
        session << "PRAGMA synchronous=FULL";
        session << "PRAGMA busy_timeout=5000";
    } else {
        constexpr std::string_view postgresPrefix = "postgresql://";
        bool const prefixed = connection.starts_with(postgresPrefix);
        session.open(soci::postgresql, prefixed ? connection.substr(postgresPrefix.size()) : connection);
        session << "SET client_min_messages = warning"; // tables that exist already are no news
    }
}

void SqlStore::Impl::MakeTables() {
    soci::transaction transaction(session); // one wait for the disk, not one a table
    for (int kind = k_FirstKind; kind <= k_LastKind; ++kind) {
        std::string const table = TableName(kind);
        session << "CREATE TABLE IF NOT EXISTS " << table
                << " (number BIGINT PRIMARY KEY, job BIGINT NOT NULL, id TEXT NOT NULL, body TEXT NOT NULL)";
        session << "CREATE INDEX IF NOT EXISTS " << table << "_job ON " << table << " (job) WHERE job <> 0";
    }
    session << "CREATE TABLE IF NOT EXISTS farm_schema (version INTEGER NOT NULL)";
    int rows = 0;
    session << "SELECT COUNT(*) FROM farm_schema", soci::into(rows);
    if (rows == 0)
        session << "INSERT INTO farm_schema (version) VALUES (" << k_SchemaVersion << ")";
    int version = 0;
    session << "SELECT version FROM farm_schema", soci::into(version);
    if (version > k_SchemaVersion) {
        throw StoreException(SFormat("The store was written by a newer VorlanMaster (form %d, this one knows %d). "
                                     "Start the newer VorlanMaster, or move the store away to begin an empty one.",
                                     version, k_SchemaVersion));
    }
    transaction.commit();
}

void SqlStore::Impl::Put(Record const& record) {
    int const kind = static_cast<int>(record.kind);
    PreparedPut& put = puts[kind];
    if (!put.statement) {
        put.statement = std::make_unique<soci::statement>(
            (session.prepare << "INSERT INTO " << TableName(kind)
                             << " (number, job, id, body) VALUES (:number, :job, :id, :body) ON CONFLICT (number) "
                                "DO UPDATE SET job = excluded.job, id = excluded.id, body = excluded.body",
             soci::use(put.number), soci::use(put.job), soci::use(put.id), soci::use(put.body)));
    }
    put.number = static_cast<long long>(record.number);
    put.job = static_cast<long long>(record.job);
    put.id = EncodeBase64(record.id);
    put.body = EncodeBase64(record.body);
    put.statement->execute(true);
}

void SqlStore::Impl::Erase(std::map<int, PreparedErase>& statements, char const* column, int kind, uint64_t key) {
    PreparedErase& erase = statements[kind];
    if (!erase.statement) {
        erase.statement = std::make_unique<soci::statement>(
            (session.prepare << "DELETE FROM " << TableName(kind) << " WHERE " << column << " = :key",
             soci::use(erase.key)));
    }
    erase.key = static_cast<long long>(key);
    erase.statement->execute(true);
}

void SqlStore::Impl::Apply(Record const& record) {
    int const kind = static_cast<int>(record.kind);
    switch (record.op) {
    case Record::Op::Put:
        Put(record);
        break;
    case Record::Op::Erase:
        Erase(erases, "number", kind, record.number);
        break;
    case Record::Op::EraseJob:
        Erase(jobErases, "job", kind, record.job);
        break;
    }
}

void SqlStore::Impl::ForgetStatements() {
    puts.clear();
    erases.clear();
    jobErases.clear();
}

SqlStore::SqlStore(String const& connection) : m_impl(std::make_unique<Impl>()) {
    try {
        m_impl->Open(connection.Str());
        m_impl->MakeTables();
    } catch (soci::soci_error const& error) {
        throw StoreException(SFormat("The store %s cannot be opened: %s. Check that it exists, that this user may "
                                     "write it, and that the disk has room.",
                                     connection.c_str(), error.what()),
                             CauseOf(error));
    }
}

SqlStore::~SqlStore() { m_impl->ForgetStatements(); }

void SqlStore::LoadAll(std::function<void(Record const&)> const& take) {
    try {
        for (int kind = k_FirstKind; kind <= k_LastKind; ++kind) {
            long long number = 0;
            long long job = 0;
            std::string id;
            std::string body;
            soci::statement rows = (m_impl->session.prepare << "SELECT number, job, id, body FROM " << TableName(kind)
                                                            << " ORDER BY number",
                                    soci::into(number), soci::into(job), soci::into(id), soci::into(body));
            rows.execute();
            while (rows.fetch()) {
                Record record;
                record.kind = static_cast<RecordKind>(kind);
                record.op = Record::Op::Put;
                record.number = static_cast<uint64_t>(number);
                record.job = static_cast<uint64_t>(job);
                record.id = DecodeBase64(id);
                record.body = DecodeBase64(body);
                take(record);
            }
        }
    } catch (soci::soci_error const& error) {
        throw StoreException(SFormat("The store cannot be read: %s.", error.what()), CauseOf(error));
    }
}

void SqlStore::Commit(std::span<Record const> records) {
    if (records.empty())
        return;
    try {
        soci::transaction transaction(m_impl->session);
        for (Record const& record : records)
            m_impl->Apply(record);
        transaction.commit();
    } catch (soci::soci_error const& error) {
        m_impl->ForgetStatements();
        throw StoreException(SFormat("The store could not be written: %s. Make room on its disk, or bring the data "
                                     "base back; the Master tries again by itself.",
                                     error.what()),
                             CauseOf(error));
    }
}

bool SqlStore::IsSound() {
    if (!m_impl->sqlite)
        return true;
    try {
        std::string answer;
        m_impl->session << "PRAGMA quick_check(1)", soci::into(answer);
        return answer == "ok";
    } catch (soci::soci_error const&) {
        return false;
    }
}

void SqlStore::LimitPages(unsigned pages) {
    long long granted = 0;
    m_impl->session << "PRAGMA max_page_count=" << pages, soci::into(granted);
}

} // namespace farm
