#pragma once

#include "cellcanvas.h"
#include "liststate.h"

#include <optional>
#include <vector>

class wxBitmap;
class wxRegion;

// wxDBListPainter draws a list: header, rows, what stands for no rows. It also knows
// what it has drawn, so that it can tell which rows look different now.
// Owner: its list.
// Works with: the list's state and the operations of the list's subclass.
// Thread: the GUI thread.
// Always: rows out of sight cost nothing; the row loop allocates nothing by itself.
class wxDBListPainter {
public:
    wxDBListPainter(wxDBListCtrl& list, wxDBListState& state);

    // Draws the window on a device context that lets the region through, no more and no
    // less. Null: nobody knows what it lets through.
    void Paint(wxDC& dc, wxRegion const* region);
    // All of it, somewhere else: that does not count as drawn.
    void PaintCopy(wxDC& dc);

    // Draws the ground of the rows, or what they looked like, in place of rows.
    void PaintHeld(wxDC& dc, wxBitmap const& picture);

    // Calls `changed(place)` for all rows and cells in sight that look different from
    // what was drawn there last; a place without a row has a look, too.
    template <class Changed>
    void CompareLooks(Changed&& changed) {
        if (m_drawnOrigin != m_state.layout.Origin())
            Forget();
        int const first = m_state.layout.FirstRow();
        for (int row = first; row < first + RowPlaces(); ++row)
            CompareRow(row, changed);
    }
    // Nothing that was drawn counts any more.
    void Forget() { m_drawn.clear(); }

    // What wxDBListCtrl::DrawCell does.
    void DrawCell(wxDC& dc, int row, int column, wxRect const& cell, bool selected);
    void DrawText(wxDC& dc, std::string_view text, wxRect const& cell, wxColour const& colour, CellStyle const& style);

    // What is left of a cell for its text.
    wxRect TextRect(int row, int column, wxRect const& cell);
    // The mark that opens and closes; empty: the cell has none.
    wxRect ExpanderRect(int row, int column);
    // The text of a cell does not fit. Prepares the row.
    bool IsClipped(int row, int column, corekit::String& text);
    // The width that header and rows in sight want.
    int FittingWidth(int column);
    int LabelWidth(int column);

    CellCanvas& Canvas() { return *m_canvas; }
    uint64_t DrawnRows() const { return m_drawnRows; }
    // There was no row when the window was drawn last.
    bool DrewEmptyText() const { return m_drewEmptyText; }
    // The line around all rows was there when the window was drawn last.
    bool DrewFrame() const { return m_drewFrame; }

private:
    // The cell that is being drawn, so that its text is asked for once.
    struct Cell {
        int row = -1;
        int column = -1;
        corekit::String text;
        wxColour colour;
        bool bold = false;
    };
    // What a row is drawn with, decided once per row.
    struct RowColors {
        wxColour text;
        wxColour background;
        bool selected = false;
        bool focused = false;
    };
    // From and to a colour that reads.
    struct Readable {
        wxUint32 text = 0;
        wxUint32 background = 0;
        wxColour colour;
    };

    // Draws a row, or just takes its looks if there is no device context.
    void VisitRow(int row, wxDC* dc, wxRegion const* region);
    // Gives the look of the cell.
    uint64_t VisitCell(int row, int column, wxDC* dc, RowColors const& colors);
    RowColors ColorsOf(int row);
    wxColour ReadableText(wxColour const& text, wxColour const& background);

    template <class Changed>
    void CompareRow(int row, Changed&& changed) {
        wxRect const place = m_state.layout.PlaceOfRow(row);
        uint64_t const* const drawn = DrawnLooks(row);
        m_looks.assign(LooksPerRow(), 0);
        if (row < m_state.layout.RowCount())
            VisitRow(row, nullptr, nullptr);
        if (!drawn || drawn[0] != m_looks[0]) {
            changed(place);
            return;
        }
        for (size_t i = 1; i < m_looks.size(); ++i) {
            if (m_looks[i] != 0 && m_looks[i] != drawn[i])
                changed(m_state.layout.Cell(row, static_cast<int>(i) - 1));
        }
    }
    // Looks of the row's ground and of each cell; null: nothing is known of it.
    uint64_t* DrawnLooks(int row);
    void KeepLooks(int row, wxRegion const* region);
    void KeepPlacesWithoutRow(wxRegion const* region);
    // Makes room for the looks of what is in sight.
    void PrepareLooks();
    size_t LooksPerRow() const { return static_cast<size_t>(m_state.layout.ColumnCount()) + 1; }
    // Rows that have room in the window, whether they are there or not.
    int RowPlaces() const;

    void DrawAll(wxDC& dc, wxRegion const* region);
    void DrawRows(wxDC& dc, wxRegion const* region);
    void DrawFrame(wxRect const& place);
    void DrawEmptyText(wxDC& dc);
    void DrawHeader(wxDC& dc);
    void DrawHeaderCell(wxDC& dc, int column);
    // Nothing in a cell without room for it.
    void DrawExpander(wxDC& dc, wxRect const& place, wxRect const& cell, bool open, wxColour const& colour);
    bool IsTabular(int column) const;

    wxDBListCtrl& m_list;
    wxDBListState& m_state;
    std::shared_ptr<CellCanvas> const m_canvas;
    wxDC* m_dc = nullptr; // while it is painted on
    Cell m_cell;
    // The looks of what the window shows, row by row from m_drawnFirst. 0: not known,
    // or, as the first of a row, a place without a row.
    std::vector<uint64_t> m_drawn;
    int m_drawnFirst = 0;
    int m_drawnPlaces = 0;
    wxPoint m_drawnOrigin;
    bool m_copying = false;
    std::vector<uint64_t> m_looks; // of the row that is visited; 0: a cell out of sight
    uint64_t m_drawnRows = 0;
    bool m_drewEmptyText = false;
    bool m_drewFrame = false;
    std::array<Readable, 16> m_readable; // by a hash of both colours
};
