#include "treemodel.h"

#include <corekit/stablesort.h>

#include <algorithm>

namespace {

// Fewer children are looked through one by one.
constexpr size_t k_ChildrenForIndex = 16;
constexpr char k_PathSeparator = '\x1f';

} // namespace

// --- wxDBTreeListItem.

wxDBTreeListItem::wxDBTreeListItem(corekit::String id, TextFunction text, ColorFunction color)
    : m_id(std::move(id)), m_text(text), m_color(color) {}

wxDBTreeListItem::~wxDBTreeListItem() = default;

std::unique_ptr<wxDBTreeListItem> wxDBTreeListItem::Make(corekit::String id, TextFunction text, ColorFunction color) {
    return std::unique_ptr<wxDBTreeListItem>(new wxDBTreeListItem(std::move(id), text, color));
}

int wxDBTreeListItem::GetDepth() const {
    int depth = -1;
    for (wxDBTreeListItem const* item = m_parent; item; item = item->m_parent)
        ++depth;
    return depth;
}

bool wxDBTreeListItem::HasShownChildren() const {
    return std::any_of(m_children.begin(), m_children.end(), [](auto const& child) { return !child->m_hidden; });
}

corekit::String wxDBTreeListItem::GetDisplayText(wxDBTreeListCtrl& list, int column) const {
    if (m_text)
        return m_text(list, *this, column);
    return column == 0 ? m_id : corekit::String();
}

wxColour wxDBTreeListItem::GetColor(wxDBTreeListCtrl& list) const {
    return m_color ? m_color(list, *this) : wxColour();
}

// --- wxDBTreeModel.

wxDBTreeModel::wxDBTreeModel() : m_root(wxDBTreeListItem::Make(corekit::String())) { m_root->m_open = true; }

wxDBTreeModel::~wxDBTreeModel() = default;

wxDBTreeListItem* wxDBTreeModel::Own(Item* parent, ItemPtr& item) {
    Item* const added = item.get();
    added->m_parent = parent;
    added->m_open = m_openByDefault;
    if (parent->m_index)
        parent->m_index->emplace(added->m_id, added);
    ++m_size;
    m_stale = true;
    return added;
}

wxDBTreeListItem* wxDBTreeModel::Append(Item* parent, ItemPtr item) {
    parent = parent ? parent : Root();
    Item* const added = Own(parent, item);
    parent->m_children.push_back(std::move(item));
    return added;
}

wxDBTreeListItem* wxDBTreeModel::Insert(Item* parent, ItemPtr item, Before const& before) {
    parent = parent ? parent : Root();
    Item* const added = Own(parent, item);
    auto const place =
        std::upper_bound(parent->m_children.begin(), parent->m_children.end(), added,
                         [&before](Item const* value, ItemPtr const& child) { return before(*value, *child); });
    parent->m_children.insert(place, std::move(item));
    return added;
}

void wxDBTreeModel::Unselect(Item* item) {
    if (!m_selected.empty())
        Select(item, false);
    for (ItemPtr const& child : item->m_children)
        Unselect(child.get());
    --m_size;
}

void wxDBTreeModel::Remove(Item* item) {
    if (!item || item == Root())
        return;
    Item* const parent = item->m_parent;
    auto const place = std::find_if(parent->m_children.begin(), parent->m_children.end(),
                                    [item](ItemPtr const& child) { return child.get() == item; });
    if (place == parent->m_children.end())
        return;
    Unselect(item);
    m_removed.push_back(std::move(*place));
    parent->m_children.erase(place);
    // Another one may have the same id; the next search makes the index again.
    parent->m_index.reset();
    m_stale = true;
}

void wxDBTreeModel::Clear() {
    m_rows.clear();
    m_selected.clear();
    m_removed.clear();
    m_root->m_index.reset();
    m_root->m_children.clear();
    m_size = 0;
    m_stale = false;
    m_hasLevels = false;
}

