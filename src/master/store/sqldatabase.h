#pragma once

#include "master/store/store.h"

#include <corekit/path.h>

#include <soci/soci.h>

namespace farm {

// What is done with the table of a kind of record. `:key` is a number or a Job.
enum class SqlWay {
    Put,
    Erase,
    EraseJob,  // all rows of a Job
    EraseSome, // some rows of a Job
    Doom,      // notes that the rows of a Job are to go; the table of doomed Jobs has no kind
    Spare,     // they have gone
    LoadAll,
};

// The statement's text.
std::string SqlOf(SqlWay way, RecordKind kind);

// The data base of a store: its connection, its tables, and what an SQLite file needs
// beside statements.
//
// Owned by a SqlStore, used on the Master's working thread.
class SqlDatabase {
public:
    static constexpr int k_FirstKind = 1;
    static constexpr int k_LastKind = static_cast<int>(RecordKind::JobCommand);
    // Of these many rows belong to one Job: they go in pieces.
    static constexpr RecordKind k_ManyOfJob = RecordKind::History;

    // Throws StoreException.
    void Open(corekit::String const& connection);

    // Makes what is missing of tables and indexes. A store that is full can be read
    // without it. Throws soci::soci_error.
    void Prepare();
    bool IsPrepared() const { return m_prepared; }

    soci::session& Session() { return m_session; }
    bool IsSqlite() const { return m_sqlite; }
    // Of an SQLite store.
    corekit::Path const& FilePath() const { return m_file; }

    // Whether there is a table of this name.
    bool HasTable(std::string const& name);

    // Gives some pages that nothing uses any more back to the disk; false when there are
    // few of them. Throws soci::soci_error.
    bool GiveBackPages();

    // How the data base goes about a statement, a line each step.
    std::vector<corekit::String> PlanOf(std::string const& statement);

private:
    void OpenSqlite(std::string const& path);
    void CheckForm();
    void MakeTables();
    bool IsOldLayout();
    void Rebuild();
    long long Pragma(char const* name);

    soci::session m_session;
    bool m_sqlite = false;
    bool m_prepared = false;
    corekit::Path m_file;
};

} // namespace farm
