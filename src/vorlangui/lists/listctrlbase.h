#pragma once

#include "model/listlist.h"
#include "rows/listcontents.h"
#include "rows/rowcolumn.h"

#include <corekit/signal.h>
#include <wx/wxdblistctrl.h>

#include <memory>
#include <set>
#include <span>
#include <vector>

class wxImageList;

namespace vorlan {

// ListCtrlBase keeps a list of Jobs, Engines or work units in step with data that changes
// many times a second: a flag that is looked at four times a second, a rebuild that keeps
// the selection, the place and the anchor row, a selection by ids instead of rows, and
// columns that the options remember.
// Owner: its parent window.
// Works with: the _ListList of its kind, in which the subclass registers it; ListContents;
// the options' section that belongs to it.
// Thread: the GUI thread, but for SetDirty.
class ListCtrlBase : public wxDBListCtrl, public HasSlots<>, public ListView {
public:
    // An empty section: the window id in decimal.
    ListCtrlBase(wxWindow* parent, int id, String section, long style = 0, long windowStyle = 0);
    ~ListCtrlBase() override;

    void LoadColumnInfo();
    void SaveColumnInfo() const;
    void SetDefaultColumns();
    // Of a type of column that lists of this kind know, untranslated; null: there is no such
    // type.
    virtual char const* ColumnTitle(int type) const = 0;
    // Adds a column of such a type, as wide as what it holds needs it. A position that is
    // none: at the end.
    virtual void InsertKnownColumn(int position, int type) = 0;
    // The same in the menu of columns, where it may need another name.
    virtual char const* ColumnMenuTitle(int type) const { return ColumnTitle(type); }
    String const& GetSection() const { return m_section; }

    // Those of the selection that have a row.
    std::set<UID> GetSelectedIDs() const override;
    // Puts a selection in place of what there is; `anchor` null: no anchor row, and the
    // keyboard stays where it is.
    void SetSelectedIDs(std::set<UID> const& ids, UID const& anchor);
    bool HasSelection() const override;
    // Null past the end.
    UID GetRowID(int row) const { return row < 0 ? UID::Null : m_contents[static_cast<size_t>(row)]; }
    // -1 when it has none.
    int GetRowOf(UID const& id) const { return static_cast<int>(m_contents[id]); }

    // The page that it stands on is in front.
    bool IsAwake() const;
    // All rows anew. It keeps selection, place, anchor row and the row of the keyboard; if
    // that one is gone, the keyboard is on the row that took its place.
    void Update() override;
    // What the tick does.
    void UpdateIfDirty();
    // The column becomes the first one to sort by, or turns round if it is. -1 puts the
    // marks into the headers alone.
    void SetSortColImage(int column);
    int GetSortColumn() const { return m_primary; }
    int GetSecondSortColumn() const { return m_secondary; }

    void OnListCleared() override;
    bool IsRowSelected(int row) override;
    // In the order of the ids; -1 for one without a row.
    std::vector<int> GetSelection() override;
    void DoClear() override;

protected:
    // Why a rebuild takes place.
    enum class Cause {
        Asked,   // anything may be different
        Changes, // the objects have told that they changed
    };

    // What a column of this type begins with, in device-independent pixels.
    virtual int StartWidth(int type) const = 0;
    // Adds the columns that a list of this kind begins with.
    virtual void DefaultColumns() = 0;
    // Fills the contents from the data, without what the filter leaves out.
    virtual void DoRefill() = 0;
    // Sorts the contents by the sort columns, and redraws.
    virtual void DoSort() = 0;
    // A rebuild. One that would hold up the windows may end later.
    virtual void DoUpdate(Cause cause);
    // Nobody looks, so nothing need be kept for the next rebuild.
    virtual void OnAsleep() {}
    // The line in the middle of a list without rows.
    virtual wxString EmptyText() const = 0;
    // The objects are on their way: a list without rows keeps its picture meanwhile.
    virtual bool IsLoading() const { return false; }
    // Its cells show the time; they are drawn anew each second. -1: none does.
    virtual int TimeColumnType() const { return -1; }
    // The command of a double click.
    virtual int ActivateCommand() const = 0;

    // Rows that have been made already take the place of those that are there, which is
    // the rest of a rebuild.
    void Replace(ListContents contents);

    SortOrder GetSortOrder() const;
    ListContents& Contents() { return m_contents; }
    ListContents const& Contents() const { return m_contents; }

    void OnInView() override;
    void OnColumnsChanged(std::vector<int> const& now) override;

private:
    struct Place;

    void OnTick();
    void OnColumnClick(wxListEvent& event);
    void OnColumnResized(wxListEvent& event);
    void OnItemSelected(wxListEvent& event);
    void OnItemDeselect(wxListEvent& event);
    void OnDoubleClick(wxListEvent& event);
    Place TakePlace();
    void RestorePlace(Place place);
    int RowOfKeyboard(Place const& place) const;
    SortBy SortByColumn(int column) const;
    void AddSavedColumn(String const& record);
    String TranslatedLabel(int type, String const& label) const;
    String UntranslatedLabel(int column) const;
    void FitColumns();
    // A load that nobody answers is told of in place of the old picture.
    void LosePatience();

    String const m_section;
    ListContents m_contents;
    // By id, so that a rebuild need not touch it.
    std::set<UID> m_selection;
    int m_primary = 0;
    int m_secondary = -1; // none
    int m_ticks = 0;
    // Of the rows that were there before the list was emptied for a load.
    std::unique_ptr<Place> m_placeBeforeLoad;
    int m_loadTicks = 0; // since then
    // Changes have been missed while nobody looked.
    bool m_isStale = false;
    // The columns are those that a list begins with, and nobody has made one wider.
    bool m_fitsColumns = false;
    bool m_fittedToRows = false;
    int m_fittedRoom = -1; // the width that they are made for; -1: none
};

// The marks of the sort columns: 0 and 1 up and down for the first, 2 and 3 for the second.
// Made once, and drawn anew for another scheme. GUI thread.
wxImageList* SortImages(wxWindow const& list);

} // namespace vorlan
