#include "listinput.h"
#include "listpainter.h"
#include "paintedregion.h"
#include "theme/scrollbarhead.h"

#include <algorithm>
#include <wx/app.h>
#include <wx/dcclient.h>
#include <wx/dcmemory.h>
#include <wx/imaglist.h>
#include <wx/region.h>
#include <wx/wxvfont.h>

namespace {

constexpr int k_RowHeight = 21;
constexpr int k_RowSpace = 6; // above and below a line of text, together
constexpr int k_HeaderHeight = 25;
constexpr int k_HeaderSpace = 10;
constexpr int k_SmallestSide = 60;

} // namespace

wxDBListCtrl::wxDBListCtrl(wxWindow* parent, int id, long style, long windowStyle)
    : wxvPanel(parent, ColorName::WindowBGDarker, id,
               wxHSCROLL | wxVSCROLL | wxWANTS_CHARS | wxNO_BORDER | windowStyle),
      m_state(std::make_unique<wxDBListState>()),
      m_painter(std::make_unique<wxDBListPainter>(*this, *m_state)),
      m_input(std::make_unique<wxDBListInput>(*this, *m_state)) {
    m_state->style = style;
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetFont(wxvFont());
    SetMinSize(FromDIP(wxSize(k_SmallestSide, k_SmallestSide)));
    TakeMetrics();
    Bind(wxEVT_PAINT, &wxDBListCtrl::OnPaint, this);
    Bind(wxEVT_SIZE, &wxDBListCtrl::OnSize, this);
    Bind(wxEVT_SET_FOCUS, &wxDBListCtrl::OnFocusChange, this);
    Bind(wxEVT_KILL_FOCUS, &wxDBListCtrl::OnFocusChange, this);
    for (auto const& type :
         {wxEVT_SCROLLWIN_TOP, wxEVT_SCROLLWIN_BOTTOM, wxEVT_SCROLLWIN_LINEUP, wxEVT_SCROLLWIN_LINEDOWN,
          wxEVT_SCROLLWIN_PAGEUP, wxEVT_SCROLLWIN_PAGEDOWN, wxEVT_SCROLLWIN_THUMBTRACK, wxEVT_SCROLLWIN_THUMBRELEASE})
        Bind(type, &wxDBListCtrl::OnScroll, this);
    Bind(wxEVT_DPI_CHANGED, [this](wxDPIChangedEvent& event) {
        event.Skip();
        m_painter->Canvas().Forget();
        TakeMetrics();
        Refresh();
    });
}

wxDBListCtrl::~wxDBListCtrl() = default;

void wxDBListCtrl::TakeMetrics() {
    int const line = m_painter->Canvas().LineHeight(*this);
    wxDBListMetrics metrics;
    metrics.rowHeight = std::max(FromDIP(k_RowHeight), line + FromDIP(k_RowSpace));
    metrics.headerHeight =
        (m_state->style & wxLC_NO_HEADER) ? 0 : std::max(FromDIP(k_HeaderHeight), line + FromDIP(k_HeaderSpace));
    metrics.padding = FromDIP(metrics.padding);
    metrics.markSize = FromDIP(metrics.markSize);
    metrics.markGap = FromDIP(metrics.markGap);
    metrics.grip = FromDIP(metrics.grip);
    m_state->layout.SetMetrics(metrics);
    wxvHeadScrollbar(*this, metrics.headerHeight);
    m_state->layoutChanged = true;
}

// --- Drawing

void wxDBListCtrl::OnPaint(wxPaintEvent&) {
    wxPaintDC dc(this);
    m_state->missedPaint = IsFrozen();
    if (m_state->missedPaint)
        return;
    if (m_state->isHeld) {
        m_painter->PaintHeld(dc, m_state->heldPicture);
        return;
    }
    m_state->layout.SetClient(GetClientSize());
    if (m_state->layout.Clamp())
        Refresh(false); // what is not drawn now has moved, too
    std::optional<wxRegion> const region = PaintedRegion(*this, dc);
    m_painter->Paint(dc, region ? &*region : nullptr);
}

void wxDBListCtrl::HoldPicture() {
    if (std::exchange(m_state->isHeld, true))
        return;
    wxSize const size = GetClientSize();
    if (!IsShownOnScreen() || size.x <= 0 || size.y <= 0)
        return;
    m_state->heldPicture.CreateWithDIPSize(size, GetContentScaleFactor());
    wxMemoryDC memory(m_state->heldPicture);
    wxClientDC screen(this);
    memory.Blit(wxPoint(0, 0), size, &screen, wxPoint(0, 0));
}

