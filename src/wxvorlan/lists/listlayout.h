#pragma once

#include <cstdint>
#include <vector>
#include <wx/gdicmn.h>

// Sizes that a list is made of, in pixels of its window.
struct wxDBListMetrics {
    int rowHeight = 22;
    int headerHeight = 25; // 0: no header
    int padding = 8;       // at both sides of a cell
    int markSize = 12;     // images in headers and cells, and the expander
    int markGap = 4;       // between a mark and what is beside it
    int grip = 4;          // how far from an edge of a header the pointer takes it

    bool operator==(wxDBListMetrics const&) const = default;
};

// What is at a point of a list.
struct wxDBListHit {
    enum class Area { Outside, Header, HeaderEdge, Cell, BesideCells, BelowRows };
    Area area = Area::Outside;
    int row = -1;
    int column = -1; // HeaderEdge: the column that the edge belongs to

    bool operator==(wxDBListHit const&) const = default;
};

// wxDBListLayout says where everything of a list is: header on top, rows below it,
// both moved to the left by origin.x, the rows upwards by origin.y.
// Owner: a list's state. Any thread; pure.
// Always: the origin is within the content as of the last Clamp; rectangles are in
// client coordinates, x growing from the side at which reading begins.
class wxDBListLayout {
public:
    // So that the height of all rows is a number that scroll bars can take.
    static constexpr int k_MaxRows = 8'000'000;

    void SetMetrics(wxDBListMetrics const& metrics) { m_metrics = metrics; }
    void SetColumns(std::vector<int> const& widths);
    void SetRowCount(int rows) { m_rows = rows; }
    void SetClient(wxSize const& client);
    // The last column takes the room that the others leave.
    void SetLastFills(bool fills);
    // Not clamped: rows may be on their way.
    void SetOrigin(wxPoint const& origin) { m_origin = origin; }
    // Moves the origin into the content; false when it was there.
    bool Clamp();

    wxDBListMetrics const& Metrics() const { return m_metrics; }
    int RowCount() const { return m_rows; }
    int ColumnCount() const { return static_cast<int>(m_edges.size()) - 1; }
    wxPoint const& Origin() const { return m_origin; }
    wxSize const& Client() const { return m_client; }
    wxSize Content() const { return wxSize(m_edges.back(), m_rows * m_metrics.rowHeight); }
    wxPoint Clamped(wxPoint const& origin) const;

    // The window without its header.
    wxRect Body() const;
    wxRect Header() const { return wxRect(0, 0, m_client.x, m_metrics.headerHeight); }
    wxRect HeaderCell(int column) const;
    // As wide as the window.
    wxRect Row(int row) const;
    // Where such a row is or would be.
    wxRect PlaceOfRow(int row) const;
    wxRect Cell(int row, int column) const;

    // The rows that can be seen, partly or wholly: first to end - 1.
    int FirstRow() const;
    int EndRow() const;
    // How many fit wholly, at least 1.
    int RowsPerPage() const;
    // The row at a height, or the nearest one; -1 only without rows.
    int NearestRow(int y) const;
    // The origin that brings the row into sight with the least movement.
    wxPoint OriginFor(int row) const;

    wxDBListHit HitTest(wxPoint const& point) const;
    // The position that a column dropped at x takes.
    int DropPosition(int column, int x) const;
    // Where the line stands that shows it.
    int DropEdge(int column, int position) const;

private:
    int ColumnAt(int x) const; // in content coordinates
    void FillWithLast();

    wxDBListMetrics m_metrics;
    std::vector<int> m_edges{0}; // left edges of the columns, and the right edge of the last
    int m_contentEnd = 0;        // where the last column would end if it did not fill
    bool m_lastFills = false;
    int m_rows = 0;
    wxSize m_client;
    wxPoint m_origin;
};
