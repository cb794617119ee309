#pragma once

// A store in memory, for the simulation.

#include "test.h"

#include "master/core/record.h"

namespace sim {

// Keeps what was committed; a restarted Master is restored from it.
class SimStore {
public:
    void Commit(std::vector<farm::Record> const& records) {
        for (farm::Record const& record : records) {
            std::pair const key(static_cast<int>(record.kind), record.number);
            if (record.op == farm::Record::Op::Put)
                m_rows[key] = record;
            else if (record.op == farm::Record::Op::Erase)
                m_rows.erase(key);
            else
                std::erase_if(m_rows, [&](auto const& row) {
                    return row.second.kind == record.kind && row.second.job == record.job;
                });
            if (record.op == farm::Record::Op::Put && record.kind == farm::RecordKind::Job)
                m_jobs.insert(record.id);
        }
    }

    // A Job with this id was stored, though it may have been deleted since.
    bool HadJob(corekit::String const& idBytes) const { return m_jobs.contains(idBytes); }

    std::map<std::pair<int, uint64_t>, farm::Record> const& Rows() const { return m_rows; }

private:
    std::map<std::pair<int, uint64_t>, farm::Record> m_rows;
    std::set<corekit::String> m_jobs;
};

} // namespace sim
