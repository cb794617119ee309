#include <algorithm>
#include <cmath>
#include <wx/dcmemory.h>
#include <wx/wxbarhistoryctrl.h>
#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>

namespace {

constexpr int k_HistoryHeight = 72;
constexpr int k_HistoryWidth = 160;
constexpr int k_HistoryPadding = 8;
constexpr int k_Pitch = 4;
constexpr int k_Quarters = 4;
// The labels go where they would leave the bars less than this share of the width.
constexpr int k_MostLabelShare = 3;

} // namespace

wxRect BarHistoryLayout::Bar(int fromEnd, double share) const {
    wxRect const plot = Plot();
    int const right = plot.GetRight() + 1 - fromEnd * pitch;
    int const left = std::max(right - pitch + gap, plot.x);
    // A value above the low bound is seen, however small.
    int const height = share > 0 ? std::max(1, static_cast<int>(std::lround(share * plot.height))) : 0;
    return {left, plot.y + plot.height - height, std::max(right - left, 0), height};
}

int BarHistoryLayout::LineAt(double share) const {
    int const last = std::max(size.y - 1, 0);
    return std::clamp(static_cast<int>(std::lround((1.0 - share) * last)), 0, last);
}

wxBarHistoryCtrl::wxBarHistoryCtrl(wxWindow* parent, wxWindowID id) : wxDoubleBufferedWindow(parent, id) {
    SetMinSize(FromDIP(wxSize(k_HistoryWidth / 2, k_HistoryHeight / 2)));
}

void wxBarHistoryCtrl::SetBounds(unsigned low, unsigned high, bool redraw) {
    m_low = low;
    m_high = high;
    Changed(redraw);
}

void wxBarHistoryCtrl::SetMidBound(unsigned value, bool redraw) {
    m_mid = value;
    Changed(redraw);
}

void wxBarHistoryCtrl::SetLabel(Label label) {
    m_label = std::move(label);
    Changed(true);
}

void wxBarHistoryCtrl::PushValue(unsigned value) {
    if (m_values.size() >= k_MaxValues)
        m_values.pop_front();
    m_values.push_back(value);
    Changed(true);
}

void wxBarHistoryCtrl::Clear(bool redraw) {
    m_values.clear();
    m_low = m_high = m_mid = 0;
    Changed(redraw);
}

void wxBarHistoryCtrl::Changed(bool redraw) {
    if (redraw)
        Redraw();
}

double wxBarHistoryCtrl::Share(unsigned value) const {
    if (!HasBounds())
        return 0;
    unsigned const inside = std::clamp(value, m_low, m_high);
    return static_cast<double>(inside - m_low) / (m_high - m_low);
}

wxString wxBarHistoryCtrl::Text(unsigned value) const {
    return m_label ? m_label(value) : wxString::Format("%u", value);
}

BarHistoryLayout wxBarHistoryCtrl::Parts(wxDC& dc) const {
    BarHistoryLayout layout;
    layout.size = GetClientSize();
    layout.pitch = FromDIP(k_Pitch);
    layout.gap = FromDIP(1);
    if (!HasBounds())
        return layout;
    int const widest =
        std::max({dc.GetTextExtent(Text(m_low)).x, dc.GetTextExtent(Text(m_mid)).x, dc.GetTextExtent(Text(m_high)).x}) +
        FromDIP(2 * k_HistoryPadding);
    if (widest * k_MostLabelShare <= layout.size.x && layout.size.y >= 2 * dc.GetCharHeight())
        layout.labelWidth = widest;
    return layout;
}

void wxBarHistoryCtrl::DrawGrid(wxDC& dc, BarHistoryLayout const& layout) const {
    wxRect const plot = layout.Plot();
    dc.SetPen(wxvMixColors(wxvGetColor(ColorName::WindowBGDarker), wxvGetColor(ColorName::TextGrey), 0.25));
    for (int i = 0; i <= k_Quarters; ++i) {
        int const y = layout.LineAt(static_cast<double>(i) / k_Quarters);
        dc.DrawLine(plot.x, y, plot.x + plot.width, y);
    }
}

void wxBarHistoryCtrl::DrawBars(wxDC& dc, BarHistoryLayout const& layout) const {
    wxColour const strong = wxvGetColor(ColorName::TextBlue);
    wxColour const plain = wxvMixColors(wxvGetColor(ColorName::Selected), strong, 0.45);
    int const mid = layout.LineAt(Share(m_mid));
    bool const hasMid = m_mid > m_low && m_mid < m_high;
    int const count = std::min(layout.BarCount(), static_cast<int>(m_values.size()));
    dc.SetPen(*wxTRANSPARENT_PEN);
    for (bool const above : {false, true}) {
        if (above && !hasMid)
            break;
        dc.SetBrush(above ? strong : plain);
        for (int i = 0; i < count; ++i) {
            wxRect bar = layout.Bar(i, Share(m_values[m_values.size() - 1 - static_cast<size_t>(i)]));
            if (above)
                bar.height = std::min(bar.height, mid - bar.y);
            if (bar.height > 0)
                dc.DrawRectangle(bar);
        }
    }
    if (hasMid) {
        dc.SetPen(wxPen(wxvGetColor(ColorName::TextGrey), 1, wxPENSTYLE_SHORT_DASH));
        dc.DrawLine(layout.labelWidth, mid, layout.size.x, mid);
    }
}

void wxBarHistoryCtrl::DrawLabels(wxDC& dc, BarHistoryLayout const& layout) const {
    if (layout.labelWidth == 0)
        return;
    int const charHeight = dc.GetCharHeight();
    dc.SetTextForeground(wxvGetColor(ColorName::TextGrey));
    auto draw = [&](unsigned value, int top) {
        wxString const text = Text(value);
        dc.DrawText(text, layout.labelWidth - FromDIP(k_HistoryPadding) - dc.GetTextExtent(text).x, top);
    };
    int const lowest = layout.size.y - charHeight;
    draw(m_high, 0);
    draw(m_low, lowest);
    // The one in the middle only where it touches neither of them.
    int const top = layout.LineAt(Share(m_mid)) - charHeight / 2;
    if (m_mid > m_low && m_mid < m_high && top >= charHeight && top + charHeight <= lowest)
        draw(m_mid, top);
}

void wxBarHistoryCtrl::DrawToBuffer() {
    wxMemoryDC dc(Buffer());
    dc.SetBackground(GetBackgroundColour());
    dc.Clear();
    dc.SetFont(wxvFont(-1));
    BarHistoryLayout const layout = Parts(dc);
    DrawGrid(dc, layout);
    if (!HasBounds())
        return;
    DrawBars(dc, layout);
    DrawLabels(dc, layout);
}

wxSize wxBarHistoryCtrl::DoGetBestClientSize() const { return FromDIP(wxSize(k_HistoryWidth, k_HistoryHeight)); }
