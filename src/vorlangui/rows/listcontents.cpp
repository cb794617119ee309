#include "listcontents.h"

#include <corekit/callentry.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace vorlan {

ListContents::ListContents(std::vector<UID> rows, std::vector<uint32_t> rowsByID)
    : m_rows(std::move(rows)), m_rowsByID(std::move(rowsByID)) {}

size_t ListContents::size() const {
    Settle();
    return m_rows.size();
}

UID ListContents::operator[](size_t index) const {
    CALL_ENTRY_NAMED("ListContents::operator[ size_t index ]");
    Settle();
    return index < m_rows.size() ? m_rows[index] : UID::Null;
}

unsigned ListContents::operator[](UID const& id) const {
    CALL_ENTRY_NAMED("ListContents::operator[ UID id ]");
    Settle();
    return index_from_iterator(find_iterator(id));
}

void ListContents::Retain(std::set<UID>& ids) const {
    // A search for each costs more than a walk along all when there are so many.
    constexpr size_t k_ManyPart = 16;
    Settle();
    if (ids.size() < m_rows.size() / k_ManyPart) {
        std::erase_if(ids, [this](UID const& id) { return find_iterator(id) == m_rowsByID.end(); });
        return;
    }
    auto at = m_rowsByID.begin();
    std::erase_if(ids, [&](UID const& id) {
        while (at != m_rowsByID.end() && m_rows[*at] < id)
            ++at;
        return at == m_rowsByID.end() || m_rows[*at] != id;
    });
}

void ListContents::Insert(UID const& id) { m_rows.push_back(id); }

void ListContents::swap(ListContents& other) noexcept {
    m_rows.swap(other.m_rows);
    m_rowsByID.swap(other.m_rowsByID);
}

void ListContents::clear() {
    m_rows.clear();
    m_rowsByID.clear();
}

ListContents::Index::const_iterator ListContents::find_iterator(UID const& id) const {
    auto const at = std::lower_bound(m_rowsByID.begin(), m_rowsByID.end(), id,
                                     [this](uint32_t row, UID const& key) { return m_rows[row] < key; });
    return at != m_rowsByID.end() && m_rows[*at] == id ? at : m_rowsByID.end();
}

unsigned ListContents::index_from_iterator(Index::const_iterator at) const {
    return at == m_rowsByID.end() ? k_NoRow : *at;
}

void ListContents::Settle() const {
    size_t const known = m_rowsByID.size();
    if (known == m_rows.size())
        return;
    m_rowsByID.resize(m_rows.size());
    auto const fresh = m_rowsByID.begin() + static_cast<std::ptrdiff_t>(known);
    std::iota(fresh, m_rowsByID.end(), static_cast<uint32_t>(known));
    // The earlier row first, so that it is the one that stays.
    auto const before = [this](uint32_t a, uint32_t b) {
        auto const order = m_rows[a] <=> m_rows[b];
        return order == 0 ? a < b : order < 0;
    };
    if (!std::is_sorted(fresh, m_rowsByID.end(), before))
        std::sort(fresh, m_rowsByID.end(), before);
    std::inplace_merge(m_rowsByID.begin(), fresh, m_rowsByID.end(), before);
    DropRepeated();
}

void ListContents::DropRepeated() const {
    auto const repeats = [this](uint32_t a, uint32_t b) { return m_rows[a] == m_rows[b]; };
    if (std::adjacent_find(m_rowsByID.begin(), m_rowsByID.end(), repeats) == m_rowsByID.end())
        return;
    std::vector<bool> isRepeated(m_rows.size());
    for (size_t i = 1; i < m_rowsByID.size(); ++i)
        isRepeated[m_rowsByID[i]] = repeats(m_rowsByID[i - 1], m_rowsByID[i]);
    Index rowNow(m_rows.size());
    uint32_t next = 0;
    for (size_t row = 0; row < m_rows.size(); ++row) {
        rowNow[row] = next;
        if (!isRepeated[row])
            m_rows[next++] = m_rows[row];
    }
    m_rows.resize(next);
    std::erase_if(m_rowsByID, [&](uint32_t row) { return isRepeated[row]; });
    for (uint32_t& row : m_rowsByID)
        row = rowNow[row];
}

} // namespace vorlan
