#pragma once

#include "cellcanvas.h"
#include "liststate.h"

#include <optional>

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

    // All of it, or what touches the region.
    void Paint(wxDC& dc, wxRegion const* region = nullptr);

    // Calls `changed(row)` for every place of a row in sight that looks different from
    // what was drawn there last; a place without a row has a look, too.
    template <class Changed>
    void CompareRows(Changed&& changed) {
        int const first = m_state.layout.FirstRow();
        for (int row = first; row < first + RowPlaces(); ++row) {
            if (Look(row) != DrawnLook(row))
                changed(row);
        }
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

    // Draws a row and gives its look; without a device context, the look only.
    uint64_t VisitRow(int row, wxDC* dc, wxRegion const* region);
    uint64_t VisitCell(int row, int column, wxDC* dc, wxRegion const* region, RowColors const& colors);
    RowColors ColorsOf(int row);
    wxColour ReadableText(wxColour const& text, wxColour const& background);
    uint64_t Look(int row) { return row < m_state.layout.RowCount() ? VisitRow(row, nullptr, nullptr) : 0; }
    uint64_t DrawnLook(int row) const;
    void KeepLook(int row, uint64_t look);
    // Rows that have room in the window, whether they are there or not.
    int RowPlaces() const;

    void DrawRows(wxDC& dc, wxRegion const* region);
    void DrawEmptyText(wxDC& dc);
    void DrawHeader(wxDC& dc);
    void DrawHeaderCell(wxDC& dc, int column);
    void DrawExpander(wxDC& dc, wxRect const& place, bool open, wxColour const& colour);
    bool IsTabular(int column) const;

    wxDBListCtrl& m_list;
    wxDBListState& m_state;
    std::shared_ptr<CellCanvas> const m_canvas;
    wxDC* m_dc = nullptr; // while it is painted on
    Cell m_cell;
    std::vector<uint64_t> m_drawn; // looks, from m_drawnFirst
    int m_drawnFirst = 0;
    uint64_t m_drawnRows = 0;
    bool m_drewEmptyText = false;
    std::array<Readable, 16> m_readable; // by a hash of both colours
};
