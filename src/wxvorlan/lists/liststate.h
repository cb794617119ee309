#pragma once

#include "listlayout.h"

#include <cstdint>
#include <set>
#include <vector>
#include <wx/bitmap.h>
#include <wx/string.h>
#include <wx/wxdblistctrl.h>

struct wxDBListColumn {
    ColumnHeader header;
    Align::Mode align = Align::Left;
    bool tabular = false;
    int image = -1;
};

// wxDBListState is what a list knows; the painter draws it, the input changes it by
// way of the list.
// Owner: the list. Thread: the GUI thread.
struct wxDBListState {
    long style = 0;
    wxDBListLayout layout;
    std::vector<wxDBListColumn> columns;
    int highlight = -1;
    wxImageList* images = nullptr;
    wxString emptyText;

    std::set<int> selected; // of lists whose subclass does not remember by itself
    int anchor = -1;        // where ranges begin
    int current = -1;       // where the keyboard stands

    bool focused = false;
    int hoverRow = -1;
    int hoverHeader = -1;
    int pressedHeader = -1;
    int dragColumn = -1; // being moved, to
    int dropPosition = -1;

    wxWindow* overlay = nullptr; // a child of the list
    int overlayRow = -1;
    int overlayColumn = -1;

    // As the toolkit's bars were last set, in pixels.
    struct Scrollbar {
        int position = 0;
        int thumb = 0;
        int range = 0;
        bool operator==(Scrollbar const&) const = default;
    };
    Scrollbar vertical{-1, 0, 0};
    Scrollbar horizontal{-1, 0, 0};

    bool layoutChanged = true; // scroll bars are to be set
    bool redraw = false;       // rows may look different
    bool missedPaint = false;  // the window was to be drawn while it was frozen
    bool isHeld = false;       // what is seen stays as it is
    wxBitmap heldPicture;      // of it; none while the list was not to be seen

    bool IsColumn(int column) const { return column >= 0 && column < static_cast<int>(columns.size()); }
    bool IsRow(int row) const { return row >= 0 && row < layout.RowCount(); }
    // The keyboard is here and no row shows it.
    bool ShowsFrame() const { return focused && !IsRow(current); }
    void TakeWidths() {
        std::vector<int> widths;
        for (wxDBListColumn const& column : columns)
            widths.push_back(column.header.width);
        layout.SetColumns(widths);
        layoutChanged = true;
    }
};
