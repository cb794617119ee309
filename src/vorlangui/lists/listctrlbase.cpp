#include "listctrlbase.h"

#include <corekit/callentry.h>
#include <vorlan/vorlanapp.h>
#include <wx/bookctrl.h>
#include <wx/intl.h>
#include <wx/listctrl.h>
#include <wx/thread.h>
#include <wx/wxtimed.h>

#include <algorithm>

namespace vorlan {

namespace {

// Time columns run on once a second.
constexpr int k_TicksPerSecond = 1000 / wxTimed::k_PeriodMs;
// After so many ticks without an answer a list says what it waits for.
constexpr int k_TicksOfPatience = 5 * k_TicksPerSecond;
// So many rows above and below one that is gone are looked at for one that is left.
constexpr int k_MostNeighbours = 1000;

} // namespace

// What a rebuild brings back.
struct ListCtrlBase::Place {
    int scroll = 0;
    std::set<UID> selection;
    UID anchor;
    int current = -1; // a row of the former ones
    ListContents former;
};

ListCtrlBase::ListCtrlBase(wxWindow* parent, int id, String section, long style, long windowStyle)
    : wxDBListCtrl(parent, id, style, windowStyle), m_section(section.Empty() ? String::From(id) : std::move(section)) {
    // The first rows come from an explicit Update.
    TakeDirty();
    SetImageList(SortImages(*this));
    SetLastColumnFills(true);
    Bind(wxEVT_LIST_COL_CLICK, &ListCtrlBase::OnColumnClick, this);
    Bind(wxEVT_LIST_COL_END_DRAG, &ListCtrlBase::OnColumnResized, this);
    Bind(wxEVT_LIST_ITEM_SELECTED, &ListCtrlBase::OnItemSelected, this);
    Bind(wxEVT_LIST_ITEM_DESELECTED, &ListCtrlBase::OnItemDeselect, this);
    Bind(wxEVT_LIST_ITEM_ACTIVATED, &ListCtrlBase::OnDoubleClick, this);
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        FitColumns();
    });
    wxTimed::s_Timer0250.Connect(this, &ListCtrlBase::OnTick);
}

ListCtrlBase::~ListCtrlBase() { DisconnectAll(); }

std::set<UID> ListCtrlBase::GetSelectedIDs() const {
    std::set<UID> ids = m_selection;
    m_contents.Retain(ids);
    return ids;
}

bool ListCtrlBase::HasSelection() const {
    return std::ranges::any_of(m_selection, [this](UID const& id) { return m_contents[id] != ListContents::k_NoRow; });
}

void ListCtrlBase::SetSelectedIDs(std::set<UID> const& ids, UID const& anchor) {
    m_selection = ids;
    int const current = GetCurrentRow();
    SetLastSelect(GetRowOf(anchor));
    if (anchor.IsNull())
        SetCurrentRow(current);
    Redraw();
}

std::vector<int> ListCtrlBase::GetSelection() {
    std::vector<int> rows;
    rows.reserve(m_selection.size());
    for (UID const& id : m_selection)
        rows.push_back(GetRowOf(id));
    return rows;
}

bool ListCtrlBase::IsRowSelected(int row) { return m_selection.contains(GetRowID(row)); }

void ListCtrlBase::DoClear() {
    ListContents().swap(m_contents);
    std::set<UID>().swap(m_selection);
}

void ListCtrlBase::OnListCleared() {
    if (!IsLoading()) {
        m_placeBeforeLoad.reset();
        Clear();
        SetEmptyText(EmptyText());
        ReleasePicture();
        Redraw();
        return;
    }
    HoldPicture();
    m_placeBeforeLoad = std::make_unique<Place>(TakePlace());
    m_placeBeforeLoad->selection.clear();
    m_placeBeforeLoad->anchor = UID::Null;
    m_loadTicks = 0;
    Clear();
}

void ListCtrlBase::LosePatience() {
    if (!m_placeBeforeLoad || !IsLoading() || ++m_loadTicks != k_TicksOfPatience)
        return;
    SetEmptyText(_("Waiting for the Master..."));
    ReleasePicture();
}

// The last window below a book is its page; the page in front is the one that is seen. A
// list right in a book is no page of it: the book itself is looked for in the next one.
bool ListCtrlBase::IsAwake() const {
    wxWindow const* page = nullptr;
    for (wxWindow const* window = GetParent(); window; window = window->GetParent()) {
        auto const* const book = dynamic_cast<wxBookCtrlBase const*>(window);
        if (book && page)
            return book->GetCurrentPage() == page;
        page = window;
    }
    return true;
}

