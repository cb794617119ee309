#include "master/store/sqlstore.h"

#include "master/store/base64.h"
#include "master/store/sqldatabase.h"
#include "master/store/storeerror.h"

#include <corekit/log.h>
#include <corekit/sformat.h>

#include <chrono>
#include <deque>
#include <map>
#include <set>

namespace farm {

using corekit::SFormat;
using corekit::String;

namespace {

// The working thread tidies for so long at a time.
constexpr std::chrono::milliseconds k_TidyTime{3};

// A prepared statement with the variables that it reads.
struct Prepared {
    long long number = 0; // the key, too
    long long job = 0;
    std::string id;
    std::string body;
    std::unique_ptr<soci::statement> statement;
};

} // namespace

struct SqlStore::Impl {
    SqlDatabase base;
    std::map<std::pair<SqlWay, RecordKind>, Prepared> statements;

    // Jobs whose rows are to go, and those that the transaction under way adds.
    std::deque<long long> doomed;
    std::vector<long long> newlyDoomed;
    bool mayShrink = true; // a file may have pages to give back

    Prepared& Statement(SqlWay way, RecordKind kind);
    long long Run(SqlWay way, RecordKind kind, long long key);
    void Apply(Record const& record);
    void Put(Record const& record);
    void ReadDoomed();
    bool TidyRows();
};

Prepared& SqlStore::Impl::Statement(SqlWay way, RecordKind kind) {
    Prepared& prepared = statements[{way, kind}];
    if (!prepared.statement) {
        soci::session& session = base.Session();
        prepared.statement = std::make_unique<soci::statement>(
            way == SqlWay::Put ? (session.prepare << SqlOf(way, kind), soci::use(prepared.number),
                                  soci::use(prepared.job), soci::use(prepared.id), soci::use(prepared.body))
                               : (session.prepare << SqlOf(way, kind), soci::use(prepared.number)));
    }
    return prepared;
}

// How many rows it has changed.
long long SqlStore::Impl::Run(SqlWay way, RecordKind kind, long long key) {
    Prepared& prepared = Statement(way, kind);
    prepared.number = key;
    prepared.statement->execute(true);
    return prepared.statement->get_affected_rows();
}

void SqlStore::Impl::Put(Record const& record) {
    Prepared& put = Statement(SqlWay::Put, record.kind);
    put.number = static_cast<long long>(record.number);
    put.job = static_cast<long long>(record.job);
    put.id = EncodeBase64(record.id);
    put.body = EncodeBase64(record.body);
    put.statement->execute(true);
}

void SqlStore::Impl::Apply(Record const& record) {
    auto const job = static_cast<long long>(record.job);
    switch (record.op) {
    case Record::Op::Put:
        Put(record);
        break;
    case Record::Op::Erase:
        Run(SqlWay::Erase, record.kind, static_cast<long long>(record.number));
        break;
    case Record::Op::EraseJob:
        if (record.kind == SqlDatabase::k_ManyOfJob) {
            Run(SqlWay::Doom, record.kind, job);
            newlyDoomed.push_back(job);
        } else {
            Run(SqlWay::EraseJob, record.kind, job);
        }
        break;
    }
}

void SqlStore::Impl::ReadDoomed() {
    doomed.clear();
    if (!base.HasTable("farm_doomed"))
        return; // a full disk had no room for it
    soci::rowset<long long> const jobs = base.Session().prepare << "SELECT job FROM farm_doomed ORDER BY job";
    doomed.assign(jobs.begin(), jobs.end());
}

// True when rows are left.
bool SqlStore::Impl::TidyRows() {
    auto const until = std::chrono::steady_clock::now() + k_TidyTime;
    size_t done = 0;
    soci::transaction transaction(base.Session());
    while (done < doomed.size() && std::chrono::steady_clock::now() < until) {
        if (Run(SqlWay::EraseSome, SqlDatabase::k_ManyOfJob, doomed[done]) == 0) {
            Run(SqlWay::Spare, SqlDatabase::k_ManyOfJob, doomed[done]);
            ++done;
        }
    }
    transaction.commit();
    doomed.erase(doomed.begin(), doomed.begin() + static_cast<std::ptrdiff_t>(done));
    mayShrink = true;
    return !doomed.empty();
}

SqlStore::SqlStore(String const& connection) : m_impl(std::make_unique<Impl>()) {
    m_impl->base.Open(connection);
    try {
        m_impl->ReadDoomed();
    } catch (soci::soci_error const& error) {
        throw FailureOf("The store cannot be read", error);
    }
}

SqlStore::~SqlStore() { m_impl->statements.clear(); }

void SqlStore::LoadAll(std::function<void(Record const&)> const& take) {
    std::set<uint64_t> const doomed(m_impl->doomed.begin(), m_impl->doomed.end());
    // No number is given out twice, not even one of a row that is to go.
    Record last;
    last.kind = RecordKind::Counter;
    try {
        for (int kind = SqlDatabase::k_FirstKind; kind <= SqlDatabase::k_LastKind; ++kind) {
            Record record;
            record.kind = static_cast<RecordKind>(kind);
            record.op = Record::Op::Put;
            long long number = 0;
            long long job = 0;
            std::string id;
            std::string body;
            soci::statement rows = (m_impl->base.Session().prepare << SqlOf(SqlWay::LoadAll, record.kind),
                                    soci::into(number), soci::into(job), soci::into(id), soci::into(body));
            rows.execute();
            while (rows.fetch()) {
                record.number = static_cast<uint64_t>(number);
                record.job = static_cast<uint64_t>(job);
                if (record.kind == SqlDatabase::k_ManyOfJob && doomed.contains(record.job)) {
                    last.number = std::max({last.number, record.number, record.job});
                    continue;
                }
                record.id = DecodeBase64(id);
                record.body = DecodeBase64(body);
                take(record);
            }
        }
    } catch (soci::soci_error const& error) {
        throw FailureOf("The store cannot be read", error);
    }
    if (last.number != 0)
        take(last);
}

void SqlStore::Commit(std::span<Record const> records) {
    if (records.empty())
        return;
    m_impl->newlyDoomed.clear();
    try {
        if (!m_impl->base.IsPrepared())
            m_impl->base.Prepare();
        soci::transaction transaction(m_impl->base.Session());
        for (Record const& record : records)
            m_impl->Apply(record);
        transaction.commit();
    } catch (soci::soci_error const& error) {
        m_impl->statements.clear();
        throw FailureOf("The store could not be written", error);
    }
    m_impl->doomed.insert(m_impl->doomed.end(), m_impl->newlyDoomed.begin(), m_impl->newlyDoomed.end());
}

bool SqlStore::Tidy() {
    try {
        if (!m_impl->doomed.empty())
            return m_impl->TidyRows() || m_impl->mayShrink;
        m_impl->mayShrink = m_impl->mayShrink && m_impl->base.GiveBackPages();
        return m_impl->mayShrink;
    } catch (soci::soci_error const& error) {
        // A commit will say so too; what is left goes another time.
        m_impl->statements.clear();
        corekit::LogDebug(FailureOf("The store could not be tidied", error).Message());
        return false;
    }
}

bool SqlStore::IsSound() {
    if (!m_impl->base.IsSqlite())
        return true;
    try {
        std::string answer;
        m_impl->base.Session() << "PRAGMA quick_check(1)", soci::into(answer);
        return answer == "ok";
    } catch (soci::soci_error const&) {
        return false;
    }
}

std::vector<String> SqlStore::Plans() {
    std::vector<String> plans;
    for (int kind = SqlDatabase::k_FirstKind; kind <= SqlDatabase::k_LastKind; ++kind) {
        for (SqlWay const way :
             {SqlWay::Put, SqlWay::Erase, SqlWay::EraseJob, SqlWay::EraseSome, SqlWay::Doom, SqlWay::Spare}) {
            bool const ofJobs =
                kind == static_cast<int>(RecordKind::JobState) || kind == static_cast<int>(SqlDatabase::k_ManyOfJob);
            if (!ofJobs && (way == SqlWay::EraseJob || way == SqlWay::EraseSome))
                continue;
            for (String const& step : m_impl->base.PlanOf(SqlOf(way, static_cast<RecordKind>(kind))))
                plans.push_back(step);
        }
    }
    return plans;
}

void SqlStore::LimitPages(unsigned pages) {
    long long granted = 0;
    m_impl->base.Session() << "PRAGMA max_page_count=" << pages, soci::into(granted);
}

} // namespace farm
