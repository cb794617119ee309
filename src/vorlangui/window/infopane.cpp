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

namespace vorlan {

namespace {

// At plain resolution.
constexpr int k_Margin = 16;
constexpr int k_HeadingTop = 16;
constexpr int k_StateTop = 40;
constexpr int k_FactsTop = 76;
constexpr int k_FactHeight = 22;
constexpr int k_NameGap = 24;
constexpr int k_WidestName = 160;
constexpr int k_HeadingPoints = 4;

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
    m_tipFact = -1;
    UnsetToolTip();
    Refresh();
}

int InfoPane::FactTop(size_t index) const {
    return FromDIP(k_FactsTop) + static_cast<int>(index) * FromDIP(k_FactHeight);
}

int InfoPane::FactAt(int y) const {
    int const offset = y - FromDIP(k_FactsTop);
    if (offset < 0)
        return -1;
    int const index = offset / FromDIP(k_FactHeight);
    return index < static_cast<int>(m_facts.facts.size()) ? index : -1;
}

int InfoPane::NameWidth(wxDC& dc) const {
    int width = 0;
    for (InfoFacts::Fact const& fact : m_facts.facts)
        width = std::max(width, dc.GetTextExtent(wxGetTranslation(fact.name)).x);
    return std::min(width, FromDIP(k_WidestName));
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
    dc.SetFont(wxvFont(k_HeadingPoints, FontWeight::Medium));
    dc.SetTextForeground(wxvGetColor(ColorName::Text));
    draw(wxvText(m_facts.heading), margin, FromDIP(k_HeadingTop), size.x - 2 * margin);
    dc.SetFont(wxvFont());
    dc.SetTextForeground(wxvGetColor(m_facts.stateColor));
    draw(wxvText(m_facts.state), margin, FromDIP(k_StateTop), size.x - 2 * margin);

    int const nameWidth = NameWidth(dc);
    int const valueLeft = margin + nameWidth + FromDIP(k_NameGap);
    for (size_t i = 0; i < m_facts.facts.size(); ++i) {
        InfoFacts::Fact const& fact = m_facts.facts[i];
        dc.SetTextForeground(wxvGetColor(ColorName::TextGrey));
        draw(wxGetTranslation(fact.name), margin, FactTop(i), nameWidth);
        dc.SetTextForeground(wxvGetColor(ColorName::Text));
        draw(wxvText(fact.value), valueLeft, FactTop(i), size.x - margin - valueLeft);
    }
}

void InfoPane::OnMotion(wxMouseEvent& event) {
    event.Skip();
    int const fact = FactAt(event.GetY());
    if (fact == m_tipFact)
        return;
    m_tipFact = fact;
    UnsetToolTip();
    if (fact < 0)
        return;
    // Only where the value has no room.
    wxClientDC dc(this);
    dc.SetFont(wxvFont());
    int const room = GetClientSize().x - 2 * FromDIP(k_Margin) - NameWidth(dc) - FromDIP(k_NameGap);
    wxString const value = wxvText(m_facts.facts[static_cast<size_t>(fact)].value);
    if (dc.GetTextExtent(value).x > room)
        SetToolTip(value);
}

} // namespace vorlan
