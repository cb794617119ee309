#include "master/net/inbox.h"

namespace farm {

void Inbox::Push(Incoming event) {
    CommonMutex::Lock lock(m_guard);
    m_emptied.wait(lock, [&]() CK_REQUIRES(m_guard) { return m_closed || m_events.size() < k_Limit; });
    if (m_closed)
        return;
    m_events.push_back(std::move(event));
    if (m_events.size() == 1)
        m_filled.notify_one();
}

std::deque<Incoming> Inbox::TakeEvents(size_t most, std::chrono::steady_clock::time_point until) {
    std::deque<Incoming> taken;
    CommonMutex::Lock lock(m_guard);
    m_filled.wait_until(lock, until, [&]() CK_REQUIRES(m_guard) { return m_closed || !m_events.empty(); });
    if (m_events.size() <= most) {
        taken.swap(m_events);
    } else {
        auto const end = m_events.begin() + static_cast<std::ptrdiff_t>(most);
        taken.assign(std::make_move_iterator(m_events.begin()), std::make_move_iterator(end));
        m_events.erase(m_events.begin(), end);
    }
    if (!taken.empty())
        m_emptied.notify_all();
    return taken;
}

void Inbox::Close() {
    CommonMutex::Lock const lock(m_guard);
    m_closed = true;
    m_filled.notify_all();
    m_emptied.notify_all();
}

bool Inbox::IsClosed() const {
    CommonMutex::Lock const lock(m_guard);
    return m_closed;
}

} // namespace farm
