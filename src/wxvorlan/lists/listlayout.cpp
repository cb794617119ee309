#include "listlayout.h"

#include <algorithm>

void wxDBListLayout::SetColumns(std::vector<int> const& widths) {
    m_edges.assign(1, 0);
    for (int const width : widths)
        m_edges.push_back(m_edges.back() + width);
    m_contentEnd = m_edges.back();
    FillWithLast();
}

void wxDBListLayout::SetClient(wxSize const& client) {
    m_client = client;
    FillWithLast();
}

void wxDBListLayout::SetLastFills(bool fills) {
    m_lastFills = fills;
    FillWithLast();
}

void wxDBListLayout::FillWithLast() {
    if (ColumnCount() > 0)
        m_edges.back() = m_lastFills ? std::max(m_contentEnd, m_client.x) : m_contentEnd;
}

wxPoint wxDBListLayout::Clamped(wxPoint const& origin) const {
    wxSize const content = Content();
    return wxPoint(std::clamp(origin.x, 0, std::max(0, content.x - m_client.x)),
                   std::clamp(origin.y, 0, std::max(0, content.y - Body().height)));
}

bool wxDBListLayout::Clamp() {
    wxPoint const now = Clamped(m_origin);
    bool const moved = now != m_origin;
    m_origin = now;
    return moved;
}

wxRect wxDBListLayout::Body() const {
    return wxRect(0, m_metrics.headerHeight, m_client.x, std::max(0, m_client.y - m_metrics.headerHeight));
}

wxRect wxDBListLayout::HeaderCell(int column) const {
    if (column < 0 || column >= ColumnCount())
        return wxRect();
    return wxRect(m_edges[column] - m_origin.x, 0, m_edges[column + 1] - m_edges[column], m_metrics.headerHeight);
}

wxRect wxDBListLayout::Row(int row) const {
    if (row < 0 || row >= m_rows)
        return wxRect();
    return PlaceOfRow(row);
}

wxRect wxDBListLayout::PlaceOfRow(int row) const {
    return wxRect(0, m_metrics.headerHeight + row * m_metrics.rowHeight - m_origin.y, m_client.x, m_metrics.rowHeight);
}

wxRect wxDBListLayout::Cell(int row, int column) const {
    wxRect const line = Row(row);
    wxRect const head = HeaderCell(column);
    if (line.IsEmpty() || head.width <= 0)
        return wxRect();
    return wxRect(head.x, line.y, head.width, line.height);
}

int wxDBListLayout::FirstRow() const { return std::clamp(m_origin.y / m_metrics.rowHeight, 0, m_rows); }

int wxDBListLayout::EndRow() const {
    int const bottom = m_origin.y + Body().height;
    return std::clamp((bottom + m_metrics.rowHeight - 1) / m_metrics.rowHeight, FirstRow(), m_rows);
}

int wxDBListLayout::RowsPerPage() const { return std::max(1, Body().height / m_metrics.rowHeight); }

int wxDBListLayout::NearestRow(int y) const {
    if (m_rows == 0)
        return -1;
    int const inside = y - m_metrics.headerHeight + m_origin.y;
    return std::clamp(inside < 0 ? -1 : inside / m_metrics.rowHeight, 0, m_rows - 1);
}

wxPoint wxDBListLayout::OriginFor(int row) const {
    wxPoint origin = m_origin;
    int const top = row * m_metrics.rowHeight;
    int const bottom = top + m_metrics.rowHeight;
    origin.y = std::max(origin.y, bottom - Body().height);
    origin.y = std::min(origin.y, top); // the top counts more in a window lower than a row
    return Clamped(origin);
}

int wxDBListLayout::ColumnAt(int x) const {
    if (x < 0)
        return -1;
    auto const edge = std::upper_bound(m_edges.begin() + 1, m_edges.end(), x);
    return edge == m_edges.end() ? -1 : static_cast<int>(edge - m_edges.begin()) - 1;
}

wxDBListHit wxDBListLayout::HitTest(wxPoint const& point) const {
    using Area = wxDBListHit::Area;
    if (point.x < 0 || point.y < 0 || point.x >= m_client.x || point.y >= m_client.y)
        return {};
    int const x = point.x + m_origin.x;
    int const column = ColumnAt(x);
    if (point.y < m_metrics.headerHeight) {
        // The last edge that is near: a column that has been made narrow can be made
        // wide again.
        for (int i = ColumnCount(); i >= 1; --i) {
            if (std::abs(m_edges[i] - x) <= m_metrics.grip)
                return {Area::HeaderEdge, -1, i - 1};
        }
        return {Area::Header, -1, column};
    }
    int const row = (point.y - m_metrics.headerHeight + m_origin.y) / m_metrics.rowHeight;
    if (row >= m_rows)
        return {Area::BelowRows, -1, column};
    return {column < 0 ? Area::BesideCells : Area::Cell, row, column};
}

int wxDBListLayout::DropPosition(int column, int x) const {
    // Past the middle of another column, it takes the place of that column.
    int position = column;
    int const inside = x + m_origin.x;
    while (position > 0 && inside < (m_edges[position - 1] + m_edges[position]) / 2)
        --position;
    while (position < ColumnCount() - 1 && inside > (m_edges[position + 1] + m_edges[position + 2]) / 2)
        ++position;
    return position;
}

int wxDBListLayout::DropEdge(int column, int position) const {
    return m_edges[position > column ? position + 1 : position] - m_origin.x;
}
