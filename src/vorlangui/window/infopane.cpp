#include "infopane.h"

#include "model/enginelist.h"

#include <algorithm>
#include <corekit/callentry.h>
#include <wx/control.h>
#include <wx/dcbuffer.h>
#include <wx/dcclient.h>
#include <wx/intl.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>
#include <wx/wxvwrap.h>

namespace vorlan {

namespace {

// At plain resolution.
constexpr int k_Margin = 16;
constexpr int k_HeadingTop = 16;
constexpr int k_HeadingHeight = 24;
constexpr int k_FactsTop = 76;
constexpr int k_FactHeight = 22;
constexpr int k_LineHeight = 18; // within a fact
constexpr int k_NameGap = 16;
constexpr int k_LeastValueWidth = 80; // beside the names: a date, and most words
constexpr int k_GapBelow = 4;         // more behind a value below its name
constexpr int k_WidestName = 160;
constexpr int k_HeadingPoints = 4;
constexpr int k_HeadingLines = 3;

constexpr int k_MostLines = 3; // of a value
constexpr int k_EmptyRise = 5; // the empty text stands at 2 / 5 of the height

wxArrayString Lines(wxDC& dc, wxString const& text, int room, int most) {
    auto const widthOf = [&dc](wxString const& line) { return dc.GetTextExtent(line).x; };
    return wxSplit(wxvWrapped(text, room, most, widthOf), '\n', '\0');
}

} // namespace

InfoPane::InfoPane(wxWindow* parent)
    : wxvPanel(parent, ColorName::WindowBG, wxID_ANY, wxVSCROLL | wxNO_BORDER), wxScrollHelper(this) {
    SetName("InfoPane");
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetFont(wxvFont());
    Bind(wxEVT_PAINT, &InfoPane::OnPaint, this);
    Bind(wxEVT_MOTION, &InfoPane::OnMotion, this);
    ShowScrollbars(wxSHOW_SB_NEVER, wxSHOW_SB_DEFAULT);
    SetScrollRate(0, FromDIP(k_LineHeight));
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Arrange();
        Refresh();
    });
}

void InfoPane::SetTo(Source source) {
    m_source = std::move(source);
    Scroll(0, 0);
    Collect();
}

void InfoPane::SetToNone() { SetTo({}); }

void InfoPane::SetToJob(boost::shared_ptr<JobInfo> const& info) {
    if (!info)
        return SetToNone();
    SetTo([info] { return FactsOf(*info, Time::CurrentTime()); });
}

void InfoPane::SetToEngine(boost::shared_ptr<EngineInfo> const& engine) {
    if (!engine)
        return SetToNone();
    // A change of the Engine comes as another object.
    SetTo([engine] {
        boost::shared_ptr<EngineInfo> const current = EngineList::Get().FindEngine(engine->id);
        return FactsOf(current ? *current : *engine);
    });
}

void InfoPane::SetToWork(boost::shared_ptr<WorkInfo> const& work) {
    if (!work)
        return SetToNone();
    // The time of a unit that has ended stands still.
    SetTo([work, now = Time::CurrentTime()]() mutable {
        if (work->work && WorkList::Get().FindWork(work->work->id))
            now = Time::CurrentTime();
        return FactsOf(*work, now);
    });
}

void InfoPane::OnTimer() {
    if (m_source && IsShownOnScreen())
        Collect();
}

void InfoPane::Collect() {
    InfoFacts facts = m_source ? m_source() : InfoFacts();
    if (facts == m_facts)
        return;
    m_facts = std::move(facts);
    m_arrangedWidth = -1;
    Arrange();
    m_tipFact = -1;
    UnsetToolTip();
    Refresh();
}

int InfoPane::FactAt(int y) const {
    for (size_t i = 0; i < m_places.size(); ++i) {
        if (y >= m_places[i].top && y < m_places[i].bottom)
            return static_cast<int>(i);
    }
    return -1;
}

int InfoPane::NameWidth(wxDC& dc) const {
    int width = 0;
    for (InfoFacts::Fact const& fact : m_facts.facts)
        width = std::max(width, dc.GetTextExtent(wxGetTranslation(fact.name)).x);
    return std::min(width, FromDIP(k_WidestName));
}

