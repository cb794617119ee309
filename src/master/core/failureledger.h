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

// The Master's ledger of failures. A count that was reset stays in the total for as long
// as its Job is there; what counts stays also when the Job is gone, for it holds the
// Engine off the Product.
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

    // Counts start anew; gives the entries that have changed.
    std::vector<FailureEntry> ResetJob(UID const& job);
    std::vector<FailureEntry> ResetEngine(UID const& engine);

    // Takes away what does not count, or all of an Engine; gives the numbers of the rows.
    std::vector<uint64_t> RemoveReset(UID const& job);
    std::vector<uint64_t> RemoveEngine(UID const& engine);

    std::vector<vorlan::FailureItem> Items() const;

private:
    using Entries = std::map<Key, FailureEntry>;

    void Reset(FailureEntry& entry, std::vector<FailureEntry>& changed);
    Entries::iterator Remove(Entries::iterator at, std::vector<uint64_t>& numbers);

    struct PairHash {
        size_t operator()(Key const& key) const { return hash_value(key.first) * 31 + hash_value(key.second); }
    };
    Entries m_entries;
    std::unordered_map<UID, unsigned> m_byJob;
    std::unordered_map<Key, unsigned, PairHash> m_byProduct; // Product, Engine
};

} // namespace farm
