#include "selecthistory.h"

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

void PendingSelection::Forget(int row) {
    auto const found = m_came.find(row);
    if (found == m_came.end())
        return;
    m_rows.erase(found->second);
    m_came.erase(found);
}

bool PendingSelection::Note(int list, int row, bool selected) {
    if (list != m_list) {
        if (!selected)
            return false;
        m_rows.clear();
        m_came.clear();
    }
    Forget(row);
    if (selected) {
        m_rows.emplace(++m_count, row);
        m_came.emplace(row, m_count);
    }
    m_list = list;
    return true;
}

} // namespace vorlan
