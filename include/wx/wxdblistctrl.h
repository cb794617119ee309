#pragma once

#include <concepts>
#include <corekit/string.h>
#include <cstdint>
#include <memory>
#include <vector>
#include <wx/listbase.h>
#include <wx/wxvpanel.h>

class wxDC;
class wxImageList;
class wxDBListInput;
class wxDBListPainter;
struct wxDBListState;

// Where the text of a column stands. Digits of right-aligned columns have one width.
struct Align {
    enum Mode { Left, Center, Right };
};

// ColumnHeader is one column as people set it up and as the options keep it.
struct ColumnHeader {
    corekit::String label;
    int32_t width = -1; // pixels; negative: the control chooses
    bool ascending = true;
    int32_t type = 0;
    corekit::String custom;
};

// wxDBListCtrl is a list of rows that it does not hold: it knows their number and the
// columns, and asks its subclass for each cell that it draws.
// Owner: its parent window.
// Works with: the subclass, by the virtual operations; its parents, by wxListEvents
// with the window id, the row and the column.
// Thread: the GUI thread.
// Always: rows are asked for only between 0 and GetItemCount() - 1, within
// PrepareToDraw and CleanupAfterDraw of the same row.
class wxDBListCtrl : public wxvPanel {
public:
    // Widths are held between these, in device-independent pixels.
    static constexpr int k_MinColumnWidth = 24;
    static constexpr int k_MaxColumnWidth = 4000;
    // More columns than that are not taken.
    static constexpr int k_MaxColumns = 200;

    // `style`: wxLC_SINGLE_SEL and wxLC_NO_HEADER; other bits are ignored.
    // `windowStyle`: added to the window's own.
    wxDBListCtrl(wxWindow* parent, int id, long style = 0, long windowStyle = 0);
    ~wxDBListCtrl() override;

    // --- Columns. An index that is no column does nothing, or gives an empty value.

    void AddColumn(ColumnHeader const& header);
    void AddColumn(int type, corekit::String label, int width = -1, Align::Mode align = Align::Left);
    // A position past the end adds the column at the end.
    void InsertColumn(int position, int type, corekit::String label, corekit::String custom = corekit::String(),
                      int width = -1);
    void RemoveColumn(int column);
    void RemoveAllColumns();
    // `by` columns to the right, or to the left when negative; stops at the ends.
    void MoveColumn(int column, int by);

    int GetColumnCount() const;
    ColumnHeader const& GetColumn(int column) const;
    corekit::String GetColumnName(int column) const;
    int GetColumnType(size_t column) const; // -1: no column
    corekit::String GetColumnCustom(int column) const;
    int GetColumnWidth(size_t column) const;
    bool IsColumnAscending(int column) const; // true for no column
    Align::Mode GetColumnAlign(int column) const;
    // The first one of the type, or -1.
    int FindColumnByType(int type) const;

    // A negative width fits the column to its label and to the rows in view.
    void SetColumnWidth(int column, int width, bool redraw = true);
    // The last column takes the room that the others leave; its own width is the least.
    void SetLastColumnFills(bool fills);
    void SetColumnAscending(int column, bool ascending);
    void SetColumnLabel(int column, corekit::String const& label);
    void SetColumnAlign(int column, Align::Mode align);
    // Digits of equal width, whatever the alignment; right-aligned columns have them anyway.
    void SetColumnTabular(int column, bool tabular);
    // An image of the image list at the right edge of the header; -1 removes it.
    void SetColumnImage(int column, int image);
    // The list does not own it. For headers and cells.
    void SetImageList(wxImageList* images);
    // Its header is lighter; -1: none.
    void SetHighlightColumn(int column);
    int GetHighlightColumn() const;

    // The widths of all columns, kept in the options as numbers.
    void SaveColumnSizes(corekit::String const& section, corekit::String const& key) const;
    // False when there are none for just these columns; nothing is changed then.
    bool RestoreColumnSizes(corekit::String const& section, corekit::String const& key);

    // --- Rows.

    // Rows at and below `at` move down, with their selection.
    void Insert(int at, size_t count, bool redraw);
    template <std::same_as<bool> Flag = bool>
    void Insert(int at, Flag redraw = true) {
        Insert(at, 1, redraw);
    }
    void Remove(int row);
    // No rows and no selection. The place of the scroll bars is not given up until
    // something is drawn, so that a list may be filled anew where it stood.
    void Clear();
    int GetItemCount() const;
    // A grey line in the middle of a list without rows.
    void SetEmptyText(wxString const& text);

    // --- Selection and display.

    // Sends the row's event if this changes it. `on`: 0 takes it out.
    void Select(int row, int on = 1);
    // Sends an event for each row that was selected.
    void DeselectAll();
    void SelectAll();
    // The row that ranges begin at, or -1.
    int GetLastSelect() const;
    // Sends no event. The keyboard goes there, too.
    void SetLastSelect(int row);
    // The row where the keyboard stands, or -1.
    int GetCurrentRow() const;
    // Sends no event, selects nothing.
    void SetCurrentRow(int row);
    void EnsureVisible(int row);
    // As a double click on the cell does.
    void Activate(int row, int column = 0);

    // Draws, when the program is idle again, the rows and cells that look different now.
    // What looks as it did is not drawn. Cheap; any number of calls count as one.
    void Redraw();
    // The row is drawn again whether it looks different or not.
    void RedrawItem(int row);
    void RedrawCell(int row, int column);
    void RedrawColumn(int column);
    // Draws the list as it is now, at the origin of another device context.
    void PaintCopy(wxDC& dc);
    // In client coordinates; empty where there is no such cell. It may be out of sight.
    wxRect GetCellRect(int row, int column) const;
    // What is at a point in client coordinates; -1: no row (no column).
    int RowAt(wxPoint const& point) const;
    int ColumnAt(wxPoint const& point) const;
    int GetRowHeight() const;
    int GetHeaderHeight() const;
    int GetRowsPerPage() const;
    // Between the edge of a cell and its text, at both sides.
    int GetCellPadding() const;
    wxRect GetRowRect(int row) const;

