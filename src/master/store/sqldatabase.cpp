#include "master/store/sqldatabase.h"

#include "master/store/storeerror.h"

#include <corekit/sformat.h>
#include <corekit/uniquefd.h>

#include <soci/postgresql/soci-postgresql.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

namespace farm {

using corekit::SFormat;
using corekit::String;

namespace {

// The schema's own number, stored so that a later Master can tell what it opens.
constexpr int k_SchemaVersion = 1;

// Rows of a Job that one EraseSome takes.
constexpr int k_RowsAtATime = 100;

// Free pages that an SQLite file may keep, beside a tenth of all its pages; and how many
// are given back at a time.
constexpr long long k_FreePages = 1000;
constexpr int k_PagesAtATime = 200;

// A file of an old layout is written anew only where the disk takes it so many times.
constexpr uint64_t k_RebuildRoom = 3;

std::string TableName(int kind) { return "record_" + std::to_string(kind); }

// Jobs hold passwords. The side files get the rights of the file itself.
void KeepPrivate(std::string const& path) {
    corekit::UniqueFd const file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file)
        return; // who opens it next says why
    ::fchmod(file.Get(), 0600);
    for (char const* const side : {"-wal", "-shm"})
        ::chmod((path + side).c_str(), 0600);
}

// EraseJob is asked for these kinds alone.
bool HasJobs(int kind) {
    return kind == static_cast<int>(RecordKind::JobState) || kind == static_cast<int>(RecordKind::History);
}

} // namespace

std::string SqlOf(SqlWay way, RecordKind kind) {
    std::string const table = TableName(static_cast<int>(kind));
    switch (way) {
    case SqlWay::Put:
        return "INSERT INTO " + table +
               " (number, job, id, body) VALUES (:number, :job, :id, :body) ON CONFLICT (number) "
               "DO UPDATE SET job = excluded.job, id = excluded.id, body = excluded.body";
    case SqlWay::Erase:
        return "DELETE FROM " + table + " WHERE number = :key";
    case SqlWay::EraseJob:
        return "DELETE FROM " + table + " WHERE job = :key";
    case SqlWay::EraseSome:
        return "DELETE FROM " + table + " WHERE number IN (SELECT number FROM " + table + " WHERE job = :key LIMIT " +
               std::to_string(k_RowsAtATime) + ")";
    case SqlWay::Doom:
        return "INSERT INTO farm_doomed (job) VALUES (:key) ON CONFLICT (job) DO NOTHING";
    case SqlWay::Spare:
        return "DELETE FROM farm_doomed WHERE job = :key";
    case SqlWay::LoadAll:
        break;
    }
    return "SELECT number, job, id, body FROM " + table + " ORDER BY number";
}

void SqlDatabase::Open(String const& connection) {
    constexpr std::string_view sqlitePrefix = "sqlite3://";
    constexpr std::string_view postgresPrefix = "postgresql://";
    std::string const text = connection.Str();
    m_sqlite = text.starts_with(sqlitePrefix);
    try {
        if (m_sqlite) {
            OpenSqlite(text.substr(sqlitePrefix.size()));
        } else {
            m_session.open(soci::postgresql,
                           text.starts_with(postgresPrefix) ? text.substr(postgresPrefix.size()) : text);
            m_session << "SET client_min_messages = warning"; // tables that exist already are no news
        }
        bool const isNew = !HasTable("farm_schema");
        if (!isNew)
            CheckForm();
        try {
            Prepare();
        } catch (soci::soci_error const& error) {
            if (isNew || FailureOf("", error).What() != StoreException::Cause::Full)
                throw;
        }
    } catch (soci::soci_error const& error) {
        // A connection string may hold a password.
        throw FailureOf(m_sqlite ? SFormat("The store \"%s\" cannot be opened", m_file.c_str()).c_str()
                                 : "The store on the PostgreSQL server cannot be opened",
                        error);
    }
}

void SqlDatabase::OpenSqlite(std::string const& path) {
    m_file = corekit::Path(path);
    if (path.empty() || path == ":memory:")
        throw StoreException("The store \"sqlite3://\" names no file: nothing would be kept. Give it one, such as "
                             "\"sqlite3:///var/lib/vorlan/VorlanMaster/farm.db\".");
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored))
        throw StoreException(SFormat("The store \"%s\" is no file. Move away what has its name.", path.c_str()));
    KeepPrivate(path);
    m_session.open(soci::sqlite3, "dbname=\"" + path + "\"");
    // One Master alone; and no memory shared by way of a file, which a full disk has no
    // room for.
    m_session << "PRAGMA locking_mode=EXCLUSIVE";
    m_session << "PRAGMA auto_vacuum=INCREMENTAL"; // of a new file
    m_session << "PRAGMA journal_mode=WAL";
    m_session << "PRAGMA synchronous=FULL";
    m_session << "PRAGMA journal_size_limit=16777216";
    m_session << "PRAGMA secure_delete=FAST"; // what is deleted may be a password
    m_session << "PRAGMA busy_timeout=5000";
}

