#pragma once

// How often Jobs failed on Engines.

#include <corekit/time.h>
#include <corekit/uid.h>
#include <vorlan/messages_master.h>

#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

namespace farm {

using corekit::Time;
using corekit::UID;

// The failures of one Job on one Engine, with the number of their row.
struct FailureEntry {
    uint64_t number = 0;
    vorlan::FailureItem item;
};

// The Master's ledger of failures. Counts that were reset are gone.
//
// Owned by the Farm; one thread.
class FailureLedger {
public:
    using Key = std::pair<UID, UID>; // Job, Engine

    // Counts one more; the entry is stored under `number` if it is new.
    FailureEntry const& Add(UID const& job, UID const& engine, UID const& product, Time time, uint64_t number);
    void Restore(FailureEntry const& entry);

    unsigned OfJob(UID const& job) const;
    unsigned OnEngine(UID const& job, UID const& engine) const;
    unsigned OfProductOn(UID const& product, UID const& engine) const;
    bool Has(UID const& job, UID const& engine) const { return m_entries.contains({job, engine}); }

    // Takes away what matches; gives the numbers of the rows.
    std::vector<uint64_t> RemoveJob(UID const& job);
    std::vector<uint64_t> RemoveEngine(UID const& engine);

    std::vector<vorlan::FailureItem> Items() const;

private:
    template <class Matches>
    std::vector<uint64_t> Remove(Matches matches);

    struct PairHash {
        size_t operator()(Key const& key) const { return hash_value(key.first) * 31 + hash_value(key.second); }
    };
    std::map<Key, FailureEntry> m_entries;
    std::unordered_map<UID, unsigned> m_byJob;
    std::unordered_map<Key, unsigned, PairHash> m_byProduct; // Product, Engine
};

} // namespace farm
