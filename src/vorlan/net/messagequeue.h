#pragma once

#include <boost/shared_ptr.hpp>
#include <corekit/commonmutex.h>
#include <corekit/thread.h>
#include <vorlan/message.h>

#include <deque>
#include <functional>

namespace vorlan {

// One thing for the message thread to do.
struct QueuedMessage {
    enum class Kind { Message, Closed };
    static constexpr uint64_t k_Self = 0;

    Kind kind = Kind::Message;
    uint64_t connection = k_Self; // the number of the connection it came from
    boost::shared_ptr<Message> message;
};

// MessageThread takes what was queued, in order, and hands it to one function.
// Owner: the Messenger. Thread: Push on any.
// Always: who pushes for a connection waits while too much is queued, so that a
// fast Master cannot fill the memory; nobody waits once Release was called.
class MessageThread final : public Thread {
public:
    explicit MessageThread(std::function<void(QueuedMessage const&)> handle)
        : Thread("Messages"), m_handle(std::move(handle)) {}
    ~MessageThread() override { Stop(); }

    // `mayWait`: the caller can bear to be held up.
    void Push(QueuedMessage item, bool mayWait);
    // Lets nobody wait in Push any more (true), or again (false).
    void Release(bool released);
    // Drops the messages of the connections up to this number; messages to self and
    // the ends of connections stay.
    void Drop(uint64_t lastConnection);

    static constexpr size_t k_MaxQueued = 20'000;

protected:
    bool Execute() override;
    void OnStopSignaled() override;

private:
    std::function<void(QueuedMessage const&)> const m_handle;
    std::atomic<uint64_t> m_droppedUpTo{0}; // the number of the last connection whose messages do not count

    CommonMutex m_guard;
    CommonCondition m_some;
    CommonCondition m_room;
    std::deque<QueuedMessage> m_items CK_GUARDED_BY(m_guard);
    bool m_released CK_GUARDED_BY(m_guard) = false;
};

} // namespace vorlan
