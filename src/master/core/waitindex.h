#pragma once

// The Jobs that could be given to an Engine, in the order in which they are served.

#include "master/core/entries.h"

#include <map>
#include <set>
#include <unordered_map>

namespace farm {

// Waiting Jobs by Pool, and within it by what most decides whether an Engine may take
// them.
//
// Owned by the Farm. Holds only Jobs that nothing but the choice of an Engine keeps
// from running. Jobs of one bucket have the same Product, Pool and CPUs, so that an
// Engine which may not take one for these may be spared the others. Always: the
// entries are those whose `waiting` is set, under their `key`.
class WaitIndex {
public:
    struct BucketKey {
        UID type;
        int cpus = 0;
        bool operator<(BucketKey const& other) const {
            return cpus != other.cpus ? cpus < other.cpus : type < other.type;
        }
    };
    struct KeyLess {
        bool operator()(JobEntry const* a, JobEntry const* b) const { return a->key < b->key; }
    };
    using Bucket = std::set<JobEntry*, KeyLess>;
    using Buckets = std::map<BucketKey, Bucket>;

    void Insert(JobEntry& job, WaitKey const& key);
    void Remove(JobEntry& job);

    // Null when no Job of that Pool waits.
    Buckets const* OfPool(UID const& pool) const;
    std::unordered_map<UID, Buckets> const& Pools() const { return m_pools; }
    size_t Size() const { return m_size; }

private:
    struct Place {
        UID pool;
        BucketKey bucket;
    };
    std::unordered_map<UID, Buckets> m_pools;
    std::unordered_map<JobEntry const*, Place> m_places;
    size_t m_size = 0;
};

} // namespace farm
