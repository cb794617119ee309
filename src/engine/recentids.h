#pragma once

// The last so many ids that were told.

#include <vorlan/fwd.h>

#include <deque>
#include <set>

namespace vorlan {

// Remembers ids and forgets the oldest when there are too many. Owned by the WorkDesk; its thread.
class RecentIds {
public:
    static constexpr size_t k_Kept = 4096;

    bool Contains(UID const& id) const { return m_ids.contains(id); }
    void Add(UID const& id) {
        if (!m_ids.insert(id).second)
            return;
        m_order.push_back(id);
        if (m_order.size() > k_Kept) {
            m_ids.erase(m_order.front());
            m_order.pop_front();
        }
    }

private:
    std::set<UID> m_ids;
    std::deque<UID> m_order;
};

} // namespace vorlan
