#include "treemodel.h"

#include <corekit/callentry.h>
#include <wx/app.h>

namespace {

// One level further to the right; as wide as the mark and its gap.
constexpr int k_IndentStep = 16;

} // namespace

wxDBTreeListCtrl::wxDBTreeListCtrl(wxWindow* parent, int id, long style, long windowStyle)
    : wxDBListCtrl(parent, id, style, windowStyle), m_model(std::make_unique<wxDBTreeModel>()) {
    Bind(wxEVT_CHAR, &wxDBTreeListCtrl::OnChar, this);
}

wxDBTreeListCtrl::~wxDBTreeListCtrl() = default;

// --- Items.

wxDBTreeListItem* wxDBTreeListCtrl::GetRoot() const { return m_model->Root(); }

wxDBTreeListItem* wxDBTreeListCtrl::AppendItem(Item* parent, ItemPtr item) {
    Changed();
    return m_model->Append(parent, std::move(item));
}

wxDBTreeListItem* wxDBTreeListCtrl::InsertItem(Item* parent, ItemPtr item, Before const& before) {
    Changed();
    return m_model->Insert(parent, std::move(item), before);
}

void wxDBTreeListCtrl::RemoveItem(Item* item) {
    Changed();
    m_model->Remove(item);
}

wxDBTreeListItem* wxDBTreeListCtrl::FindItem(Item* parent, std::string_view id) const {
    return m_model->Find(parent, id);
}

void wxDBTreeListCtrl::HideItem(Item* item, bool hide) {
    Changed();
    m_model->Hide(item, hide);
}

size_t wxDBTreeListCtrl::GetTreeSize() const { return m_model->Size(); }

void wxDBTreeListCtrl::Sort(Before const& before) {
    CALL_ENTRY();
    Changed();
    m_model->Sort(before);
}

// --- Rows.

wxDBTreeListItem* wxDBTreeListCtrl::RowItem(int row) const { return m_model->At(row); }

void wxDBTreeListCtrl::Changed() {
    if (!m_model->IsStale())
        wxWakeUpIdle();
}

wxDBTreeListItem* wxDBTreeListCtrl::GetItem(int row) {
    UpdateRows();
    return RowItem(row);
}

int wxDBTreeListCtrl::GetRow(Item const* item) {
    UpdateRows();
    return m_model->RowOf(item);
}

void wxDBTreeListCtrl::UpdateRows() {
    if (!m_model->IsStale())
        return;
    CALL_ENTRY();
    // What stands under an editor is about to move. The editor's end may ask for rows.
    if (GetOverlay() && !m_committing) {
        m_committing = true;
        CommitCellEdit();
        m_committing = false;
    }
    Item const* const anchor = RowItem(GetLastSelect());
    Item const* const current = RowItem(GetCurrentRow());
    m_model->MakeRows([&] {
        SetItemCount(m_model->RowCount());
        SetLastSelect(m_model->RowOf(anchor));
        SetCurrentRow(m_model->RowAtOrAbove(current));
    });
}

void wxDBTreeListCtrl::OnInternalIdle() {
    UpdateRows();
    wxDBListCtrl::OnInternalIdle();
}

// --- Open and closed.

bool wxDBTreeListCtrl::IsOpen(Item const* item) const { return item && m_model->IsOpen(item); }

void wxDBTreeListCtrl::SetOpen(Item* item, bool open) {
    if (!item || m_model->IsFiltering() || m_model->IsOpen(item) == open)
        return;
    UpdateRows();
    Changed();
    m_model->SetOpen(item, open);
    UpdateRows();
    if (!open)
        SelectAbove(item);
}

void wxDBTreeListCtrl::SetAllOpen(Item* item, bool open) {
    UpdateRows();
    Changed();
    m_model->SetAllOpen(item, open);
    UpdateRows();
    if (!open)
        SelectAbove(item);
}

void wxDBTreeListCtrl::SelectAbove(Item* closed) {
    int const row = m_model->RowOf(closed);
    if (m_model->DropUnseenSelection() && row >= 0)
        Select(row);
}

void wxDBTreeListCtrl::SetOpenByDefault(bool open) { m_model->SetOpenByDefault(open); }

void wxDBTreeListCtrl::SetFiltering(bool filtering) {
    Changed();
    m_model->SetFiltering(filtering);
}

void wxDBTreeListCtrl::ShowItem(Item* item) {
    if (!item)
        return;
    Changed();
    for (Item* above = item->GetParent(); above; above = above->GetParent())
        m_model->SetOpen(above, true);
    EnsureVisible(GetRow(item));
}

void wxDBTreeListCtrl::PushExpandState() { m_model->PushExpandState(); }

void wxDBTreeListCtrl::PopExpandState(bool discard) {
    Changed();
    m_model->PopExpandState(discard);
}

bool wxDBTreeListCtrl::HasExpandState() const { return m_model->HasExpandState(); }

// --- Selection.

std::vector<wxDBTreeListItem*> wxDBTreeListCtrl::GetSelectedItems() {
    std::vector<Item*> items;
    for (int const row : GetSelection())
        items.push_back(RowItem(row));
    return items;
}

bool wxDBTreeListCtrl::IsItemSelected(Item const* item) const { return item && m_model->IsSelected(item); }

void wxDBTreeListCtrl::SelectItem(Item* item, bool on) {
    if (int const row = GetRow(item); row >= 0)
        Select(row, on ? 1 : 0);
}

bool wxDBTreeListCtrl::IsRowSelected(int row) {
    Item const* const item = RowItem(row);
    return item && m_model->IsSelected(item);
}

