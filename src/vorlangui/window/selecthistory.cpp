#include "selecthistory.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace vorlan {

namespace {
// Somebody may look at a row or two between two selections of all.
constexpr size_t k_LookBack = 4;
} // namespace

boost::shared_ptr<std::vector<UID> const> SelectHistory::Shared(std::set<UID> const& selected) {
    size_t const looked = std::min<size_t>(m_entries.size(), k_LookBack);
    for (size_t back = 1; back <= looked; ++back) {
        auto const& former = m_entries[m_entries.size() - back].selected;
        if (std::ranges::equal(*former, selected))
            return former;
    }
    m_keptIDs += selected.size();
    return boost::make_shared<std::vector<UID> const>(selected.begin(), selected.end());
}

void SelectHistory::Forget(SelectHistoryEntry const& entry) {
    if (entry.selected.use_count() == 1)
        m_keptIDs -= entry.selected->size();
}

void SelectHistory::Push(int kind, int list, UID const& anchor, std::set<UID> const& selected) {
    while (m_current + 1 < m_entries.size()) {
        Forget(m_entries.back());
        m_entries.pop_back();
    }
    m_entries.push_back({kind, list, anchor, Shared(selected)});
    while (m_entries.size() == k_Capacity || (m_keptIDs > k_MostIDs && m_entries.size() > 1)) {
        Forget(m_entries.front());
        m_entries.pop_front();
    }
    m_current = m_entries.size() - 1;
}

SelectHistoryEntry const* SelectHistory::GoToFormer() { return HasFormer() ? &m_entries[--m_current] : nullptr; }

SelectHistoryEntry const* SelectHistory::GoToLater() { return HasLater() ? &m_entries[++m_current] : nullptr; }

void PendingSelection::Forget(UID const& id) {
    auto const found = m_came.find(id);
    if (found == m_came.end())
        return;
    m_ids.erase(found->second);
    m_came.erase(found);
}

bool PendingSelection::Note(int list, UID const& id, bool selected) {
    if (list != m_list) {
        if (!selected)
            return false;
        m_ids.clear();
        m_came.clear();
    }
    Forget(id);
    if (selected) {
        m_ids.emplace(++m_count, id);
        m_came.emplace(id, m_count);
    }
    m_list = list;
    return true;
}

} // namespace vorlan
