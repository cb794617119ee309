#pragma once

#include "master/store/store.h"

#include <corekit/path.h>

#include <memory>

namespace farm {

// The store in a data base: SQLite in a file of the machine folder, or PostgreSQL
// where the options name a server.
//
// One table a kind of record, `number` its key. Bodies are kept as base64 text, the
// one form that both data bases take for any byte.
//
// Always: no statement takes time that grows with what is stored. A Job's runs may be
// many: its deletion writes down that they are to go, nobody is given them any more, and
// Tidy takes them away piece by piece.
class SqlStore : public Store {
public:
    // `connection` is "sqlite3://PATH" or a PostgreSQL string such as
    // "postgresql://dbname=farm host=db user=vorlan". Tables are made where they are
    // missing. Throws StoreException when the data base cannot be opened.
    explicit SqlStore(corekit::String const& connection);
    ~SqlStore() override;

    void LoadAll(std::function<void(Record const&)> const& take) override;
    void Commit(std::span<Record const> records) override;
    bool Tidy() override;

    // Whether the data base finds its own file whole; a server's is taken as whole.
    bool IsSound();

    // For tests: how the data base goes about every statement that Commit and Tidy use, a
    // line each: "SEARCH record_3 USING INTEGER PRIMARY KEY (rowid=?)".
    std::vector<corekit::String> Plans();

    // For tests: the largest size of an SQLite file, in pages of 4 KiB; a commit
    // that needs more fails like one on a full disk.
    void LimitPages(unsigned pages);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// Opens the SQLite store of a Master, and mends it first where it is damaged: what
// can still be read is copied into a new file, the damaged one stays beside it.
//
// `report` is filled with one line for people when something had to be mended, and
// left empty otherwise. Throws StoreException when even a new file cannot be made.
std::unique_ptr<SqlStore> OpenSqliteStore(corekit::Path const& file, corekit::String& report);

} // namespace farm
