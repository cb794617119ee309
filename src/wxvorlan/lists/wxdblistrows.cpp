// The rows of wxDBListCtrl, their selection, and what they are if no subclass says more.
#include "listinput.h"
#include "listpainter.h"

#include <algorithm>
#include <wx/dc.h>
#include <wx/wxvcolors.h>

using corekit::String;

// --- Rows

void wxDBListCtrl::Insert(int at, size_t count, bool redraw) {
    int const rows = GetItemCount();
    int const more = static_cast<int>(std::min(count, static_cast<size_t>(wxDBListLayout::k_MaxRows - rows)));
    if (more == 0)
        return;
    at = std::clamp(at, 0, rows);
    auto follow = [at, more](int& row) { row += row >= at ? more : 0; };
    follow(m_state->anchor);
    follow(m_state->current);
    follow(m_state->overlayRow);
    std::set<int> selected;
    for (int row : m_state->selected) {
        follow(row);
        selected.insert(selected.end(), row);
    }
    m_state->selected.swap(selected);
    m_state->layout.SetRowCount(rows + more);
    m_state->layoutChanged = true;
    if (redraw)
        Redraw();
    else
        wxWakeUpIdle();
}

void wxDBListCtrl::Remove(int row) {
    if (!m_state->IsRow(row))
        return;
    if (row == m_state->overlayRow)
        CommitCellEdit();
    auto follow = [row](int other) { return other == row ? -1 : other > row ? other - 1 : other; };
    m_state->anchor = follow(m_state->anchor);
    m_state->overlayRow = follow(m_state->overlayRow);
    // The keyboard stays about where it was.
    m_state->current = std::min(m_state->current > row ? m_state->current - 1 : m_state->current, GetItemCount() - 2);
    std::set<int> selected;
    for (int const other : m_state->selected) {
        if (other != row)
            selected.insert(selected.end(), follow(other));
    }
    m_state->selected.swap(selected);
    m_state->layout.SetRowCount(GetItemCount() - 1);
    m_state->layoutChanged = true;
    Redraw();
}

void wxDBListCtrl::Clear() {
    if (m_state->overlay)
        CommitCellEdit();
    m_state->anchor = m_state->current = m_state->overlayRow = -1;
    m_state->selected.clear();
    m_state->layout.SetRowCount(0);
    m_state->layoutChanged = true;
    DoClear();
    Redraw();
}

void wxDBListCtrl::SetItemCount(int rows) {
    m_state->selected.clear();
    m_state->anchor = m_state->current = -1;
    m_state->layout.SetRowCount(std::clamp(rows, 0, wxDBListLayout::k_MaxRows));
    m_state->layoutChanged = true;
    Redraw();
}

int wxDBListCtrl::GetItemCount() const { return m_state->layout.RowCount(); }

void wxDBListCtrl::SetEmptyText(wxString const& text) {
    if (m_state->emptyText == text)
        return;
    m_state->emptyText = text;
    if (GetItemCount() == 0 && !m_state->isHeld)
        Refresh(false);
}

// --- Selection

void wxDBListCtrl::SendEvent(wxEventType type, int row, int column, wxPoint const& point) {
    wxListEvent event(type, GetId());
    event.SetEventObject(this);
    event.m_itemIndex = row;
    event.m_col = column;
    event.m_pointDrag = point;
    HandleWindowEvent(event);
}

void wxDBListCtrl::SetRowSelected(int row, bool selected) {
    if (!m_state->IsRow(row) || IsRowSelected(row) == selected)
        return;
    if (selected)
        m_state->selected.insert(row);
    else
        m_state->selected.erase(row);
    RefreshRow(row);
    SendEvent(selected ? wxEVT_LIST_ITEM_SELECTED : wxEVT_LIST_ITEM_DESELECTED, row, m_input->m_clickColumn,
              m_input->m_clickPoint);
}

void wxDBListCtrl::Select(int row, int on) {
    if (!m_state->IsRow(row))
        return;
    if (on) {
        if ((m_state->style & wxLC_SINGLE_SEL) && !IsRowSelected(row))
            DeselectAll();
        RefreshRow(m_state->current);
        m_state->anchor = m_state->current = row;
    }
    SetRowSelected(row, on != 0);
}

void wxDBListCtrl::DeselectAll() {
    for (int const row : GetSelection())
        SetRowSelected(row, false);
}

void wxDBListCtrl::SelectAll() {
    if (m_state->style & wxLC_SINGLE_SEL)
        return;
    for (int row = 0; row < GetItemCount(); ++row)
        SetRowSelected(row, true);
}