void wxDBListCtrl::ReleasePicture() {
    if (!std::exchange(m_state->isHeld, false))
        return;
    m_state->heldPicture = wxBitmap();
    Redraw();
}

void wxDBListCtrl::PaintCopy(wxDC& dc) {
    m_state->layout.SetClient(GetClientSize());
    m_state->layout.Clamp();
    m_painter->PaintCopy(dc);
}

void wxDBListCtrl::DoFreeze() {}

void wxDBListCtrl::DoThaw() {
    if (m_state->missedPaint)
        Refresh(false);
    wxWakeUpIdle();
}

void wxDBListCtrl::Redraw() {
    m_state->redraw = true;
    wxWakeUpIdle();
}

void wxDBListCtrl::RefreshRow(int row) {
    if (m_state->IsRow(row) && row >= m_state->layout.FirstRow() && row < m_state->layout.EndRow())
        RefreshRect(m_state->layout.Row(row), false);
}

void wxDBListCtrl::RedrawItem(int row) { RefreshRow(row); }

void wxDBListCtrl::RedrawCell(int row, int column) {
    if (row >= m_state->layout.FirstRow() && row < m_state->layout.EndRow() && m_state->IsColumn(column))
        RefreshRect(m_state->layout.Cell(row, column), false);
}

void wxDBListCtrl::RedrawColumn(int column) {
    if (!m_state->IsColumn(column))
        return;
    wxRect const head = m_state->layout.HeaderCell(column);
    wxRect const body = m_state->layout.Body();
    RefreshRect(wxRect(head.x, body.y, head.width, body.height), false);
}

uint64_t wxDBListCtrl::CountDrawnRows() const { return m_painter->DrawnRows(); }

void wxDBListCtrl::OnInternalIdle() {
    wxvPanel::OnInternalIdle();
    if (IsFrozen() || m_state->isHeld || !IsShownOnScreen())
        return;
    if (m_state->layoutChanged || m_state->redraw)
        Settle();
    if (m_painter->DrewFrame() != m_state->ShowsFrame())
        Refresh(false);
}

void wxDBListCtrl::Settle() {
    if (std::exchange(m_state->layoutChanged, false)) {
        m_state->layout.SetClient(GetClientSize());
        if (m_state->layout.Clamp())
            Refresh(false);
        SettleScrollbars();
        PlaceOverlay();
    }
    if (std::exchange(m_state->redraw, false)) {
        if (m_painter->DrewEmptyText() != (m_state->layout.RowCount() == 0))
            Refresh(false);
        else
            m_painter->CompareLooks([this](wxRect const& place) { RefreshRect(place, false); });
        m_input->ContentMoved();
    }
}

void wxDBListCtrl::ApplyColors() {
    wxvPanel::ApplyColors();
    m_painter->Forget();
}

// --- Scrolling

void wxDBListCtrl::SettleScrollbars() {
    // Before its first layout a window is a few pixels wide: bars find no room there.
    if (wxSize const size = GetSize(); size.x < FromDIP(k_SmallestSide) || size.y < FromDIP(k_SmallestSide))
        return;
    wxDBListLayout const& layout = m_state->layout;
    auto settle = [this](int orientation, wxDBListState::Scrollbar& bar, wxDBListState::Scrollbar now) {
        if (now.range <= now.thumb)
            now = {};
        // Setting a bar draws the whole window, even when it stays as it is.
        if (now == bar)
            return;
        bar = now;
        SetScrollbar(orientation, now.position, now.thumb, now.range);
    };
    settle(wxVERTICAL, m_state->vertical, {layout.Origin().y, layout.Body().height, layout.Content().y});
    settle(wxHORIZONTAL, m_state->horizontal, {layout.Origin().x, layout.Client().x, layout.Content().x});
}

void wxDBListCtrl::ScrollTo(wxPoint const& origin) {
    wxPoint const to = m_state->layout.Clamped(origin);
    if (to == m_state->layout.Origin())
        return;
    m_state->layout.SetOrigin(to);
    SettleScrollbars();
    PlaceOverlay();
    m_input->ContentMoved();
    Refresh(false);
}