std::vector<int> wxDBTreeListCtrl::GetSelection() {
    UpdateRows();
    return m_model->SelectedRows();
}

// --- What wxDBListCtrl asks.

int wxDBTreeListCtrl::GetIndentMargin(int depth) const {
    return FromDIP(k_IndentStep) * (depth + (m_model->HasLevels() ? 1 : 0));
}

corekit::String wxDBTreeListCtrl::GetDisplayText(int row, int column) {
    Item const* const item = RowItem(row);
    return item ? item->GetDisplayText(*this, column) : corekit::String();
}

wxColour wxDBTreeListCtrl::GetRowColor(int row) {
    Item const* const item = RowItem(row);
    wxColour const color = item ? item->GetColor(*this) : wxColour();
    return color.IsOk() ? color : wxDBListCtrl::GetRowColor(row);
}

void wxDBTreeListCtrl::DoClear() {
    m_model->Clear();
    wxDBListCtrl::DoClear();
}

int wxDBTreeListCtrl::GetCellIndent(int row, int column) {
    Item const* const item = RowItem(row);
    if (column != 0 || !item)
        return wxDBListCtrl::GetCellIndent(row, column);
    // The mark has the room of the last step.
    int const depth = item->GetDepth();
    return item->HasShownChildren() ? FromDIP(k_IndentStep) * depth : GetIndentMargin(depth);
}

wxDBListCtrl::Expander wxDBTreeListCtrl::GetCellExpander(int row, int column) {
    Item const* const item = RowItem(row);
    if (column != 0 || !item || !item->HasShownChildren())
        return Expander::None;
    return m_model->IsOpen(item) ? Expander::Open : Expander::Closed;
}

void wxDBTreeListCtrl::OpenByUser(Item* item, bool open) {
    if (m_model->IsFiltering() || m_model->IsOpen(item) == open || !item->HasShownChildren())
        return;
    SetOpen(item, open);
    OnItemToggled(item);
}

void wxDBTreeListCtrl::OnExpander(int row, int) {
    CALL_ENTRY();
    if (Item* const item = GetItem(row))
        OpenByUser(item, !IsOpen(item));
}

void wxDBTreeListCtrl::GoTo(Item* item) {
    int const row = GetRow(item);
    if (row < 0)
        return;
    DeselectAll();
    Select(row);
    EnsureVisible(row);
}

void wxDBTreeListCtrl::HandleSign(Item* item, int key) {
    bool const all = key == '*' || key == WXK_NUMPAD_MULTIPLY;
    if (all && item->HasShownChildren() && !m_model->IsFiltering()) {
        SetAllOpen(item, true);
        OnItemToggled(item);
    } else if (!all) {
        OpenByUser(item, key == '+' || key == WXK_NUMPAD_ADD);
    }
}

// Many keyboards have '+' and '*' with the shift key only, so that the character counts.
void wxDBTreeListCtrl::OnChar(wxKeyEvent& event) {
    CALL_ENTRY();
    wxChar const sign = event.GetUnicodeKey();
    Item* const item = sign == '+' || sign == '-' || sign == '*' ? GetCurrentItem() : nullptr;
    if (item && !event.HasModifiers())
        HandleSign(item, sign);
    else
        event.Skip();
}

bool wxDBTreeListCtrl::HandleKey(wxKeyEvent& event) {
    CALL_ENTRY();
    Item* const item = GetCurrentItem();
    if (!item || event.HasModifiers())
        return wxDBListCtrl::HandleKey(event);
    bool const opens = item->HasShownChildren();
    switch (event.GetKeyCode()) {
    case WXK_RIGHT:
    case WXK_NUMPAD_RIGHT:
        if (!opens)
            return false;
        if (IsOpen(item))
            GoTo(GetItem(GetRow(item) + 1));
        else
            OpenByUser(item, true);
        return true;
    case WXK_LEFT:
    case WXK_NUMPAD_LEFT:
        if (opens && IsOpen(item) && !m_model->IsFiltering())
            OpenByUser(item, false);
        else if (item->GetParent() != GetRoot())
            GoTo(item->GetParent());
        else
            return false;
        return true;
    case WXK_NUMPAD_ADD:
    case WXK_NUMPAD_SUBTRACT:
    case WXK_NUMPAD_MULTIPLY:
        HandleSign(item, event.GetKeyCode());
        return true;
    default:
        return wxDBListCtrl::HandleKey(event);
    }
}

// The list's own events tell which rows are selected, before anybody else hears them.
bool wxDBTreeListCtrl::TryBefore(wxEvent& event) {
    wxEventType const type = event.GetEventType();
    if (event.GetEventObject() == this && (type == wxEVT_LIST_ITEM_SELECTED || type == wxEVT_LIST_ITEM_DESELECTED)) {
        long const row = static_cast<wxListEvent&>(event).GetIndex();
        if (Item* const item = RowItem(static_cast<int>(row)))
            m_model->Select(item, type == wxEVT_LIST_ITEM_SELECTED);
    }
    return wxDBListCtrl::TryBefore(event);
}

bool wxDBTreeListCtrl::TryAfter(wxEvent& event) {
    if (wxDBListCtrl::TryAfter(event))
        return true;
    if (event.GetEventObject() != this || event.GetEventType() != wxEVT_LIST_ITEM_ACTIVATED)
        return false;
    Item* const item = RowItem(static_cast<int>(static_cast<wxListEvent&>(event).GetIndex()));
    if (!item || !item->HasShownChildren())
        return false;
    OpenByUser(item, !IsOpen(item));
    return true;
}
