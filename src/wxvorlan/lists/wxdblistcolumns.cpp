// The columns of wxDBListCtrl.
#include "listpainter.h"

#include <algorithm>
#include <corekit/optionsfile.h>
#include <numeric>
#include <wx/wxvoptions.h>

using corekit::String;

namespace {

constexpr int k_ChosenWidth = 100; // of columns whose label wants less
ColumnHeader const k_NoColumn{String(), 0, true, -1, String()};

// Where each of `count` columns is after one has gone from `from` to `to`.
std::vector<int> MovedOrder(int count, int from, int to) {
    std::vector<int> order(static_cast<size_t>(count));
    std::iota(order.begin(), order.end(), 0);
    order.erase(order.begin() + from);
    order.insert(order.begin() + to, from);
    std::vector<int> now(order.size());
    for (size_t i = 0; i < order.size(); ++i)
        now[static_cast<size_t>(order[i])] = static_cast<int>(i);
    return now;
}

} // namespace

void wxDBListCtrl::ChangeColumns(std::vector<int> const& now) {
    auto follow = [&now](int& column) {
        if (column >= 0)
            column = static_cast<size_t>(column) < now.size() ? now[static_cast<size_t>(column)] : -1;
    };
    follow(m_state->highlight);
    follow(m_state->overlayColumn);
    m_state->hoverHeader = m_state->pressedHeader = m_state->dragColumn = -1;
    m_state->TakeWidths();
    m_painter->Forget();
    OnColumnsChanged(now);
    Refresh(false);
    wxWakeUpIdle();
}

void wxDBListCtrl::AddColumn(ColumnHeader const& header) {
    int const count = GetColumnCount();
    InsertColumn(count, header.type, header.label, header.custom, header.width);
    SetColumnAscending(count, header.ascending);
}

void wxDBListCtrl::AddColumn(int type, String label, int width, Align::Mode align) {
    int const count = GetColumnCount();
    InsertColumn(count, type, std::move(label), String(), width);
    SetColumnAlign(count, align);
}

