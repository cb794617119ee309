#include "overviewpane.h"

#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"
#include "overviewpainter.h"

#include <algorithm>
#include <corekit/callentry.h>
#include <wx/dcbuffer.h>
#include <wx/intl.h>
#include <wx/wxvcolors.h>

namespace vorlan {

OverviewPane::OverviewPane(wxWindow* parent)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
               wxVSCROLL | wxNO_BORDER | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, &OverviewPane::OnPaint, this);
    Bind(wxEVT_MOUSEWHEEL, &OverviewPane::OnWheel, this);
    Bind(wxEVT_KEY_DOWN, &OverviewPane::OnKey, this);
    for (auto const& type :
         {wxEVT_SCROLLWIN_TOP, wxEVT_SCROLLWIN_BOTTOM, wxEVT_SCROLLWIN_LINEUP, wxEVT_SCROLLWIN_LINEDOWN,
          wxEVT_SCROLLWIN_PAGEUP, wxEVT_SCROLLWIN_PAGEDOWN, wxEVT_SCROLLWIN_THUMBTRACK, wxEVT_SCROLLWIN_THUMBRELEASE})
        Bind(type, &OverviewPane::OnScroll, this);
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        UpdateScrollbar();
    });
    Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
        event.Skip();
        Refresh();
    });
    JobList::Get().Lists().Add(this);
    EngineList::Get().Lists().Add(this);
    WorkList::Get().Lists().Add(this);
}

OverviewPane::~OverviewPane() {
    JobList::Get().Lists().Remove(this);
    EngineList::Get().Lists().Remove(this);
    WorkList::Get().Lists().Remove(this);
}

void OverviewPane::OnTimer() {
    if (IsShownOnScreen())
        Collect();
}

void OverviewPane::Collect() {
    CALL_ENTRY();
    if (!TakeDirty())
        return;
    OverviewCounts const counts = CountOverview();
    corekit::vector<OverviewRow> rows = CollectOverview();
    if (counts == m_counts && rows == m_rows)
        return;
    m_counts = counts;
    m_rows = std::move(rows);
    UpdateScrollbar();
    Refresh();
}

OverviewLayout OverviewPane::Parts() const {
    auto const scale = [this](int length) { return FromDIP(length); };
    return LayOutOverview(GetClientSize(), OverviewMetrics().Scaled(scale), FromDIP(100) / 100.0);
}

void OverviewPane::UpdateScrollbar() {
    int const inSight = Parts().RowsInSight();
    int const all = static_cast<int>(m_rows.size());
    m_first = std::clamp(m_first, 0, std::max(all - inSight, 0));
    if (GetScrollRange(wxVERTICAL) != all || GetScrollThumb(wxVERTICAL) != inSight ||
        GetScrollPos(wxVERTICAL) != m_first)
        SetScrollbar(wxVERTICAL, m_first, inSight, all);
}

void OverviewPane::ScrollTo(int row) {
    int const former = m_first;
    m_first = row;
    UpdateScrollbar();
    if (m_first != former)
        Refresh();
}

void OverviewPane::OnPaint(wxPaintEvent&) {
    CALL_ENTRY();
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(wxvGetColor(ColorName::WindowBGDarker));
    dc.Clear();
    OverviewLayout const layout = Parts();
    OverviewPainter painter(dc, layout);
    if (m_rows.empty())
        painter.PaintEmpty(_("No Jobs yet."));
    else
        painter.PaintRows(std::span(m_rows).subspan(static_cast<size_t>(m_first)), m_first);
    painter.PaintFigures(m_counts);
    painter.PaintHeader();
}

void OverviewPane::OnScroll(wxScrollWinEvent& event) {
    int const page = Parts().RowsInSight();
    wxEventType const type = event.GetEventType();
    if (type == wxEVT_SCROLLWIN_TOP)
        ScrollTo(0);
    else if (type == wxEVT_SCROLLWIN_BOTTOM)
        ScrollTo(static_cast<int>(m_rows.size()));
    else if (type == wxEVT_SCROLLWIN_LINEUP)
        ScrollTo(m_first - 1);
    else if (type == wxEVT_SCROLLWIN_LINEDOWN)
        ScrollTo(m_first + 1);
    else if (type == wxEVT_SCROLLWIN_PAGEUP)
        ScrollTo(m_first - page);
    else if (type == wxEVT_SCROLLWIN_PAGEDOWN)
        ScrollTo(m_first + page);
    else
        ScrollTo(event.GetPosition());
}

void OverviewPane::OnWheel(wxMouseEvent& event) {
    m_wheel += event.GetWheelRotation();
    int const notches = m_wheel / event.GetWheelDelta();
    m_wheel -= notches * event.GetWheelDelta();
    ScrollTo(m_first - notches * event.GetLinesPerAction());
}

void OverviewPane::OnKey(wxKeyEvent& event) {
    int const page = Parts().RowsInSight();
    switch (event.GetKeyCode()) {
    case WXK_UP:
        ScrollTo(m_first - 1);
        break;
    case WXK_DOWN:
        ScrollTo(m_first + 1);
        break;
    case WXK_PAGEUP:
        ScrollTo(m_first - page);
        break;
    case WXK_PAGEDOWN:
        ScrollTo(m_first + page);
        break;
    case WXK_HOME:
        ScrollTo(0);
        break;
    case WXK_END:
        ScrollTo(static_cast<int>(m_rows.size()));
        break;
    default:
        event.Skip();
    }
}

} // namespace vorlan