void ListCtrlBase::OnTick() {
    UpdateIfDirty();
    LosePatience();
    FitColumns();
    int const type = TimeColumnType();
    if (type < 0 || ++m_ticks < k_TicksPerSecond)
        return;
    m_ticks = 0;
    int const column = FindColumnByType(type);
    if (column >= 0 && !m_contents.empty() && IsShownOnScreen())
        RedrawColumn(column);
}

// A change on a page at the back is forgotten: the page refreshes when it comes to the
// front.
void ListCtrlBase::UpdateIfDirty() {
    CALL_ENTRY();
    while (TakeDirty()) {
        if (IsAwake()) {
            m_isStale = false;
            DoUpdate(Cause::Changes);
        } else if (!m_isStale) {
            m_isStale = true;
            OnAsleep();
        }
    }
}

void ListCtrlBase::OnInView() {
    wxDBListCtrl::OnInView();
    if (m_isStale)
        Update();
}

void ListCtrlBase::Update() {
    m_isStale = false;
    DoUpdate(Cause::Asked);
}

void ListCtrlBase::DoUpdate(Cause) {
    CALL_ENTRY();
    Freeze();
    Place place = TakePlace();
    Clear();
    DoRefill();
    Insert(0, m_contents.size(), false);
    DoSort();
    RestorePlace(std::move(place));
    Thaw();
}

void ListCtrlBase::Replace(ListContents contents) {
    CALL_ENTRY();
    Freeze();
    Place place = TakePlace();
    Clear();
    m_contents.swap(contents);
    Insert(0, m_contents.size(), false);
    RestorePlace(std::move(place));
    Thaw();
}

// Selection and rows are taken away, not copied: they may be 100,000.
auto ListCtrlBase::TakePlace() -> Place {
    if (m_placeBeforeLoad)
        return std::move(*std::exchange(m_placeBeforeLoad, nullptr));
    Place place{
        GetScrollPos(wxVERTICAL), std::exchange(m_selection, {}), GetRowID(GetLastSelect()), GetCurrentRow(), {}};
    m_contents.Retain(place.selection);
    place.former.swap(m_contents);
    return place;
}

int ListCtrlBase::RowOfKeyboard(Place const& place) const {
    int const rows = static_cast<int>(place.former.size());
    int const first = place.current;
    if (first < 0 || first >= rows)
        return -1;
    auto const rowNow = [&](int row) { return GetRowOf(place.former[static_cast<size_t>(row)]); };
    for (int row = first; row < std::min(rows, first + k_MostNeighbours); ++row) {
        if (int const now = rowNow(row); now >= 0)
            return now;
    }
    for (int row = first - 1; row >= std::max(0, first - k_MostNeighbours); --row) {
        if (int const now = rowNow(row); now >= 0)
            return now;
    }
    return std::min(first, GetItemCount() - 1);
}

void ListCtrlBase::RestorePlace(Place place) {
    if (m_contents.empty() && IsLoading()) {
        m_placeBeforeLoad = std::make_unique<Place>(std::move(place));
        return;
    }
    m_selection = std::move(place.selection);
    SetLastSelect(GetRowOf(place.anchor));
    SetCurrentRow(RowOfKeyboard(place));
    if (m_contents.empty())
        SetEmptyText(EmptyText());
    FitColumns();
    ReleasePicture();
    Redraw();
    SetScrollPos(wxVERTICAL, place.scroll, true);
}

void ListCtrlBase::OnItemSelected(wxListEvent& event) {
    event.Skip();
    int const row = static_cast<int>(event.GetIndex());
    UID const id = GetRowID(row);
    if (id.IsNull())
        return;
    m_selection.insert(id);
    RedrawItem(row);
}

void ListCtrlBase::OnItemDeselect(wxListEvent& event) {
    event.Skip();
    int const row = static_cast<int>(event.GetIndex());
    m_selection.erase(GetRowID(row));
    RedrawItem(row);
}

void ListCtrlBase::OnDoubleClick(wxListEvent& event) {
    event.Skip();
    wxCommandEvent command(wxEVT_MENU, ActivateCommand());
    command.SetEventObject(this);
    GetEventHandler()->AddPendingEvent(command);
}

} // namespace vorlan
