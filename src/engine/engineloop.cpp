#include "engine/engineloop.h"

#include <corekit/exception.h>
#include <corekit/log.h>

#include <chrono>

namespace vorlan {

void EngineLoop::Post(std::function<void()> task) {
    CommonMutex::Lock const lock(m_guard);
    if (!m_closed) {
        m_tasks.push_back(std::move(task));
        m_wake.notify_one();
    }
}

void EngineLoop::PostBytes(size_t bytes, std::function<void()> task) {
    CommonMutex::Lock lock(m_guard);
    while (!m_closed && m_bytes >= k_WaitingBytes)
        m_room.wait(lock);
    if (!m_closed) {
        m_bytes += bytes;
        m_tasks.push_back(std::move(task));
        m_wake.notify_one();
    }
}

void EngineLoop::Run(std::function<int()> const& onTurn) {
    for (;;) {
        int const waitMs = onTurn();
        auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMs);
        std::vector<std::function<void()>> tasks;
        {
            CommonMutex::Lock lock(m_guard);
            while (!m_closed && m_tasks.empty() && m_wake.wait_until(lock, until) == std::cv_status::no_timeout) {
            }
            if (m_closed)
                return;
            tasks.swap(m_tasks);
            m_bytes = 0;
            m_room.notify_all();
        }
        for (auto const& task : tasks) {
            try {
                task();
            } catch (std::exception const& error) {
                LogError(String("The Engine could not deal with something: ") + error.what());
            }
        }
    }
}

void EngineLoop::Close() {
    CommonMutex::Lock const lock(m_guard);
    m_closed = true;
    m_tasks.clear();
    m_wake.notify_all();
    m_room.notify_all();
}

void LoopListener::OnRunStarted(UID const& work, int pid) {
    m_loop.Post([this, work, pid] { m_listener->OnRunStarted(work, pid); });
}

void LoopListener::OnRunOutput(UID const& work, std::string_view bytes) {
    m_loop.PostBytes(bytes.size(), [this, work, copy = std::string(bytes)] { m_listener->OnRunOutput(work, copy); });
}

void LoopListener::OnRunEnded(UID const& work, RunEnd const& end) {
    m_loop.Post([this, work, end] { m_listener->OnRunEnded(work, end); });
}

} // namespace vorlan
