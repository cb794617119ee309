#include "infopane.h"

#include "model/enginelist.h"

#include <algorithm>
#include <corekit/callentry.h>
#include <wx/control.h>
#include <wx/dcbuffer.h>
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
constexpr int k_WidestName = 160;
constexpr int k_HeadingPoints = 4;
constexpr int k_HeadingLines = 2;

constexpr int k_MostLines = 3; // of a value
constexpr int k_EmptyRise = 5; // the empty text stands at 2 / 5 of the height

} // namespace

InfoPane::InfoPane(wxWindow* parent) : wxvPanel(parent, ColorName::WindowBG) {
    SetName("InfoPane");
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetFont(wxvFont());
    Bind(wxEVT_PAINT, &InfoPane::OnPaint, this);
    Bind(wxEVT_MOTION, &InfoPane::OnMotion, this);
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Refresh();
    });
}

void InfoPane::SetTo(Source source) {
    m_source = std::move(source);
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
    SetTo([work] { return FactsOf(*work, Time::CurrentTime()); });
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
    m_places.clear();
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

void InfoPane::Arrange(wxDC& dc) {
    int const width = GetClientSize().x;
    if (m_arrangedWidth == width)
        return;
    m_arrangedWidth = width;
    auto const wrap = [&dc](wxString const& text, int room, int lines) {
        auto const widthOf = [&dc](wxString const& line) { return dc.GetTextExtent(line).x; };
        return wxvWrapped(text, room, lines, widthOf);
    };
    dc.SetFont(wxvFont(k_HeadingPoints, FontWeight::Medium));
    m_heading = wxSplit(wrap(wxvText(m_facts.heading), width - 2 * FromDIP(k_Margin), k_HeadingLines), '\n', '\0');
    int top = FromDIP(k_FactsTop) + (static_cast<int>(m_heading.size()) - 1) * FromDIP(k_HeadingHeight);
    dc.SetFont(wxvFont());
    m_valueLeft = FromDIP(k_Margin) + NameWidth(dc) + FromDIP(k_NameGap);
    int const room = width - FromDIP(k_Margin) - m_valueLeft;
    m_places.clear();
    for (InfoFacts::Fact const& fact : m_facts.facts) {
        wxString const value = wxvText(fact.value);
        wxString const wrapped = wrap(value, room, k_MostLines);
        Placed place{top, 0, wxSplit(wrapped, '\n', '\0'), wrapped.EndsWith("...") && !value.EndsWith("...")};
        int const more = static_cast<int>(place.lines.size()) - 1;
        place.bottom = top + FromDIP(k_FactHeight) + more * FromDIP(k_LineHeight);
        top = place.bottom;
        m_places.push_back(std::move(place));
    }
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
    Arrange(dc);
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
        y = place.top;
        for (wxString const& line : place.lines) {
            draw(line, m_valueLeft, y, size.x - margin - m_valueLeft);
            y += FromDIP(k_LineHeight);
        }
    }
}

void InfoPane::OnMotion(wxMouseEvent& event) {
    event.Skip();
    int const fact = FactAt(event.GetY());
    if (fact == m_tipFact)
        return;
    m_tipFact = fact;
    UnsetToolTip();
    if (fact >= 0 && m_places[static_cast<size_t>(fact)].isCut)
        SetToolTip(wxvText(m_facts.facts[static_cast<size_t>(fact)].value));
}

} // namespace vorlan
