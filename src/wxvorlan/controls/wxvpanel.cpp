#include <wx/stattext.h>
#include <wx/wxvpanel.h>

wxvPanel::wxvPanel(wxWindow* parent, ColorName background, wxWindowID id, long style)
    : wxPanel(parent, id, wxDefaultPosition, wxDefaultSize, style), m_background(background) {
    SetBackgroundColour(wxvGetColor(m_background));
    SetForegroundColour(wxvGetColor(ColorName::Text));
    Bind(wxEVT_SYS_COLOUR_CHANGED, &wxvPanel::OnSysColorChange, this);
    Bind(wxEVT_SHOW, [this](wxShowEvent& event) {
        event.Skip();
        OnVisibility(event.IsShown() && IsShownOnScreen());
    });
}

void wxvPanel::ApplyColors() {
    SetBackgroundColour(wxvGetColor(m_background));
    SetForegroundColour(wxvGetColor(ColorName::Text));
    Refresh();
}

// A window around it that is shown or hidden sends no event here.
void wxvPanel::OnInternalIdle() {
    wxPanel::OnInternalIdle();
    OnVisibility(IsShownOnScreen());
}

void wxvPanel::OnVisibility(bool visible) {
    if (visible == m_visible)
        return;
    m_visible = visible;
    if (visible)
        OnInView();
    else
        OnOutOfView();
}

void wxvPanel::OnSysColorChange(wxSysColourChangedEvent& event) {
    ApplyColors();
    event.Skip();
}