void InfoPane::Arrange() {
    wxClientDC dc(this);
    // The bar at the side takes some of the width when it comes.
    for (int width = GetClientSize().x; m_arrangedWidth != width; width = GetClientSize().x) {
        m_arrangedWidth = width;
        dc.SetFont(wxvFont(k_HeadingPoints, FontWeight::Medium));
        m_heading = Lines(dc, wxvText(m_facts.heading), width - 2 * FromDIP(k_Margin), k_HeadingLines);
        int const more = (static_cast<int>(m_heading.size()) - 1) * FromDIP(k_HeadingHeight);
        int const end = m_source ? PlaceFacts(dc, FromDIP(k_FactsTop) + more, width) + FromDIP(k_Margin) : 0;
        SetVirtualSize(0, end);
    }
}

int InfoPane::PlaceFacts(wxDC& dc, int top, int width) {
    dc.SetFont(wxvFont());
    int const lineHeight = FromDIP(k_LineHeight);
    m_valueLeft = FromDIP(k_Margin) + NameWidth(dc) + FromDIP(k_NameGap);
    bool const isBelow = width - FromDIP(k_Margin) - m_valueLeft < FromDIP(k_LeastValueWidth);
    if (isBelow)
        m_valueLeft = FromDIP(k_Margin);
    int const room = width - FromDIP(k_Margin) - m_valueLeft;
    m_places.clear();
    for (InfoFacts::Fact const& fact : m_facts.facts) {
        wxString const value = wxvText(fact.value);
        wxArrayString const lines = Lines(dc, value, room, k_MostLines);
        bool const isCut = lines.Last().EndsWith("...") && !value.EndsWith("...");
        int const valueTop = top + (isBelow ? lineHeight : 0);
        int const end = valueTop + FromDIP(k_FactHeight) + (static_cast<int>(lines.size()) - 1) * lineHeight;
        m_places.push_back({top, valueTop, end + (isBelow ? FromDIP(k_GapBelow) : 0), lines, isCut});
        top = m_places.back().bottom;
    }
    return top;
}

void InfoPane::OnPaint(wxPaintEvent&) {
    CALL_ENTRY();
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(GetBackgroundColour());
    dc.Clear();
    wxSize const size = GetClientSize();
    int const margin = FromDIP(k_Margin);
    auto const draw = [&dc](wxString const& text, int x, int y, int width) {
        if (width > 0)
            dc.DrawText(wxControl::Ellipsize(text, dc, wxELLIPSIZE_END, width), x, y);
    };
    if (!m_source) {
        dc.SetFont(wxvFont());
        dc.SetTextForeground(wxvGetColor(ColorName::TextGrey));
        wxString const text = wxControl::Ellipsize(_("Nothing Selected"), dc, wxELLIPSIZE_END, size.x - 2 * margin);
        wxSize const extent = dc.GetTextExtent(text);
        dc.DrawText(text, (size.x - extent.x) / 2, (size.y - extent.y) * 2 / k_EmptyRise);
        return;
    }
    DoPrepareDC(dc);
    dc.SetFont(wxvFont(k_HeadingPoints, FontWeight::Medium));
    dc.SetTextForeground(wxvGetColor(ColorName::Text));
    int y = FromDIP(k_HeadingTop);
    for (wxString const& line : m_heading) {
        draw(line, margin, y, size.x - 2 * margin);
        y += FromDIP(k_HeadingHeight);
    }
    dc.SetFont(wxvFont());
    dc.SetTextForeground(wxvGetColor(m_facts.stateColor));
    draw(wxvText(m_facts.state), margin, y, size.x - 2 * margin);
    for (size_t i = 0; i < m_places.size(); ++i) {
        Placed const& place = m_places[i];
        dc.SetTextForeground(wxvGetColor(ColorName::TextGrey));
        draw(wxGetTranslation(m_facts.facts[i].name), margin, place.top, NameWidth(dc));
        dc.SetTextForeground(wxvGetColor(ColorName::Text));
        y = place.valueTop;
        for (wxString const& line : place.lines) {
            draw(line, m_valueLeft, y, size.x - margin - m_valueLeft);
            y += FromDIP(k_LineHeight);
        }
    }
}

void InfoPane::OnMotion(wxMouseEvent& event) {
    event.Skip();
    int const fact = FactAt(CalcUnscrolledPosition(event.GetPosition()).y);
    if (fact == m_tipFact)
        return;
    m_tipFact = fact;
    UnsetToolTip();
    if (fact >= 0 && m_places[static_cast<size_t>(fact)].isCut)
        SetToolTip(wxvText(m_facts.facts[static_cast<size_t>(fact)].value));
}

} // namespace vorlan
