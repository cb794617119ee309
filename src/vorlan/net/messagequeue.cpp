#include "messagequeue.h"

namespace vorlan {

void MessageThread::Push(QueuedMessage item, bool mayWait) {
    {
        CommonMutex::Lock lock(m_guard);
        if (mayWait && m_items.size() >= k_MaxQueued)
            m_room.wait(lock, [this]() CK_REQUIRES(m_guard) {
                return m_items.size() < k_MaxQueued || m_released || IsStopping();
            });
        m_items.push_back(std::move(item));
    }
    m_some.notify_one();
}

void MessageThread::Release(bool released) {
    {
        CommonMutex::Lock const lock(m_guard);
        m_released = released;
    }
    m_room.notify_all();
}

void MessageThread::Drop(uint64_t lastConnection) {
    // What the thread has in hand is passed over as well.
    uint64_t dropped = m_droppedUpTo.load();
    while (dropped < lastConnection && !m_droppedUpTo.compare_exchange_weak(dropped, lastConnection)) {
    }
}

bool MessageThread::Execute() {
    std::deque<QueuedMessage> items;
    {
        CommonMutex::Lock lock(m_guard);
        m_some.wait(lock, [this]() CK_REQUIRES(m_guard) { return !m_items.empty() || IsStopping(); });
        items.swap(m_items);
    }
    m_room.notify_all();
    for (QueuedMessage& item : items) {
        if (IsStopping())
            return false;
        QueuedMessage const taken = std::move(item);
        bool const dropped = taken.kind == QueuedMessage::Kind::Message && taken.connection != QueuedMessage::k_Self &&
                             taken.connection <= m_droppedUpTo.load(std::memory_order_relaxed);
        if (!dropped)
            m_handle(taken);
    }
    return true;
}

void MessageThread::OnStopSignaled() {
    // Taken and given up, so that the waiting ones do not miss the call.
    { CommonMutex::Lock const lock(m_guard); }
    m_some.notify_all();
    m_room.notify_all();
}

} // namespace vorlan
