#include "master/core/waitindex.h"

namespace farm {

void WaitIndex::Insert(JobEntry& job, WaitKey const& key) {
    if (job.waiting) {
        auto const at = m_places.find(&job);
        bool const sameBucket = at->second.pool == job.settings.pool && at->second.bucket.type == job.settings.type &&
                                at->second.bucket.cpus == job.settings.cpus;
        if (sameBucket && job.key == key)
            return;
        if (sameBucket) {
            Bucket& bucket = m_pools[at->second.pool][at->second.bucket];
            auto node = bucket.extract(&job);
            job.key = key;
            bucket.insert(std::move(node));
            return;
        }
        Remove(job);
    }
    job.key = key;
    job.waiting = true;
    Place const place{job.settings.pool, {job.settings.type, job.settings.cpus}};
    m_pools[place.pool][place.bucket].insert(&job);
    m_places[&job] = place;
    ++m_size;
}

void WaitIndex::Remove(JobEntry& job) {
    if (!job.waiting)
        return;
    auto const at = m_places.find(&job);
    auto const pool = m_pools.find(at->second.pool);
    auto const bucket = pool->second.find(at->second.bucket);
    bucket->second.erase(&job);
    if (bucket->second.empty())
        pool->second.erase(bucket);
    if (pool->second.empty())
        m_pools.erase(pool);
    m_places.erase(at);
    job.waiting = false;
    --m_size;
}

WaitIndex::Buckets const* WaitIndex::OfPool(UID const& pool) const {
    auto const at = m_pools.find(pool);
    return at == m_pools.end() ? nullptr : &at->second;
}

} // namespace farm
