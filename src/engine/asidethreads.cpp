#include "engine/asidethreads.h"

#include <corekit/log.h>

#include <pthread.h>

#include <exception>
#include <thread>

namespace vorlan {

AsideThreads::AsideThreads(std::function<void(Then)> post) {
    CommonMutex::Lock const lock(m_state->guard);
    m_state->post = std::move(post);
}

AsideThreads::~AsideThreads() {
    CommonMutex::Lock const lock(m_state->guard);
    m_state->stopping = true;
    m_state->waiting.clear();
    m_state->post = {};
    m_state->wake.notify_all();
}

void AsideThreads::Run(Work work) {
    CommonMutex::Lock const lock(m_state->guard);
    m_state->waiting.push_back(std::move(work));
    m_state->wake.notify_one();
    if (m_state->idle >= m_state->waiting.size() || m_state->threads >= k_Threads)
        return;
    ++m_state->threads;
    std::thread([state = m_state] { Serve(state); }).detach();
}

void AsideThreads::Serve(std::shared_ptr<State> const& state) {
    pthread_setname_np(pthread_self(), "Aside");
    CommonMutex::Lock lock(state->guard);
    for (;;) {
        ++state->idle;
        while (!state->stopping && state->waiting.empty())
            state->wake.wait(lock);
        --state->idle;
        if (state->stopping)
            return;
        Work work = std::move(state->waiting.front());
        state->waiting.pop_front();
        lock.unlock();
        Then then;
        try {
            then = work();
        } catch (std::exception const& error) {
            LogError(String("A background function was ended by an exception: ") + error.what());
        }
        work = {};
        lock.lock();
        if (then && !state->stopping)
            state->post(std::move(then)); // only puts it into a queue
    }
}

} // namespace vorlan