void wxDBListCtrl::OnScroll(wxScrollWinEvent& event) {
    wxDBListLayout const& layout = m_state->layout;
    bool const vertical = event.GetOrientation() == wxVERTICAL;
    int const before = vertical ? layout.Origin().y : layout.Origin().x;
    int const line = layout.Metrics().rowHeight;
    int const page = vertical ? layout.RowsPerPage() * line : layout.Client().x;
    int to = wxvPanel::GetScrollPos(event.GetOrientation());
    wxEventType const type = event.GetEventType();
    if (type == wxEVT_SCROLLWIN_THUMBTRACK || type == wxEVT_SCROLLWIN_THUMBRELEASE)
        to = event.GetPosition();
    else if (to != before)
        ; // the toolkit has moved the bar already
    else if (type == wxEVT_SCROLLWIN_LINEUP || type == wxEVT_SCROLLWIN_LINEDOWN)
        to += type == wxEVT_SCROLLWIN_LINEUP ? -line : line;
    else if (type == wxEVT_SCROLLWIN_PAGEUP || type == wxEVT_SCROLLWIN_PAGEDOWN)
        to += type == wxEVT_SCROLLWIN_PAGEUP ? -page : page;
    else
        to = type == wxEVT_SCROLLWIN_TOP ? 0 : (vertical ? layout.Content().y : layout.Content().x);
    ScrollTo(vertical ? wxPoint(layout.Origin().x, to) : wxPoint(to, layout.Origin().y));
}

void wxDBListCtrl::SetScrollPos(int orientation, int position, bool refresh) {
    wxDBListLayout& layout = m_state->layout;
    wxPoint origin = layout.Origin();
    if (orientation != wxVERTICAL)
        origin.x = position;
    else if (position != GetScrollPos(wxVERTICAL)) // else a row may stay in sight in part
        origin.y = std::clamp(position, 0, layout.RowCount()) * layout.Metrics().rowHeight;
    wxPoint const before = layout.Origin();
    layout.SetOrigin(origin);
    layout.Clamp();
    if (layout.Origin() != before && !m_state->isHeld)
        Refresh(false);
    m_state->layoutChanged = true;
    if (refresh)
        Redraw();
    else
        wxWakeUpIdle();
}

int wxDBListCtrl::GetScrollPos(int orientation) const {
    wxPoint const origin = m_state->layout.Origin();
    return orientation == wxVERTICAL ? origin.y / m_state->layout.Metrics().rowHeight : origin.x;
}

int wxDBListCtrl::GetScrollThumb(int orientation) const {
    return orientation == wxVERTICAL ? m_state->layout.RowsPerPage() : m_state->layout.Client().x;
}

int wxDBListCtrl::GetScrollRange(int orientation) const {
    return orientation == wxVERTICAL ? m_state->layout.RowCount() : m_state->layout.Content().x;
}

void wxDBListCtrl::OnSize(wxSizeEvent& event) {
    event.Skip();
    m_state->layout.SetClient(GetClientSize());
    m_state->layoutChanged = true;
    Refresh(false);
    wxWakeUpIdle();
}

void wxDBListCtrl::EnsureVisible(int row) {
    if (!m_state->IsRow(row))
        return;
    m_state->layout.SetClient(GetClientSize());
    ScrollTo(m_state->layout.OriginFor(row));
}

// --- Focus

void wxDBListCtrl::OnFocusChange(wxFocusEvent& event) {
    event.Skip();
    m_state->focused = event.GetEventType() == wxEVT_SET_FOCUS;
    RefreshRow(m_state->current);
}

bool wxDBListCtrl::Enable(bool enable) {
    bool const changed = wxvPanel::Enable(enable);
    if (changed)
        Refresh(false);
    return changed;
}

// The overlay gets it by a click of its own.
void wxDBListCtrl::SetFocus() { SetFocusIgnoringChildren(); }
bool wxDBListCtrl::AcceptsFocus() const { return IsShown() && IsEnabled(); }

// --- Overlay

void wxDBListCtrl::Overlay(wxWindow* window, int row, int column) {
    wxWindow* const before = std::exchange(m_state->overlay, window);
    m_state->overlayRow = window ? row : -1;
    m_state->overlayColumn = window ? column : -1;
    if (before && before != window) {
        before->Hide();
        // It may be one of its own events that led here.
        wxTheApp->ScheduleForDestruction(before);
    }
    if (window) {
        PlaceOverlay();
        window->Show();
    }
}

wxWindow* wxDBListCtrl::GetOverlay() const { return m_state->overlay; }

void wxDBListCtrl::PlaceOverlay() {
    if (!m_state->overlay)
        return;
    wxRect place = m_state->layout.Cell(m_state->overlayRow, m_state->overlayColumn);
    // Out of sight and not hidden: it keeps the focus, and what is typed in it.
    if (place.IsEmpty() || place.y < m_state->layout.Body().y)
        place = wxRect(-20'000, 0, std::max(place.width, 1), m_state->layout.Metrics().rowHeight);
    if (m_state->overlay->GetRect() != place)
        m_state->overlay->SetSize(place);
}
