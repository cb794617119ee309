#pragma once

// What a peer of a test was told, until the test asks for it.

#include "test.h"

#include <vorlan/message.h>

#include <boost/pointer_cast.hpp>

namespace vorlan {

// Any thread may add and take.
class Inbox {
public:
    void Add(boost::shared_ptr<Message> const& message) {
        std::lock_guard const lock(m_guard);
        m_messages.push_back(message);
        m_changed.notify_all();
    }

    // The first message of a kind that is wanted, taken off what came. Waits for it; null
    // and a failure of the test when none comes.
    template <class T>
    boost::shared_ptr<T> Take(std::function<bool(T const&)> const& wanted = [](T const&) { return true; }) {
        std::unique_lock lock(m_guard);
        auto const until = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        do {
            for (auto message = m_messages.begin(); message != m_messages.end(); ++message) {
                auto const found = boost::dynamic_pointer_cast<T>(*message);
                if (found && wanted(*found)) {
                    m_messages.erase(message);
                    return found;
                }
            }
        } while (m_changed.wait_until(lock, until) == std::cv_status::no_timeout);
        ADD_FAILURE() << "no " << T::k_Name << " came";
        return nullptr;
    }

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    std::vector<boost::shared_ptr<Message>> m_messages;
};

} // namespace vorlan
