#include "engine/runner/spawnpool.h"

#include <sys/eventfd.h>

namespace vorlan::runner {

SpawnPool::SpawnPool() : m_ready(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    for (int i = 0; i < k_Threads; ++i)
        m_threads.emplace_back([this] { Work(); });
}

void SpawnPool::Start(RunSpec spec, String mark, UniqueFd output) {
    ++m_inFlight;
    CommonMutex::Lock const lock(m_guard);
    m_orders.push_back({std::move(spec), std::move(mark), std::move(output)});
    m_wake.notify_one();
}

std::vector<SpawnPool::Done> SpawnPool::TakeDone() {
    eventfd_t ignored = 0;
    eventfd_read(m_ready.Get(), &ignored);
    std::vector<Done> done;
    CommonMutex::Lock const lock(m_guard);
    done.swap(m_done);
    m_inFlight -= done.size();
    return done;
}

void SpawnPool::Work() {
    CommonMutex::Lock lock(m_guard);
    for (;;) {
        while (!m_stopping && m_orders.empty())
            m_wake.wait(lock);
        if (m_stopping)
            return;
        Order order = std::move(m_orders.front());
        m_orders.pop_front();
        lock.unlock();
        Done done{order.spec.work, SpawnUnit(order.spec, order.mark, order.output.Get())};
        order.output.Reset();
        lock.lock();
        m_done.push_back(std::move(done));
        eventfd_write(m_ready.Get(), 1);
    }
}

void SpawnPool::Stop() {
    {
        CommonMutex::Lock const lock(m_guard);
        m_stopping = true;
        m_inFlight -= m_orders.size();
        m_orders.clear();
        m_wake.notify_all();
    }
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
}

} // namespace vorlan::runner
