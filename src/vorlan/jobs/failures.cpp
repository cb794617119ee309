#include <vorlan/failures.h>

#include <corekit/commonmutex.h>
#include <vorlan/job.h>

#include <limits>

namespace vorlan {

namespace {

unsigned SumOf(unsigned a, unsigned b) {
    return b > std::numeric_limits<unsigned>::max() - a ? std::numeric_limits<unsigned>::max() : a + b;
}

// The ledger: by Job, then by Engine, and the way back from an Engine to its Jobs. The
// sums follow each change of an item.
class Ledger {
public:
    using Item = Failures::FailureItem;

    struct OfJob {
        std::map<UID, Item> items; // by Engine
        size_t current = 0;
        size_t reset = 0;
    };
    struct OfEngine {
        std::set<UID> jobs;
        std::map<UID, size_t> products; // how many Jobs of each count
        size_t countingJobs = 0;
        size_t failures = 0;
    };

    void Add(Item const& item) {
        if (item.job.IsNull() || item.engine.IsNull())
            return;
        OfJob& job = m_jobs[item.job];
        OfEngine& engine = m_engines[item.engine];
        auto const [at, isNew] =
            job.items.try_emplace(item.engine, Item{item.job, item.engine, item.product, 0, {}, 0});
        engine.jobs.insert(item.job);
        at->second.time = std::max(at->second.time, item.time);
        Change(job, engine, at->second, SumOf(at->second.count, item.count),
               SumOf(at->second.total, std::max(item.total, item.count)));
    }

    OfJob const* FindJob(UID const& job) const {
        auto const at = m_jobs.find(job);
        return at == m_jobs.end() ? nullptr : &at->second;
    }
    OfEngine const* FindEngine(UID const& engine) const {
        auto const at = m_engines.find(engine);
        return at == m_engines.end() ? nullptr : &at->second;
    }
    Item const& At(UID const& job, UID const& engine) const { return m_jobs.at(job).items.at(engine); }

    template <class Function>
    void ForAll(Function function) const {
        for (auto const& [id, job] : m_jobs) {
            for (auto const& [engine, item] : job.items)
                function(item);
        }
    }

    void ResetJob(UID const& id) {
        auto const at = m_jobs.find(id);
        if (at == m_jobs.end())
            return;
        for (auto& [engine, item] : at->second.items)
            Change(at->second, m_engines[engine], item, 0, item.total);
    }
    void ResetEngine(UID const& id) {
        auto const at = m_engines.find(id);
        if (at == m_engines.end())
            return;
        for (UID const& job : at->second.jobs)
            Change(m_jobs[job], at->second, m_jobs[job].items[id], 0, m_jobs[job].items[id].total);
    }

    // Of a Job that is gone: what does not count.
    void RemoveReset(UID const& id) {
        OfJob const* const job = FindJob(id);
        if (!job)
            return;
        std::vector<UID> engines;
        for (auto const& [engine, item] : job->items) {
            if (item.count == 0)
                engines.push_back(engine);
        }
        for (UID const& engine : engines)
            Remove(id, engine);
    }
    void RemoveEngine(UID const& id) {
        OfEngine const* const engine = FindEngine(id);
        if (!engine)
            return;
        for (UID const& job : std::set<UID>(engine->jobs))
            Remove(job, id);
    }

    void Clear() {
        m_jobs.clear();
        m_engines.clear();
    }

private:
    static void Change(OfJob& job, OfEngine& engine, Item& item, unsigned count, unsigned total) {
        job.current += count - static_cast<size_t>(item.count);
        job.reset += (total - count) - static_cast<size_t>(item.total - item.count);
        engine.failures += count - static_cast<size_t>(item.count);
        if ((count != 0) != (item.count != 0)) {
            size_t& jobsOfProduct = engine.products[item.product];
            if (count != 0) {
                ++engine.countingJobs;
                ++jobsOfProduct;
            } else {
                --engine.countingJobs;
                if (--jobsOfProduct == 0)
                    engine.products.erase(item.product);
            }
        }
        item.count = count;
        item.total = total;
    }

    void Remove(UID const& jobID, UID const& engineID) {
        OfJob& job = m_jobs[jobID];
        OfEngine& engine = m_engines[engineID];
        Change(job, engine, job.items[engineID], 0, 0);
        job.items.erase(engineID);
        engine.jobs.erase(jobID);
        if (job.items.empty())
            m_jobs.erase(jobID);
        if (engine.jobs.empty())
            m_engines.erase(engineID);
    }

