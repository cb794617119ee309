#include "toolbar.h"

#include "buttonsection.h"
#include <wx/wxtoolbarbutton.h>

#include <algorithm>
#include <wx/dcclient.h>
#include <wx/sizer.h>

namespace vorlan {

namespace {
constexpr int k_RuleHeight = 1;
}

std::vector<SectionPlace> PlaceSections(std::span<int const> widths, int available) {
    std::vector<SectionPlace> places;
    SectionPlace next;
    for (int const width : widths) {
        if (next.x != 0 && next.x + width > available)
            next = {next.row + 1, 0};
        places.push_back(next);
        next.x += width;
    }
    return places;
}

wxVorlanToolbar::wxVorlanToolbar(wxWindow* parent) : wxvPanel(parent) {
    SetName("Toolbar");
    Bind(wxEVT_PAINT, &wxVorlanToolbar::OnPaint, this);
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        Layout();
        Refresh();
    });
}

wxToolbarButton* wxVorlanToolbar::AddButton(int id, wxString const& icon, wxString const& label, bool toggles) {
    if (!m_current) {
        m_current = new ButtonSection(this, static_cast<unsigned>(m_sections.size()));
        m_sections.push_back(m_current);
    }
    return m_current->AddButton(id, icon, label, toggles);
}

void wxVorlanToolbar::Reset() {
    m_current = nullptr;
    for (ButtonSection* section : std::exchange(m_sections, {}))
        section->Destroy();
}

wxToolbarButton* wxVorlanToolbar::Find(int id) const {
    for (ButtonSection const* section : m_sections) {
        for (wxToolbarButton* button : section->Buttons()) {
            if (button->GetId() == id)
                return button;
        }
    }
    return nullptr;
}

wxSize wxVorlanToolbar::DoGetBestClientSize() const { return {-1, m_rows * FromDIP(k_RowHeight) + k_RuleHeight}; }

bool wxVorlanToolbar::Layout() {
    std::vector<int> widths;
    for (ButtonSection* section : m_sections)
        widths.push_back(section->GetBestSize().x);
    std::vector<SectionPlace> const places = PlaceSections(widths, GetClientSize().x);
    int const height = FromDIP(k_RowHeight);
    for (size_t i = 0; i < places.size(); ++i)
        m_sections[i]->SetSize(places[i].x, places[i].row * height, widths[i], height);
    int const rows = places.empty() ? 1 : places.back().row + 1;
    if (std::exchange(m_rows, rows) != rows) {
        InvalidateBestSize();
        // Not now: the parent may be laying out this very window.
        GetParent()->CallAfter([parent = GetParent()] { parent->Layout(); });
    }
    return true;
}

void wxVorlanToolbar::OnPaint(wxPaintEvent&) {
    wxPaintDC dc(this);
    wxSize const size = GetClientSize();
    // A line would lie half a pixel higher on a screen with double resolution.
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(wxvGetColor(ColorName::Dark3D));
    dc.DrawRectangle(0, size.y - k_RuleHeight, size.x, k_RuleHeight);
}

} // namespace vorlan