int wxDBListCtrl::GetLastSelect() const { return m_state->anchor; }
int wxDBListCtrl::GetCurrentRow() const { return m_state->current; }

void wxDBListCtrl::SetCurrentRow(int row) {
    m_state->current = m_state->IsRow(row) ? row : -1;
    Redraw();
}

void wxDBListCtrl::SetLastSelect(int row) {
    m_state->anchor = m_state->IsRow(row) ? row : -1;
    SetCurrentRow(m_state->anchor);
}

void wxDBListCtrl::Activate(int row, int column) {
    if (m_state->IsRow(row))
        SendEvent(wxEVT_LIST_ITEM_ACTIVATED, row, column);
}

// --- Where things are

wxRect wxDBListCtrl::GetCellRect(int row, int column) const { return m_state->layout.Cell(row, column); }
wxRect wxDBListCtrl::GetRowRect(int row) const { return m_state->layout.Row(row); }
int wxDBListCtrl::RowAt(wxPoint const& point) const { return m_state->layout.HitTest(point).row; }
int wxDBListCtrl::ColumnAt(wxPoint const& point) const { return m_state->layout.HitTest(point).column; }
int wxDBListCtrl::GetRowHeight() const { return m_state->layout.Metrics().rowHeight; }
int wxDBListCtrl::GetHeaderHeight() const { return m_state->layout.Metrics().headerHeight; }
bool wxDBListCtrl::HasRowsInView() const { return m_state->layout.EndRow() > m_state->layout.FirstRow(); }
int wxDBListCtrl::GetRowsPerPage() const { return m_state->layout.RowsPerPage(); }
int wxDBListCtrl::GetCellPadding() const { return m_state->layout.Metrics().padding; }

wxRect wxDBListCtrl::GetTextRect(int row, int column) const {
    return m_painter->TextRect(row, column, GetCellRect(row, column));
}

// --- What a list is by itself

bool wxDBListCtrl::IsRowSelected(int row) { return m_state->selected.contains(row); }

std::vector<int> wxDBListCtrl::GetSelection() { return {m_state->selected.begin(), m_state->selected.end()}; }

void wxDBListCtrl::PrepareToDraw(int) {}
void wxDBListCtrl::CleanupAfterDraw(int) {}
void wxDBListCtrl::DoClear() {}
void wxDBListCtrl::CommitCellEdit() {}
void wxDBListCtrl::OnExpander(int, int) {}
void wxDBListCtrl::OnColumnsChanged(std::vector<int> const&) {}
void wxDBListCtrl::PrepareColors(int, int, int, wxColour&, wxColour&) {}

String wxDBListCtrl::GetDisplayText(int, int) { return String(); }
String wxDBListCtrl::GetCellToolTip(int, int) { return String(); }
wxCursor wxDBListCtrl::CustomizeCursor(int, int, int, int) { return wxNullCursor; }
int wxDBListCtrl::GetCellIndent(int, int) { return 0; }
wxDBListCtrl::Expander wxDBListCtrl::GetCellExpander(int, int) { return Expander::None; }
int wxDBListCtrl::GetCellImage(int, int) { return -1; }
bool wxDBListCtrl::IsCellBold(int, int) { return false; }
uint64_t wxDBListCtrl::GetCellSignature(int, int) { return 0; }
bool wxDBListCtrl::HandleKey(wxKeyEvent&) { return false; }
bool wxDBListCtrl::MayMoveColumns() { return true; }
bool wxDBListCtrl::HandleClick(int, int, wxMouseEvent&) { return true; }

wxColour wxDBListCtrl::GetRowColor(int) { return wxvGetColor(ColorName::Text); }

wxColour wxDBListCtrl::GetRowBGColor(int row) {
    if (IsRowSelected(row))
        return wxvGetColor(ColorName::Selected);
    return row % 2 ? wxvZebraColor() : wxvGetColor(ColorName::WindowBGDarker);
}

void wxDBListCtrl::DrawCell(wxDC& dc, int row, int column, wxRect cell, bool selected) {
    m_painter->DrawCell(dc, row, column, cell, selected);
}

void wxDBListCtrl::DrawCellText(wxDC& dc, String const& text, wxRect const& cell, wxColour const& colour,
                                Align::Mode align, bool bold) {
    wxRect const inside(cell.x + m_state->layout.Metrics().padding, cell.y,
                        std::max(0, cell.width - 2 * m_state->layout.Metrics().padding), cell.height);
    m_painter->DrawText(dc, text, inside, colour, {bold, align == Align::Right, align});
}
