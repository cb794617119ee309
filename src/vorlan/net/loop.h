#pragma once

#include "asio.h"

#include <corekit/thread.h>
#include <vorlan/fwd.h>

namespace vorlan::net {

// Loop is one network thread: everything of its connections happens on it.
// Owner: a Server or Client. Thread: Start and Stop on the owner's.
class Loop final : public Thread {
public:
    explicit Loop(String name)
        : Thread(std::move(name)),
          m_context(std::make_shared<asio::io_context>(1)),
          m_work(m_context->get_executor()) {}
    ~Loop() override {
        Stop();
        Drain();
    }

    asio::io_context& Context() { return *m_context; }
    Executor GetExecutor() { return m_context->get_executor(); }
    // For a task elsewhere that comes back here, perhaps after the loop's end.
    std::shared_ptr<asio::io_context> SharedContext() { return m_context; }
    template <class Function>
    void Post(Function&& function) {
        asio::post(m_context->get_executor(), std::forward<Function>(function));
    }

    // Runs what is left after the thread's end, on the calling thread: what the
    // closed sockets still owe holds on to its owners otherwise.
    void Drain() {
        m_work.reset();
        m_context->restart();
        m_context->poll();
    }

protected:
    bool Execute() override {
        m_context->run();
        return false;
    }
    void OnStopSignaled() override { m_context->stop(); }

private:
    std::shared_ptr<asio::io_context> const m_context;
    asio::executor_work_guard<Executor> m_work;
};

} // namespace vorlan::net
