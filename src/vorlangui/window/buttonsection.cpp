#include "buttonsection.h"

#include "client/options.h"
#include <wx/wxtoolbarbutton.h>

#include <corekit/optionsfile.h>
#include <memory>
#include <vorlan/vorlanapp.h>
#include <wx/cursor.h>
#include <wx/dcbuffer.h>
#include <wx/graphics.h>
#include <wx/intl.h>
#include <wx/sizer.h>

namespace vorlan {

namespace {

// At plain resolution.
constexpr int k_BarAreaWidth = 18; // where a click counts
constexpr int k_BarWidth = 4;
constexpr int k_BarHeight = 24;
constexpr int k_ButtonGap = 2;
constexpr int k_GapBehind = 6;
// A mouse that has moved further was dragged.
constexpr int k_ClickSlack = 4;

wxColour BarColor(bool expanded, bool hovered) {
    wxColour const bar = wxvGetColor(ColorName::WindowBG);
    if (hovered)
        return wxvMixColors(bar, wxvGetColor(ColorName::TextGrey), 0.5);
    return expanded ? wxvMixColors(wxvGetColor(ColorName::WindowBGLighter), wxvGetColor(ColorName::TextGrey), 0.12)
                    : wxvMixColors(wxvGetColor(ColorName::WindowBGDarker), wxvGetColor(ColorName::TextGrey), 0.35);
}

} // namespace

ButtonSection::ButtonSection(wxWindow* parent, unsigned number)
    : wxvPanel(parent),
      m_number(String::From(number)),
      m_expanded(k_OptionToolbarGroup.Get(VorlanApp::GetOptions(), m_number)) {
    SetName(wxString::Format("ToolbarGroup-%u", number));
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->AddSpacer(FromDIP(k_BarAreaWidth));
    SetSizer(row);
    Bind(wxEVT_PAINT, &ButtonSection::OnPaint, this);
    Bind(wxEVT_LEFT_DOWN, &ButtonSection::OnLeftDown, this);
    Bind(wxEVT_LEFT_UP, &ButtonSection::OnLeftUp, this);
    for (auto const& type : {wxEVT_ENTER_WINDOW, wxEVT_LEAVE_WINDOW, wxEVT_MOTION})
        Bind(type, &ButtonSection::OnMouse, this);
    ShowButtons();
}

wxToolbarButton* ButtonSection::AddButton(int id, wxString const& icon, wxString const& label, bool toggles) {
    auto* button = new wxToolbarButton(this, id, icon, label, toggles);
    GetSizer()->Add(button, wxSizerFlags().Centre().Border(wxRIGHT, FromDIP(k_ButtonGap)));
    button->Show(m_expanded);
    m_buttons.push_back(button);
    return button;
}

wxRect ButtonSection::Bar() const {
    wxSize const area(FromDIP(k_BarAreaWidth), GetClientSize().y);
    wxSize const bar = FromDIP(wxSize(k_BarWidth, k_BarHeight));
    return {(area.x - bar.x) / 2, (area.y - bar.y) / 2, bar.x, bar.y};
}

void ButtonSection::ShowButtons() {
    for (wxToolbarButton* button : m_buttons)
        button->Show(m_expanded);
    SetToolTip(m_expanded ? _("Hide these buttons") : _("Show these buttons"));
}

void ButtonSection::Toggle() {
    m_expanded = !m_expanded;
    k_OptionToolbarGroup.Set(VorlanApp::GetOptions(), m_number, m_expanded);
    ShowButtons();
    InvalidateBestSize();
    GetParent()->Layout();
    Refresh();
}

void ButtonSection::ApplyColors() { wxvPanel::ApplyColors(); }

void ButtonSection::OnPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    dc.SetBackground(GetBackgroundColour());
    dc.Clear();
    std::unique_ptr<wxGraphicsContext> const graphics(wxGraphicsContext::Create(dc));
    graphics->SetPen(*wxTRANSPARENT_PEN);
    graphics->SetBrush(BarColor(m_expanded, m_hovered));
    wxRect const bar = Bar();
    graphics->DrawRoundedRectangle(bar.x, bar.y, bar.width, bar.height, bar.width / 2.0);
}

void ButtonSection::OnLeftDown(wxMouseEvent& event) { m_pressedAt = event.GetPosition(); }

void ButtonSection::OnLeftUp(wxMouseEvent& event) {
    wxPoint const from = std::exchange(m_pressedAt, wxDefaultPosition);
    if (from == wxDefaultPosition)
        return;
    wxPoint const way = event.GetPosition() - from;
    int const slack = FromDIP(k_ClickSlack);
    if (from.x < FromDIP(k_BarAreaWidth) && std::abs(way.x) <= slack && std::abs(way.y) <= slack)
        Toggle();
}

void ButtonSection::OnMouse(wxMouseEvent& event) {
    event.Skip();
    bool const hovered = !event.Leaving() && event.GetX() < FromDIP(k_BarAreaWidth);
    if (event.Leaving())
        m_pressedAt = wxDefaultPosition;
    if (hovered == m_hovered)
        return;
    m_hovered = hovered;
    SetCursor(hovered ? wxCursor(wxCURSOR_HAND) : wxNullCursor);
    Refresh();
}

} // namespace vorlan