    // --- A control that covers a cell and moves with it.

    // Takes the window, a child of this one, and destroys the one before. Null: none.
    void Overlay(wxWindow* window, int row, int column);
    void ShowOverlay(int row, int column, wxWindow* window) { Overlay(window, row, column); }
    void HideOverlay() { Overlay(nullptr, -1, -1); }
    wxWindow* GetOverlay() const;

    // --- The window's own.

    bool Enable(bool enable = true) override;
    void SetFocus() override;
    bool AcceptsFocus() const override;
    void ApplyColors() override;
    // Vertically all of these count rows, horizontally pixels.
    void SetScrollPos(int orientation, int position, bool refresh = true) override;
    int GetScrollPos(int orientation) const override;
    int GetScrollThumb(int orientation) const override;
    int GetScrollRange(int orientation) const override;
    void OnInternalIdle() override;

    // How often rows have been drawn; for those who watch that nothing is drawn twice.
    uint64_t CountDrawnRows() const;

    // --- What subclasses say. Rows and columns are those of the screen.

    virtual bool IsRowSelected(int row);
    virtual std::vector<int> GetSelection();
    virtual void PrepareToDraw(int row);
    virtual corekit::String GetDisplayText(int row, int column);
    // Empty: none. By itself a list tells the text of a cell that is too narrow for it.
    virtual corekit::String GetCellToolTip(int row, int column);
    virtual wxColour GetRowColor(int row);
    virtual wxColour GetRowBGColor(int row);
    // The last word on the colours of a cell; `selected` is 0 or 1.
    virtual void PrepareColors(int row, int column, int selected, wxColour& text, wxColour& background);
    virtual void CleanupAfterDraw(int row);
    // The background is there already. The cell's font and text colour are set.
    virtual void DrawCell(wxDC& dc, int row, int column, wxRect cell, bool selected);
    // The cursor over a cell, the point within it; wxNullCursor: the usual one.
    virtual wxCursor CustomizeCursor(int row, int column, int x, int y);
    // Part of Clear: what the subclass holds for its rows goes.
    virtual void DoClear();
    // The cell under the overlay is about to go.
    virtual void CommitCellEdit();

protected:
    enum class Expander { None, Closed, Open };

    // The width that shows the column's label and a sort mark beside it.
    int GetLabelWidth(int column) const;
    // There is a row where people see it, so that SetColumnWidth has something to fit to.
    bool HasRowsInView() const;

    // So many rows from now on, any of them another one than before. For subclasses
    // that remember the selection by themselves; anchor and current row are to be set anew.
    void SetItemCount(int rows);

    // What a cell shows before its text. The expander is asked for in every column.
    virtual int GetCellIndent(int row, int column); // pixels
    virtual Expander GetCellExpander(int row, int column);
    virtual int GetCellImage(int row, int column); // of the image list; -1: none
    // The mark has been clicked.
    virtual void OnExpander(int row, int column);
    virtual bool IsCellBold(int row, int column);
    // A number that is different when DrawCell would draw something else though text
    // and colours are the same.
    virtual uint64_t GetCellSignature(int row, int column);
    // True: the key has been used, and the list does nothing with it.
    virtual bool HandleKey(wxKeyEvent& event);
    // The list's own click on a row; false: the list does nothing with it.
    virtual bool HandleClick(int row, int column, wxMouseEvent& event);
    // People may drag a column to another place.
    virtual bool MayMoveColumns();
    // Columns have been added, moved or removed: `now[i]` is where column i is now, -1
    // if it is gone. For those who remember columns by index.
    virtual void OnColumnsChanged(std::vector<int> const& now);

    // Draws a text into a cell as the list does by itself: padding, ellipsis, alignment.
    void DrawCellText(wxDC& dc, corekit::String const& text, wxRect const& cell, wxColour const& colour,
                      Align::Mode align = Align::Left, bool bold = false);
    // What is left of a cell for its text, behind indent, expander and image.
    wxRect GetTextRect(int row, int column) const;

    // What is seen stays as it is, whatever becomes of the rows: for a list that is emptied
    // to be filled anew.
    void HoldPicture();
    // The rows are seen again.
    void ReleasePicture();

    // A frozen list asks its subclass for nothing. The toolkit is not told: all that it
    // would do is to draw the whole window afterwards.
    void DoFreeze() override;
    void DoThaw() override;

private:
    friend class wxDBListInput;
    friend class wxDBListPainter;

    void SendEvent(wxEventType type, int row, int column, wxPoint const& point = wxDefaultPosition);
    void ChangeColumns(std::vector<int> const& now);
    void SetRowSelected(int row, bool selected);
    void Settle();
    void SettleScrollbars();
    void ScrollTo(wxPoint const& origin);
    void PlaceOverlay();
    void RefreshRow(int row);
    void OnPaint(wxPaintEvent& event);
    void OnSize(wxSizeEvent& event);
    void OnScroll(wxScrollWinEvent& event);
    void OnFocusChange(wxFocusEvent& event);
    void TakeMetrics();

    std::unique_ptr<wxDBListState> m_state;
    std::unique_ptr<wxDBListPainter> m_painter;
    std::unique_ptr<wxDBListInput> m_input;
};
