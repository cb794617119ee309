#include "master/store/storeerror.h"

#include <corekit/sformat.h>

#include <soci/postgresql/soci-postgresql.h>
#include <soci/sqlite3/soci-sqlite3.h>

namespace farm {

using corekit::SFormat;
using corekit::String;
using Cause = StoreException::Cause;

namespace {

struct Told {
    String text;
    Cause cause = Cause::Surroundings;
};

Told OfSqlite(int result) {
    switch (result & 0xff) {
    case SQLITE_FULL:
        return {"its disk is full. Make room on it", Cause::Full};
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return {"this user may not write it. Change the rights of the file and of its folder"};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return {"another program uses it. End that program: one store serves one Master"};
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return {"it is damaged", Cause::Damage};
    case SQLITE_CANTOPEN:
        return {"its file cannot be opened. Check that the folder exists and that this user may write it"};
    case SQLITE_IOERR:
        return {"its disk does not work. Check the disk"};
    case SQLITE_TOOBIG:
        return {"one of its rows is too long"};
    case SQLITE_NOMEM:
        return {"there is no memory left. End other programs"};
    default:
        return {SFormat("the data base failed (%d)", result)};
    }
}

Told OfPostgres(soci::postgresql_soci_error const& error) {
    String const state = error.sqlstate();
    if (error.get_error_category() == soci::soci_error::connection_error || state.StartsWith("08") ||
        state.StartsWith("57") || state.Trim().Empty())
        return {"its server cannot be reached. Bring the server back"};
    if (state.StartsWith("53"))
        return {"its server has no room left. Make room there", Cause::Full};
    if (state.StartsWith("28") || state == "42501" || state.StartsWith("25"))
        return {"its server does not let this user write. Change the user's rights there"};
    return {SFormat("its server refused it (SQLSTATE %s)", state.c_str())};
}

} // namespace

StoreException FailureOf(char const* action, soci::soci_error const& error) {
    Told told{"the data base failed"};
    if (auto const* const sqlite = dynamic_cast<soci::sqlite3_soci_error const*>(&error))
        told = OfSqlite(sqlite->result());
    else if (auto const* const postgres = dynamic_cast<soci::postgresql_soci_error const*>(&error))
        told = OfPostgres(*postgres);
    return StoreException(SFormat("%s: %s.", action, told.text.c_str()), told.cause);
}

} // namespace farm
