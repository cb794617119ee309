#include <vorlan/failures.h>

#include <corekit/commonmutex.h>
#include <vorlan/job.h>

#include <limits>

namespace vorlan {

namespace {

// The ledger: by Job, then by Engine, and the way back from an Engine to its Jobs.
class Ledger {
public:
    void Add(Failures::FailureItem const& item) {
        if (item.job.IsNull() || item.engine.IsNull())
            return;
        Failures::FailureItem& mine = m_items[item.job][item.engine];
        mine.job = item.job;
        mine.engine = item.engine;
        mine.product = item.product;
        mine.count = Sum(mine.count, item.count);
        mine.total = Sum(mine.total, std::max(item.total, item.count));
        mine.time = std::max(mine.time, item.time);
        m_jobsOf[item.engine].insert(item.job);
    }

    template <class Function>
    void ForJob(UID const& job, Function function) {
        auto const at = m_items.find(job);
        if (at == m_items.end())
            return;
        for (auto& [engine, item] : at->second)
            function(item);
    }

    template <class Function>
    void ForEngine(UID const& engine, Function function) {
        auto const at = m_jobsOf.find(engine);
        if (at == m_jobsOf.end())
            return;
        for (UID const& job : at->second)
            function(m_items[job][engine]);
    }

    template <class Function>
    void ForAll(Function function) {
        for (auto& [job, engines] : m_items) {
            for (auto& [engine, item] : engines)
                function(item);
        }
    }

    void RemoveJob(UID const& job) {
        ForJob(job, [&](Failures::FailureItem const& item) {
            auto const at = m_jobsOf.find(item.engine);
            at->second.erase(job);
            if (at->second.empty())
                m_jobsOf.erase(at);
        });
        m_items.erase(job);
    }

    void RemoveEngine(UID const& engine) {
        auto const at = m_jobsOf.find(engine);
        if (at == m_jobsOf.end())
            return;
        for (UID const& job : at->second) {
            auto const items = m_items.find(job);
            items->second.erase(engine);
            if (items->second.empty())
                m_items.erase(items);
        }
        m_jobsOf.erase(at);
    }

    void Clear() {
        m_items.clear();
        m_jobsOf.clear();
    }

private:
    static unsigned Sum(unsigned a, unsigned b) {
        return b > std::numeric_limits<unsigned>::max() - a ? std::numeric_limits<unsigned>::max() : a + b;
    }

    std::map<UID, std::map<UID, Failures::FailureItem>> m_items;
    std::map<UID, std::set<UID>> m_jobsOf;
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
    TheLedger().ForJob(job, [](FailureItem& item) { item.count = 0; });
}

void Failures::ResetEngineFailures(UID const& engine) {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForEngine(engine, [](FailureItem& item) { item.count = 0; });
}

void Failures::RemoveJob(UID const& job) {
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().RemoveJob(job);
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
    current = 0;
    reset = 0;
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForJob(job, [&](FailureItem const& item) {
        current += item.count;
        reset += item.total - item.count;
    });
}

void Failures::EngineFailureCounts(UID const& engine, size_t& products, size_t& jobs, size_t& failures) {
    std::set<UID> types;
    jobs = 0;
    failures = 0;
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForEngine(engine, [&](FailureItem const& item) {
        if (item.count == 0)
            return;
        types.insert(item.product);
        ++jobs;
        failures += item.count;
    });
    products = types.size();
}

size_t Failures::CountOn(UID const& job, UID const& engine) {
    size_t count = 0;
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForJob(job, [&](FailureItem const& item) {
        if (item.engine == engine)
            count = item.count;
    });
    return count;
}

size_t Failures::ProductCountOn(UID const& product, UID const& engine) {
    size_t count = 0;
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForEngine(engine, [&](FailureItem const& item) {
        if (item.product == product)
            count += item.count;
    });
    return count;
}

void Failures::EnginesFailedOnJob(UID const& job, std::vector<UID>& engines) {
    engines.clear();
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForJob(job, [&](FailureItem const& item) {
        if (item.count > 0)
            engines.push_back(item.engine);
    });
}

void Failures::JobsFailedOnEngine(UID const& engine, std::vector<UID>& jobs) {
    jobs.clear();
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForEngine(engine, [&](FailureItem const& item) {
        if (item.count > 0)
            jobs.push_back(item.job);
    });
}

void Failures::AllEngineFailures(UID const& engine, std::map<UID, std::vector<FailureItem>>& products) {
    products.clear();
    CommonMutex::Lock const lock(s_mutex);
    TheLedger().ForEngine(engine, [&](FailureItem const& item) {
        if (item.count > 0)
            products[item.product].push_back(item);
    });
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