wxDBTreeListItem* wxDBTreeModel::Find(Item* parent, std::string_view id) const {
    parent = parent ? parent : Root();
    auto const& children = parent->m_children;
    if (children.size() < k_ChildrenForIndex) {
        auto const found = std::find_if(children.begin(), children.end(),
                                        [id](ItemPtr const& child) { return std::string_view(child->m_id) == id; });
        return found == children.end() ? nullptr : found->get();
    }
    if (!parent->m_index) {
        parent->m_index = std::make_unique<Item::Index>();
        parent->m_index->reserve(children.size());
        for (ItemPtr const& child : children)
            parent->m_index->emplace(child->m_id, child.get());
    }
    auto const found = parent->m_index->find(id);
    return found == parent->m_index->end() ? nullptr : found->second;
}

void wxDBTreeModel::Hide(Item* item, bool hide) {
    if (item->m_hidden == hide)
        return;
    item->m_hidden = hide;
    m_stale = true;
}

void wxDBTreeModel::SortLevel(Item* item, Before const& before) {
    corekit::StableSort(item->m_children, [&before](ItemPtr const& a, ItemPtr const& b) { return before(*a, *b); });
    for (ItemPtr const& child : item->m_children)
        SortLevel(child.get(), before);
}

void wxDBTreeModel::Sort(Before const& before) {
    SortLevel(Root(), before);
    m_stale = true;
}

void wxDBTreeModel::AddRows(Item* parent) {
    for (ItemPtr const& child : parent->m_children) {
        m_hasLevels = m_hasLevels || !child->m_children.empty();
        if (child->m_hidden)
            continue;
        child->m_row = static_cast<int>(m_rows.size());
        m_rows.push_back(child.get());
        if (IsOpen(child.get()))
            AddRows(child.get());
    }
}

void wxDBTreeModel::CollectRows() {
    for (Item* const item : m_rows)
        item->m_row = -1;
    m_rows.clear();
    m_hasLevels = false;
    AddRows(Root());
    m_stale = false;
}

int wxDBTreeModel::RowAtOrAbove(Item const* item) const {
    while (item && item->m_row < 0)
        item = item->m_parent;
    return RowOf(item);
}

void wxDBTreeModel::SetOpen(Item* item, bool open) {
    if (item == Root() || item->m_open == open)
        return;
    item->m_open = open;
    m_stale = true;
}

void wxDBTreeModel::SetAllOpen(Item* item, bool open) {
    item = item ? item : Root();
    SetOpen(item, open);
    for (ItemPtr const& child : item->m_children) {
        if (!child->m_children.empty())
            SetAllOpen(child.get(), open);
    }
}

void wxDBTreeModel::SetFiltering(bool filtering) {
    m_stale = m_stale || filtering != m_filtering;
    m_filtering = filtering;
}

template <class Visit>
void wxDBTreeModel::VisitParents(Item* item, corekit::String const& path, Visit const& visit) {
    for (ItemPtr const& child : item->m_children) {
        if (child->m_children.empty())
            continue;
        corekit::String const childPath = path + k_PathSeparator + child->m_id;
        visit(child.get(), childPath);
        VisitParents(child.get(), childPath, visit);
    }
}

void wxDBTreeModel::PushExpandState() {
    Paths paths;
    VisitParents(Root(), corekit::String(), [&](Item* item, corekit::String const& path) {
        if (item->m_open != m_openByDefault)
            paths.insert(path);
    });
    m_expandStates.push_back(std::move(paths));
}

bool wxDBTreeModel::PopExpandState(bool discard) {
    if (m_expandStates.empty())
        return false;
    Paths const paths = std::move(m_expandStates.back());
    m_expandStates.pop_back();
    if (!discard) {
        VisitParents(Root(), corekit::String(), [&](Item* item, corekit::String const& path) {
            SetOpen(item, m_openByDefault != paths.contains(path));
        });
    }
    return true;
}

void wxDBTreeModel::Select(Item* item, bool on) {
    if (item->m_selected == on)
        return;
    item->m_selected = on;
    if (on)
        m_selected.insert(item);
    else
        m_selected.erase(item);
}

std::vector<int> wxDBTreeModel::SelectedRows() const {
    std::vector<int> rows;
    rows.reserve(m_selected.size());
    for (Item const* const item : m_selected) {
        if (item->m_row >= 0)
            rows.push_back(item->m_row);
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

bool wxDBTreeModel::DropUnseenSelection() {
    return std::erase_if(m_selected, [](Item* const item) {
               if (item->m_row >= 0)
                   return false;
               item->m_selected = false;
               return true;
           }) > 0;
}
