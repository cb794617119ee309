#include <vorlan/enginehistory.h>

namespace vorlan {

void EngineHistory::Push(EngineHistoryElement const& element, size_t maxItems) {
    m_items.push_back(element);
    while (m_items.size() > maxItems)
        m_items.pop_front();
}

} // namespace vorlan
