#pragma once

#include <boost/shared_ptr.hpp>
#include <corekit/uid.h>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <unordered_map>
#include <vector>
#include <vorlan/fwd.h>

namespace vorlan {

// Which kind of list a window id belongs to: the ids of a kind count up from these.
inline constexpr int k_ListOfEngines = 2500;
inline constexpr int k_ListOfJobs = 2600;
inline constexpr int k_ListOfWork = 2700;
inline constexpr int k_ListOfNothing = -1;
inline constexpr int k_ListKindSpan = 100;

constexpr int ListKind(int windowId) { return windowId - windowId % k_ListKindSpan; }

// What was selected at one moment.
struct SelectHistoryEntry {
    int kind = k_ListOfNothing;
    int list = 0; // its window id; 0: none
    UID anchor;   // the row that the info pane followed
    // In order; never null. Entries near each other share it if it is the same.
    boost::shared_ptr<std::vector<UID> const> selected;

    std::set<UID> Selected() const { return {selected->begin(), selected->end()}; }
};

// SelectHistory is the way back through what has been selected, and forth again.
// Owner: the MainWindow. Thread: the GUI thread.
// Always: it holds fewer than k_Capacity entries, and more than one of them only while all
// their selections together have at most k_MostIDs.
class SelectHistory {
public:
    static constexpr size_t k_Capacity = 0x2000;
    static constexpr size_t k_MostIDs = 2'000'000;

    // A new selection; what lay ahead of the current one is gone.
    void Push(int kind, int list, UID const& anchor, std::set<UID> const& selected);

    bool HasFormer() const { return m_current != 0 && m_current < m_entries.size(); }
    bool HasLater() const { return !m_entries.empty() && m_current + 1 < m_entries.size(); }
    // Goes there; null, and nothing changes, if there is none.
    SelectHistoryEntry const* GoToFormer();
    SelectHistoryEntry const* GoToLater();

    size_t Size() const { return m_entries.size(); }
    // Of all selections; a shared one counts once.
    size_t KeptIDs() const { return m_keptIDs; }

private:
    // That of an entry shortly before if it is the same.
    boost::shared_ptr<std::vector<UID> const> Shared(std::set<UID> const& selected);
    void Forget(SelectHistoryEntry const& entry);

    std::deque<SelectHistoryEntry> m_entries;
    size_t m_current = 0;
    size_t m_keptIDs = 0;
};

// PendingSelection gathers the row events of one list until they have come to rest, by what
// stands in the rows: the rows themselves may move meanwhile.
// Thread: the GUI thread.
class PendingSelection {
public:
    // What stands in a row of the list has been selected or taken out. False: the event is
    // of no consequence, because the list is not the one that is being selected in.
    bool Note(int list, UID const& id, bool selected);

    // Window id of the list; 0 before the first event.
    int List() const { return m_list; }
    // What was selected last of that for which `isSelected(id)` still holds; null: nothing.
    template <class IsSelected>
    UID Last(IsSelected&& isSelected) const {
        for (auto at = m_ids.rbegin(); at != m_ids.rend(); ++at) {
            if (isSelected(at->second))
                return at->second;
        }
        return UID::Null;
    }

private:
    void Forget(UID const& id);

    int m_list = 0;
    // The ids by when they came, and when each came: 100,000 may come and go at once.
    std::map<uint64_t, UID> m_ids;
    std::unordered_map<UID, uint64_t> m_came;
    uint64_t m_count = 0;
};

} // namespace vorlan
