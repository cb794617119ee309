#pragma once

// How often Jobs failed on Engines.

#include <corekit/time.h>
#include <corekit/uid.h>
#include <vorlan/messages_master.h>

#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

namespace farm {

using corekit::String;
using corekit::Time;
using corekit::UID;

// The failures of one Job on one Engine, with the number of their row.
struct FailureEntry {
    uint64_t number = 0;
    vorlan::FailureItem item;
    String note;                    // what the last one was, without what differs from run to run
    bool finishedElsewhere = false; // another Engine finished what failed here
    bool cleared = false;           // another Job of the Product has finished work here since
};

// The Master's ledger of failures. A count that was reset stays in the total for as long
// as its Job is there; what counts stays also when the Job is gone, for it may hold the
// Engine off the Product.
//
// An Engine is held off a Product by Jobs, each of which counts once, and only where the
// Engine rather than the Job must be at fault: another Engine finished what failed here,
// or several Jobs failed here with the same words. A success of another Job clears it.
//
// Owned by the Farm; one thread.
class FailureLedger {
public:
    using Key = std::pair<UID, UID>; // Job, Engine

    // Counts one more; the entry is stored under `number` if it is new.
    FailureEntry const& Add(UID const& job, UID const& engine, UID const& product, Time time, String const& note,
                            uint64_t number);
    // An entry as it is stored: it takes the place of the one that was there.
    void Restore(FailureEntry const& entry);
    void RemoveRow(uint64_t number);

    unsigned OfJob(UID const& job) const;
    unsigned OnEngine(UID const& job, UID const& engine) const;
    bool Has(UID const& job, UID const& engine) const { return m_entries.contains({job, engine}); }

    // Jobs that speak against the Engine for the Product, and the Products of which at
    // least `limit` Jobs do.
    unsigned JobsAgainst(UID const& product, UID const& engine) const;
    std::set<UID> ProductsAgainst(UID const& engine, unsigned limit) const;

    // Another Engine has finished what failed on this one. Null when nothing changes.
    FailureEntry const* NoteFinishedElsewhere(UID const& job, UID const& engine);
    // The Job has finished work on the Engine: what other Jobs of the Product said
    // against it counts no more. Gives the entries that have changed.
    std::vector<FailureEntry> NoteSuccess(UID const& job, UID const& engine, UID const& product);

    // Counts start anew; gives the entries that have changed.
    std::vector<FailureEntry> ResetJob(UID const& job);
    std::vector<FailureEntry> ResetEngine(UID const& engine);

    // Takes away what does not count, or all of an Engine; gives the numbers of the rows.
    std::vector<uint64_t> RemoveReset(UID const& job);
    std::vector<uint64_t> RemoveEngine(UID const& engine);

    std::vector<vorlan::FailureItem> Items() const;

private:
    using Entries = std::map<Key, FailureEntry>;

    // The Jobs with an entry for an Engine and a Product.
    struct Against {
        std::set<UID> jobs;
        std::set<UID> open; // of them, those that were neither reset nor cleared
        // Of those, the ones that speak against the Engine; none while nobody has asked since
        // the last change.
        mutable std::optional<unsigned> counted;
    };

    void Index(FailureEntry const& entry);
    unsigned Counted(UID const& engine, Against const& against) const;
    std::vector<UID> JobsOn(UID const& engine) const;
    void Reset(FailureEntry& entry, std::vector<FailureEntry>& changed);
    Entries::iterator Remove(Entries::iterator at, std::vector<uint64_t>& numbers);

    Entries m_entries;
    std::unordered_map<UID, unsigned> m_byJob;
    std::map<Key, Against> m_against; // Engine, Product
};

} // namespace farm