bool SqlDatabase::HasTable(std::string const& name) {
    int found = 0;
    if (m_sqlite)
        m_session << "SELECT COUNT(*) FROM sqlite_master WHERE name = '" << name << "'", soci::into(found);
    else
        m_session << "SELECT COUNT(to_regclass('" << name << "'))", soci::into(found);
    return found > 0;
}

void SqlDatabase::CheckForm() {
    int version = k_SchemaVersion;
    m_session << "SELECT version FROM farm_schema", soci::into(version);
    if (version > k_SchemaVersion) {
        throw StoreException(SFormat("The store was written by a newer VorlanMaster (form %d, this one knows %d). "
                                     "Start the newer VorlanMaster, or move the store away to begin an empty one.",
                                     version, k_SchemaVersion));
    }
}

void SqlDatabase::Prepare() {
    MakeTables();
    if (IsOldLayout())
        Rebuild();
    m_prepared = true;
}

void SqlDatabase::MakeTables() {
    soci::transaction transaction(m_session); // one wait for the disk, not one a table
    // In an SQLite file an INTEGER key is the table's own; any other is a second tree.
    char const* const number = m_sqlite ? "INTEGER" : "BIGINT";
    for (int kind = k_FirstKind; kind <= k_LastKind; ++kind) {
        std::string const table = TableName(kind);
        m_session << "CREATE TABLE IF NOT EXISTS " << table << " (number " << number
                  << " PRIMARY KEY, job BIGINT NOT NULL, id TEXT NOT NULL, body TEXT NOT NULL)";
        // An index of old that no statement could use.
        m_session << "DROP INDEX IF EXISTS " << table << "_job";
        if (HasJobs(kind))
            m_session << "CREATE INDEX IF NOT EXISTS " << table << "_of_job ON " << table << " (job)";
    }
    m_session << "CREATE TABLE IF NOT EXISTS farm_doomed (job " << number << " PRIMARY KEY)";
    m_session << "CREATE TABLE IF NOT EXISTS farm_schema (version INTEGER NOT NULL)";
    int rows = 0;
    m_session << "SELECT COUNT(*) FROM farm_schema", soci::into(rows);
    if (rows == 0)
        m_session << "INSERT INTO farm_schema (version) VALUES (" << k_SchemaVersion << ")";
    transaction.commit();
}

bool SqlDatabase::IsOldLayout() { return m_sqlite && HasTable("sqlite_autoindex_" + TableName(k_FirstKind) + "_1"); }

// A file whose tables have two trees each, and that never gives a page back.
void SqlDatabase::Rebuild() {
    std::error_code error;
    uintmax_t const bytes = std::filesystem::file_size(m_file.Native(), error);
    auto const space = std::filesystem::space(m_file.Native(), error);
    if (error || space.available / k_RebuildRoom < bytes)
        return; // it works as it is
    {
        soci::transaction transaction(m_session);
        for (int kind = k_FirstKind; kind <= k_LastKind; ++kind) {
            std::string const table = TableName(kind);
            m_session << "ALTER TABLE " << table << " RENAME TO former";
            m_session << "DROP INDEX IF EXISTS " << table << "_of_job";
            m_session << "CREATE TABLE " << table
                      << " (number INTEGER PRIMARY KEY, job BIGINT NOT NULL, id TEXT NOT NULL, body TEXT NOT NULL)";
            m_session << "INSERT INTO " << table << " SELECT number, job, id, body FROM former ORDER BY number";
            m_session << "DROP TABLE former";
            if (HasJobs(kind))
                m_session << "CREATE INDEX " << table << "_of_job ON " << table << " (job)";
        }
        transaction.commit();
    }
    m_session << "PRAGMA auto_vacuum=INCREMENTAL";
    m_session << "VACUUM";
}

long long SqlDatabase::Pragma(char const* name) {
    long long value = 0;
    m_session << "PRAGMA " << name, soci::into(value);
    return value;
}

bool SqlDatabase::GiveBackPages() {
    if (!m_sqlite)
        return false; // a server looks after its tables itself
    long long const spare = Pragma("freelist_count") - k_FreePages - Pragma("page_count") / 10;
    if (spare <= 0 || Pragma("auto_vacuum") == 0)
        return false;
    // Each of its rows is a page, and SOCI takes the first row alone.
    auto const& backend = static_cast<soci::sqlite3_session_backend&>(*m_session.get_backend());
    std::string const pages = "PRAGMA incremental_vacuum(" + std::to_string(k_PagesAtATime) + ")";
    int const result = sqlite_api::sqlite3_exec(backend.conn_, pages.c_str(), nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        throw soci::sqlite3_soci_error("incremental_vacuum", result);
    return true;
}

std::vector<String> SqlDatabase::PlanOf(std::string const& statement) {
    std::vector<String> steps;
    soci::rowset<soci::row> const rows = m_session.prepare << "EXPLAIN QUERY PLAN " << statement;
    for (soci::row const& row : rows)
        steps.push_back(row.get<std::string>(3));
    return steps;
}

} // namespace farm