    std::map<UID, OfJob> m_jobs;
    std::map<UID, OfEngine> m_engines;
};

CommonMutex s_mutex{LockRank::Failures};

Ledger& TheLedger() CK_REQUIRES(s_mutex) {
    static Ledger s_ledger;
    return s_ledger;
}

} // namespace

void Failures::Add(Job const& work, UID const& engine) {
    UID const& job = work.parentID.IsNull() ? work.id : work.parentID;
    Add(job, work.Type(), engine, Time::CurrentTime());
}

void Failures::Add(UID const& job, UID const& product, UID const& engine, Time const& time) {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().Add({job, engine, product, 1, time, 1});
}

void Failures::ResetJobFailures(UID const& job) {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ResetJob(job);
}

void Failures::ResetEngineFailures(UID const& engine) {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ResetEngine(engine);
}

void Failures::RemoveJob(UID const& job) {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().RemoveReset(job);
}

void Failures::RemoveEngine(UID const& engine) {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().RemoveEngine(engine);
}

size_t Failures::JobFailureCount(UID const& job) {
    size_t current = 0;
    size_t reset = 0;
    JobFailureCounts(job, current, reset);
    return current;
}

void Failures::JobFailureCounts(UID const& job, size_t& current, size_t& reset) {
    CommonMutex::Lock const lock(s_mutex);
    Ledger::OfJob const* const found = TheLedger().FindJob(job);
    current = found ? found->current : 0;
    reset = found ? found->reset : 0;
}

void Failures::EngineFailureCounts(UID const& engine, size_t& products, size_t& jobs, size_t& failures) {
    CommonMutex::Lock const lock(s_mutex);
    Ledger::OfEngine const* const found = TheLedger().FindEngine(engine);
    products = found ? found->products.size() : 0;
    jobs = found ? found->countingJobs : 0;
    failures = found ? found->failures : 0;
}

namespace {

// The items of an Engine that count, in the order of the Jobs' ids.
template <class Function>
void ForCounting(UID const& engine, Function function) CK_REQUIRES(s_mutex) {
    Ledger::OfEngine const* const found = TheLedger().FindEngine(engine);
    if (!found)
        return;
    for (UID const& job : found->jobs) {
        if (Failures::FailureItem const& item = TheLedger().At(job, engine); item.count > 0)
            function(item);
    }
}

} // namespace

size_t Failures::CountOn(UID const& job, UID const& engine) {
    CommonMutex::Lock const lock(s_mutex);
    Ledger::OfJob const* const found = TheLedger().FindJob(job);
    return found && found->items.contains(engine) ? found->items.at(engine).count : 0;
}

size_t Failures::ProductCountOn(UID const& product, UID const& engine) {
    size_t count = 0;
    CommonMutex::Lock const lock(s_mutex);
    ForCounting(engine, [&](FailureItem const& item) { count += item.product == product ? item.count : 0; });
    return count;
}

void Failures::EnginesFailedOnJob(UID const& job, std::vector<UID>& engines) {
    engines.clear();
    CommonMutex::Lock const lock(s_mutex);
    Ledger::OfJob const* const found = TheLedger().FindJob(job);
    if (!found)
        return;
    for (auto const& [engine, item] : found->items) {
        if (item.count > 0)
            engines.push_back(engine);
    }
}

void Failures::JobsFailedOnEngine(UID const& engine, std::vector<UID>& jobs) {
    jobs.clear();
    CommonMutex::Lock const lock(s_mutex);
    ForCounting(engine, [&](FailureItem const& item) { jobs.push_back(item.job); });
}

void Failures::AllEngineFailures(UID const& engine, std::map<UID, std::vector<FailureItem>>& products) {
    products.clear();
    CommonMutex::Lock const lock(s_mutex);
    ForCounting(engine, [&](FailureItem const& item) { products[item.product].push_back(item); });
}

std::vector<Failures::FailureItem> Failures::All() {
    std::vector<FailureItem> items;
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForAll([&](FailureItem const& item) { items.push_back(item); });
    return items;
}

void Failures::ReplaceAll(std::vector<FailureItem> const& items) {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().Clear();
    for (FailureItem const& item : items)
        TheLedger().Add(item);
}

void Failures::Clear() {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().Clear();
}

} // namespace vorlan
