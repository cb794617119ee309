#pragma once

#include <corekit/string.h>
#include <functional>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>
#include <wx/wxdblistctrl.h>

class wxDBTreeListCtrl;
class wxDBTreeModel;

// wxDBTreeListItem is one node of a tree list. What it stands for is in its id alone;
// its kind is a pair of functions that turn the id into texts and a colour.
// Owner: its tree list, from the moment it is put there until it is removed.
// Thread: the GUI thread.
// Always: it has no row while an item above it is closed or an item on the way is hidden.
class wxDBTreeListItem {
public:
    // Called at paint time, for items in sight only.
    using TextFunction = corekit::String (*)(wxDBTreeListCtrl& list, wxDBTreeListItem const& item, int column);
    using ColorFunction = wxColour (*)(wxDBTreeListCtrl& list, wxDBTreeListItem const& item);

    // Null: the text is the id in the first column, the colour is the list's own.
    static std::unique_ptr<wxDBTreeListItem> Make(corekit::String id, TextFunction text = nullptr,
                                                  ColorFunction color = nullptr);
    ~wxDBTreeListItem();

    // Unique among its siblings where Find is to find it.
    corekit::String const& GetId() const { return m_id; }
    // The root for the items of the first level; null for the root.
    wxDBTreeListItem* GetParent() const { return m_parent; }
    // 0 for the items of the first level; -1 for the root.
    int GetDepth() const;
    size_t GetChildCount() const { return m_children.size(); }
    wxDBTreeListItem* GetChild(size_t index) const { return m_children[index].get(); }
    bool HasShownChildren() const;

    corekit::String GetDisplayText(wxDBTreeListCtrl& list, int column) const;
    // Not valid: the list's own.
    wxColour GetColor(wxDBTreeListCtrl& list) const;

private:
    friend class wxDBTreeModel;
    using Children = std::vector<std::unique_ptr<wxDBTreeListItem>>;
    using Index = std::unordered_map<std::string_view, wxDBTreeListItem*>;

    wxDBTreeListItem(corekit::String id, TextFunction text, ColorFunction color);

    corekit::String const m_id;
    TextFunction const m_text;
    ColorFunction const m_color;
    wxDBTreeListItem* m_parent = nullptr;
    Children m_children;
    std::unique_ptr<Index> m_index; // of many children, once one was looked for
    int m_row = -1;
    bool m_open = false;
    bool m_hidden = false;
    bool m_selected = false;
};

// wxDBTreeListCtrl is a list whose rows are the nodes of a tree, each level further to
// the right, with marks that open and close.
// Owner: its parent window.
// Works with: the items, which it owns; wxDBListCtrl, for which it says what is in a row.
// Thread: the GUI thread.
// Always: the selection is one of items, whatever rows they have. Rows follow a change
// of the tree at once where a call needs them, else when the program is idle. The
// children of a closed item cost nothing.
class wxDBTreeListCtrl : public wxDBListCtrl {
public:
    using Item = wxDBTreeListItem;
    using ItemPtr = std::unique_ptr<wxDBTreeListItem>;
    // Whether `a` must stand above `b`. It may contradict itself; equals keep their order.
    using Before = std::function<bool(Item const& a, Item const& b)>;

    // `style` as wxDBListCtrl has it.
    explicit wxDBTreeListCtrl(wxWindow* parent, int id = wxID_ANY, long style = 0, long windowStyle = 0);
    ~wxDBTreeListCtrl() override;

    // --- Items. A null parent is the root.

    Item* GetRoot() const;
    // At the end of the parent's children.
    Item* AppendItem(Item* parent, ItemPtr item);
    // Where it belongs among siblings that are in this order.
    Item* InsertItem(Item* parent, ItemPtr item, Before const& before);
    // The item goes with all below it.
    void RemoveItem(Item* item);
    // The parent's child with this id, or null. Quick among any number.
    Item* FindItem(Item* parent, std::string_view id) const;
    // A hidden item has no row, nor has anything below it.
    void HideItem(Item* item, bool hide);
    size_t GetTreeSize() const;
    // Sorts the children at each level.
    void Sort(Before const& before);

    // --- Rows.

    // The item of a row, or null.
    Item* GetItem(int row);
    // The row of an item, or -1 when it has none.
    int GetRow(Item const* item);
    // The tree has been filled or changed, and the rows are wanted now.
    void UpdateRows();

    // --- Open and closed.

    bool IsOpen(Item const* item) const;
    // The selection within a closed item goes to the item itself.
    void SetOpen(Item* item, bool open);
    void Toggle(Item* item) { SetOpen(item, !IsOpen(item)); }
    // The item and all below it. Null: everything.
    void SetAllOpen(Item* item, bool open);
    // How items begin that are put in from now on.
    void SetOpenByDefault(bool open);
    // While a filter is on, every item is open; what was open before comes back after it.
    void SetFiltering(bool filtering);
    // Opens what is above the item and brings its row into sight.
    void ShowItem(Item* item);

    // Remembers by their ids which items are open.
    void PushExpandState();
    // Forgets what was remembered last; unless `discard`, puts the items that are there
    // now into that state first. Does nothing when there is none.
    void PopExpandState(bool discard);
    bool HasExpandState() const;

    // --- Selection.

    // In the order of the rows.
    std::vector<Item*> GetSelectedItems();
    bool IsItemSelected(Item const* item) const;
    void SelectItem(Item* item, bool on = true);
    // Where the keyboard stands, or null.
    Item* GetCurrentItem() { return GetItem(GetCurrentRow()); }

    // Pixels from the cell's left edge to the text of an item at a depth, without the
    // cell's padding.
    int GetIndentMargin(int depth = 0) const;

    // --- wxDBListCtrl's.

    void OnInternalIdle() override;
    bool IsRowSelected(int row) override;
    std::vector<int> GetSelection() override;
    corekit::String GetDisplayText(int row, int column) override;
    wxColour GetRowColor(int row) override;
    void DoClear() override;

protected:
    // An item has been opened or closed by the user.
    virtual void OnItemToggled(Item*) {}

    int GetCellIndent(int row, int column) override;
    Expander GetCellExpander(int row, int column) override;
    void OnExpander(int row, int column) override;
    bool HandleKey(wxKeyEvent& event) override;
    // The columns keep their order: the functions of the items go by it.
    bool MayMoveColumns() override { return false; }
    bool TryBefore(wxEvent& event) override;
    // A double click that nobody wants opens and closes.
    bool TryAfter(wxEvent& event) override;

private:
    // Rows of a tree come and go with its items only.
    using wxDBListCtrl::Insert;
    using wxDBListCtrl::Remove;

    Item* RowItem(int row) const;
    void Changed();
    void OpenByUser(Item* item, bool open);
    void HandleSign(Item* item, int key);
    void OnChar(wxKeyEvent& event);
    void GoTo(Item* item);
    void SelectAbove(Item* closed);

    std::unique_ptr<wxDBTreeModel> m_model;
    bool m_committing = false;
};