void wxDBListCtrl::InsertColumn(int position, int type, String label, String custom, int width) {
    int const count = GetColumnCount();
    if (count >= k_MaxColumns)
        return;
    position = position < 0 || position > count ? count : position;
    std::vector<int> now(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        now[static_cast<size_t>(i)] = i < position ? i : i + 1;
    wxDBListColumn column;
    column.header = {std::move(label), 0, true, type, std::move(custom)};
    m_state->columns.insert(m_state->columns.begin() + position, std::move(column));
    int const chosen = width < 0 ? std::max(FromDIP(k_ChosenWidth), m_painter->LabelWidth(position)) : width;
    m_state->columns[static_cast<size_t>(position)].header.width =
        std::clamp(chosen, FromDIP(k_MinColumnWidth), FromDIP(k_MaxColumnWidth));
    ChangeColumns(now);
}

void wxDBListCtrl::RemoveColumn(int column) {
    if (!m_state->IsColumn(column))
        return;
    if (column == m_state->overlayColumn)
        CommitCellEdit();
    std::vector<int> now(m_state->columns.size());
    for (int i = 0; i < static_cast<int>(now.size()); ++i)
        now[static_cast<size_t>(i)] = i < column ? i : i == column ? -1 : i - 1;
    m_state->columns.erase(m_state->columns.begin() + column);
    ChangeColumns(now);
}

void wxDBListCtrl::RemoveAllColumns() {
    if (m_state->overlay)
        CommitCellEdit();
    std::vector<int> const now(m_state->columns.size(), -1);
    m_state->columns.clear();
    ChangeColumns(now);
}

void wxDBListCtrl::MoveColumn(int column, int by) {
    int const count = GetColumnCount();
    if (!m_state->IsColumn(column))
        return;
    int const to = std::clamp(column + std::clamp(by, -count, count), 0, count - 1);
    if (to == column)
        return;
    wxDBListColumn moved = std::move(m_state->columns[static_cast<size_t>(column)]);
    m_state->columns.erase(m_state->columns.begin() + column);
    m_state->columns.insert(m_state->columns.begin() + to, std::move(moved));
    ChangeColumns(MovedOrder(count, column, to));
}

int wxDBListCtrl::GetColumnCount() const { return static_cast<int>(m_state->columns.size()); }

ColumnHeader const& wxDBListCtrl::GetColumn(int column) const {
    return m_state->IsColumn(column) ? m_state->columns[static_cast<size_t>(column)].header : k_NoColumn;
}

String wxDBListCtrl::GetColumnName(int column) const { return GetColumn(column).label; }
String wxDBListCtrl::GetColumnCustom(int column) const { return GetColumn(column).custom; }
bool wxDBListCtrl::IsColumnAscending(int column) const { return GetColumn(column).ascending; }
int wxDBListCtrl::GetHighlightColumn() const { return m_state->highlight; }

int wxDBListCtrl::GetColumnType(size_t column) const {
    return column < m_state->columns.size() ? m_state->columns[column].header.type : -1;
}

int wxDBListCtrl::GetColumnWidth(size_t column) const {
    return column < m_state->columns.size() ? m_state->columns[column].header.width : 0;
}

Align::Mode wxDBListCtrl::GetColumnAlign(int column) const {
    return m_state->IsColumn(column) ? m_state->columns[static_cast<size_t>(column)].align : Align::Left;
}

int wxDBListCtrl::FindColumnByType(int type) const {
    auto const found = std::find_if(m_state->columns.begin(), m_state->columns.end(),
                                    [type](wxDBListColumn const& column) { return column.header.type == type; });
    return found == m_state->columns.end() ? -1 : static_cast<int>(found - m_state->columns.begin());
}

void wxDBListCtrl::SetColumnWidth(int column, int width, bool redraw) {
    if (!m_state->IsColumn(column))
        return;
    int const wanted = std::clamp(width < 0 ? m_painter->FittingWidth(column) : width, FromDIP(k_MinColumnWidth),
                                  FromDIP(k_MaxColumnWidth));
    int32_t& now = m_state->columns[static_cast<size_t>(column)].header.width;
    if (now == wanted)
        return;
    now = wanted;
    m_state->TakeWidths();
    PlaceOverlay();
    if (redraw)
        Refresh(false);
    wxWakeUpIdle();
}

void wxDBListCtrl::SetLastColumnFills(bool fills) {
    m_state->layout.SetLastFills(fills);
    m_state->layoutChanged = true;
    Refresh(false);
}

int wxDBListCtrl::GetLabelWidth(int column) const {
    return m_state->IsColumn(column) ? m_painter->LabelWidth(column) : 0;
}

void wxDBListCtrl::SetColumnAscending(int column, bool ascending) {
    if (m_state->IsColumn(column))
        m_state->columns[static_cast<size_t>(column)].header.ascending = ascending;
}

void wxDBListCtrl::SetColumnLabel(int column, String const& label) {
    if (!m_state->IsColumn(column) || GetColumn(column).label == label)
        return;
    m_state->columns[static_cast<size_t>(column)].header.label = label;
    RefreshRect(m_state->layout.Header(), false);
}

void wxDBListCtrl::SetColumnAlign(int column, Align::Mode align) {
    if (!m_state->IsColumn(column) || GetColumnAlign(column) == align)
        return;
    m_state->columns[static_cast<size_t>(column)].align = align;
    Refresh(false);
}

void wxDBListCtrl::SetColumnTabular(int column, bool tabular) {
    if (!m_state->IsColumn(column) || m_state->columns[static_cast<size_t>(column)].tabular == tabular)
        return;
    m_state->columns[static_cast<size_t>(column)].tabular = tabular;
    Refresh(false);
}

void wxDBListCtrl::SetColumnImage(int column, int image) {
    if (!m_state->IsColumn(column) || m_state->columns[static_cast<size_t>(column)].image == image)
        return;
    m_state->columns[static_cast<size_t>(column)].image = image;
    RefreshRect(m_state->layout.Header(), false);
}

void wxDBListCtrl::SetImageList(wxImageList* images) {
    m_state->images = images;
    Refresh(false);
}

void wxDBListCtrl::SetHighlightColumn(int column) {
    int const wanted = m_state->IsColumn(column) ? column : -1;
    if (wanted == m_state->highlight)
        return;
    m_state->highlight = wanted;
    RefreshRect(m_state->layout.Header(), false);
}

void wxDBListCtrl::SaveColumnSizes(String const& section, String const& key) const {
    if (!wxvOptions())
        return;
    String sizes;
    for (wxDBListColumn const& column : m_state->columns)
        sizes += (sizes.Empty() ? "" : ",") + String::From(column.header.width);
    wxvOptions()->SetValue(section, key, sizes);
}

bool wxDBListCtrl::RestoreColumnSizes(String const& section, String const& key) {
    if (!wxvOptions())
        return false;
    std::vector<int> widths;
    String rest = wxvOptions()->GetValue(section, key, "");
    while (!rest.Empty() && widths.size() <= m_state->columns.size()) {
        widths.push_back(static_cast<int>(std::clamp<int64_t>(rest.Int(0), 0, FromDIP(k_MaxColumnWidth))));
        rest = rest.Contains(",") ? rest.RightFirst(",") : String();
    }
    if (widths.empty() || widths.size() != m_state->columns.size())
        return false;
    for (size_t i = 0; i < widths.size(); ++i)
        SetColumnWidth(static_cast<int>(i), widths[i], false);
    Refresh(false);
    return true;
}
