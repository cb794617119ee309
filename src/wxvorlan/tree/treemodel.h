#pragma once

#include <wx/wxdbtreelistctrl.h>

#include <unordered_set>
#include <vector>

// wxDBTreeModel is the tree behind a tree list and the rows that it makes; no window.
// Owner: a tree list. Thread: the GUI thread.
// Always: items that were removed live until the rows have been made anew, so that a
// row never stands for something that is gone.
class wxDBTreeModel {
public:
    using Item = wxDBTreeListItem;
    using ItemPtr = std::unique_ptr<wxDBTreeListItem>;
    using Before = wxDBTreeListCtrl::Before;

    wxDBTreeModel();
    ~wxDBTreeModel();

    Item* Root() const { return m_root.get(); }
    Item* Append(Item* parent, ItemPtr item);
    Item* Insert(Item* parent, ItemPtr item, Before const& before);
    void Remove(Item* item);
    // No items and no rows. What was pushed stays.
    void Clear();
    Item* Find(Item* parent, std::string_view id) const;
    void Hide(Item* item, bool hide);
    size_t Size() const { return m_size; }
    void Sort(Before const& before);

    // Whether the rows are older than the tree.
    bool IsStale() const { return m_stale; }
    // `made` runs while what was removed is still there, without a row.
    template <class Made>
    void MakeRows(Made const& made) {
        CollectRows();
        made();
        m_removed.clear();
    }
    int RowCount() const { return static_cast<int>(m_rows.size()); }
    // As of the last MakeRows.
    Item* At(int row) const { return row >= 0 && row < RowCount() ? m_rows[static_cast<size_t>(row)] : nullptr; }
    int RowOf(Item const* item) const { return item ? item->m_row : -1; }
    // Of the item or of the nearest one above it that has a row.
    int RowAtOrAbove(Item const* item) const;
    // Any item has something to open.
    bool HasLevels() const { return m_hasLevels; }

    bool IsOpen(Item const* item) const { return m_filtering || item->m_open; }
    void SetOpen(Item* item, bool open);
    void SetAllOpen(Item* item, bool open);
    void SetOpenByDefault(bool open) { m_openByDefault = open; }
    void SetFiltering(bool filtering);
    bool IsFiltering() const { return m_filtering; }

    void PushExpandState();
    bool PopExpandState(bool discard);
    bool HasExpandState() const { return !m_expandStates.empty(); }

    bool IsSelected(Item const* item) const { return item->m_selected; }
    void Select(Item* item, bool on);
    std::vector<int> SelectedRows() const;
    // Takes what has no row out of the selection; true when there was something.
    bool DropUnseenSelection();

private:
    using Paths = std::unordered_set<corekit::String>;

    Item* Own(Item* parent, ItemPtr& item);
    void CollectRows();
    void AddRows(Item* parent);
    void Unselect(Item* item);
    static void SortLevel(Item* item, Before const& before);
    // Calls `visit` with each item that has children, and the path of its ids.
    template <class Visit>
    static void VisitParents(Item* item, corekit::String const& path, Visit const& visit);

    ItemPtr m_root;
    std::vector<Item*> m_rows;
    std::vector<ItemPtr> m_removed;
    std::unordered_set<Item*> m_selected;
    // The items that are not as they begin.
    std::vector<Paths> m_expandStates;
    size_t m_size = 0;
    bool m_stale = false;
    bool m_hasLevels = false;
    bool m_openByDefault = false;
    bool m_filtering = false;
};
