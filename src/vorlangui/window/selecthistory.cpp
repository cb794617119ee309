#include "selecthistory.h"

#include <algorithm>

namespace vorlan {

void SelectHistory::Push(SelectHistoryEntry entry) {
    if (m_current + 1 < m_entries.size())
        m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(m_current) + 1, m_entries.end());
    m_entries.push_back(std::move(entry));
    if (m_entries.size() == k_Capacity)
        m_entries.pop_front();
    m_current = m_entries.size() - 1;
}

SelectHistoryEntry const* SelectHistory::GoToFormer() { return HasFormer() ? &m_entries[--m_current] : nullptr; }

SelectHistoryEntry const* SelectHistory::GoToLater() { return HasLater() ? &m_entries[++m_current] : nullptr; }

bool PendingSelection::Note(int list, int row, bool selected) {
    if (selected) {
        if (list != m_list)
            m_rows.clear();
        m_rows.push_back(row);
    } else {
        if (list != m_list)
            return false;
        // Those that went in last come out first.
        auto const found = std::find(m_rows.rbegin(), m_rows.rend(), row);
        if (found != m_rows.rend())
            m_rows.erase(std::next(found).base());
    }
    m_list = list;
    return true;
}

} // namespace vorlan
