#include "engine/runner/spawnpool.h"

#include "engine/runner/leftovers.h"

#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

namespace vorlan::runner {

using SteadyClock = std::chrono::steady_clock;

SpawnPool::SpawnPool() {
    m_state->ready.Reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    CommonMutex::Lock const lock(m_state->guard);
    for (size_t i = 0; i < k_Threads; ++i)
        AddThread();
}

SpawnPool::~SpawnPool() {
    Abandon([](pid_t) { return false; });
}

int SpawnPool::Descriptor() const { return m_state->ready.Get(); }

void SpawnPool::AddThread() {
    auto const worker = std::make_shared<Worker>();
    m_state->workers.push_back(worker);
    std::thread([state = m_state, worker] { Work(state, worker); }).detach();
}

void SpawnPool::Start(RunSpec spec, String mark, UniqueFd output) {
    ++m_inFlight;
    CommonMutex::Lock const lock(m_state->guard);
    m_state->orders.push_back({std::move(spec), std::move(mark), std::move(output)});
    m_state->wake.notify_one();
}

std::vector<SpawnPool::Done> SpawnPool::TakeDone() {
    eventfd_t ignored = 0;
    eventfd_read(m_state->ready.Get(), &ignored);
    std::vector<Done> done;
    CommonMutex::Lock const lock(m_state->guard);
    done.swap(m_state->done);
    m_inFlight -= done.size();
    return done;
}

void SpawnPool::Work(std::shared_ptr<State> const& state, std::shared_ptr<Worker> const& worker) {
    CommonMutex::Lock lock(state->guard);
    worker->thread = gettid();
    for (;;) {
        while (!state->stopping && state->orders.empty())
            state->wake.wait(lock);
        if (state->stopping)
            return;
        Order order = std::move(state->orders.front());
        state->orders.pop_front();
        worker->work = order.spec.work;
        worker->stage = Worker::Stage::Looking;
        worker->canceled = false;
        worker->since = SteadyClock::now();
        lock.unlock();
        SpawnResult result = SpawnUnit(std::move(order.spec), order.mark, order.output.Get(), [&] {
            CommonMutex::Lock const inner(state->guard);
            worker->stage = Worker::Stage::Starting;
            return !worker->canceled;
        });
        order.output.Reset();
        lock.lock();
        worker->stage = Worker::Stage::Idle;
        if (worker->canceled)
            continue;
        state->done.push_back({worker->work, std::move(result)});
        eventfd_write(state->ready.Get(), 1);
    }
}

int SpawnPool::Tend() {
    CommonMutex::Lock const lock(m_state->guard);
    auto const& workers = m_state->workers;
    if (m_state->orders.empty() || workers.size() >= k_MostThreads)
        return -1;
    auto latest = SteadyClock::time_point::min();
    for (auto const& worker : workers) {
        if (worker->stage == Worker::Stage::Idle)
            return k_StuckMs; // it is about to take one
        latest = std::max(latest, worker->since);
    }
    auto const busy = std::chrono::duration_cast<std::chrono::milliseconds>(SteadyClock::now() - latest).count();
    if (busy < k_StuckMs)
        return k_StuckMs - static_cast<int>(busy);
    AddThread();
    return k_StuckMs;
}

// True when it never starts.
bool SpawnPool::Cancel(Worker& worker, IsKnown const& isKnown) {
    if (worker.stage == Worker::Stage::Looking) {
        worker.canceled = true;
        return true;
    }
    for (pid_t const pid : ChildrenOfThread(worker.thread)) {
        bool const isDone = std::any_of(m_state->done.begin(), m_state->done.end(),
                                        [&](Done const& done) { return done.result.pid == pid; });
        if (!isDone && !isKnown(pid))
            kill(pid, SIGKILL);
    }
    return false;
}

bool SpawnPool::Kill(UID const& work, IsKnown const& isKnown) {
    CommonMutex::Lock const lock(m_state->guard);
    bool canceled = std::erase_if(m_state->orders, [&](Order const& order) { return order.spec.work == work; }) > 0;
    for (auto const& worker : m_state->workers) {
        if (worker->stage != Worker::Stage::Idle && worker->work == work && !worker->canceled)
            canceled = Cancel(*worker, isKnown) || canceled;
    }
    m_inFlight -= canceled ? 1 : 0;
    return canceled;
}

void SpawnPool::Abandon(IsKnown const& isKnown) {
    CommonMutex::Lock const lock(m_state->guard);
    m_state->stopping = true;
    m_inFlight -= m_state->orders.size();
    m_state->orders.clear();
    for (auto const& worker : m_state->workers) {
        if (worker->stage != Worker::Stage::Idle && !worker->canceled && Cancel(*worker, isKnown))
            --m_inFlight;
    }
    m_state->wake.notify_all();
}

} // namespace vorlan::runner
