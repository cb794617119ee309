#include <algorithm>
#include <corekit/callentry.h>
#include <corekit/optionsfile.h>
#include <vector>
#include <wx/dcbuffer.h>
#include <wx/sizer.h>
#include <wx/wxexpandablepanel.h>
#include <wx/wxvfont.h>
#include <wx/wxvoptions.h>

namespace {

constexpr int k_PanelHeight = 24;
constexpr int k_PanelPadding = 8;
constexpr int k_FoldMarkSize = 8;
constexpr int k_MarkGap = 6;

} // namespace

// Expander is the line that opens and closes: a mark and a label, pressed by the mouse,
// the space bar or the Enter key.
// Owner: the panel. Thread: the GUI thread.
class wxExpandablePanel::Expander : public wxWindow {
public:
    explicit Expander(wxWindow* parent)
        : wxWindow(parent, k_ExpanderID, wxDefaultPosition, wxDefaultSize,
                   wxNO_BORDER | wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE) {
        SetBackgroundStyle(wxBG_STYLE_PAINT);
        SetFont(wxvFont());
        SetCursor(wxCursor(wxCURSOR_HAND));
        Bind(wxEVT_PAINT, &Expander::OnPaint, this);
        Bind(wxEVT_KEY_DOWN, &Expander::OnKey, this);
        Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent&) {
            SetFocus();
            Press();
        });
        // A second quick click closes what the first has opened.
        Bind(wxEVT_LEFT_DCLICK, [this](wxMouseEvent&) { Press(); });
        Bind(wxEVT_ENTER_WINDOW, [this](wxMouseEvent&) { SetHover(true); });
        Bind(wxEVT_LEAVE_WINDOW, [this](wxMouseEvent&) { SetHover(false); });
        for (auto const& type : {wxEVT_SET_FOCUS, wxEVT_KILL_FOCUS})
            Bind(type, [this](wxFocusEvent& event) {
                event.Skip();
                Refresh();
            });
    }

    void SetState(bool expanded, wxString const& label) {
        m_expanded = expanded;
        m_label = label;
        SetLabel(label); // what a screen reader says
        InvalidateBestSize();
        Refresh();
    }

    bool AcceptsFocus() const override { return true; }

protected:
    wxSize DoGetBestClientSize() const override {
        int const text = GetTextExtent(m_label).x;
        return {text + FromDIP(2 * k_PanelPadding + k_FoldMarkSize + k_MarkGap),
                std::max(FromDIP(k_PanelHeight), GetCharHeight() + FromDIP(4))};
    }

private:
    void Press() {
        wxCommandEvent event(wxEVT_BUTTON, GetId());
        event.SetEventObject(this);
        ProcessWindowEvent(event);
    }

    void SetHover(bool hover) {
        m_hover = hover;
        Refresh();
    }

    void OnKey(wxKeyEvent& event) {
        CALL_ENTRY();
        int const key = event.GetKeyCode();
        bool const toggles = key == WXK_SPACE || key == WXK_RETURN || key == WXK_NUMPAD_ENTER;
        if (toggles || (key == WXK_RIGHT && !m_expanded) || (key == WXK_LEFT && m_expanded))
            Press();
        else if (key == WXK_TAB)
            Navigate(event.ShiftDown() ? wxNavigationKeyEvent::IsBackward : wxNavigationKeyEvent::IsForward);
        else
            event.Skip();
    }

    void DrawMark(wxDC& dc, int left, int middle) const {
        int const size = FromDIP(k_FoldMarkSize);
        int const half = size / 2;
        wxPoint const right[] = {{left + 1, middle - half}, {left + 1 + half, middle}, {left + 1, middle + half}};
        wxPoint const down[] = {
            {left, middle - half / 2}, {left + size, middle - half / 2}, {left + half, middle + half / 2 + 1}};
        dc.DrawPolygon(3, m_expanded ? down : right);
    }

    void OnPaint(wxPaintEvent&) {
        CALL_ENTRY();
        wxAutoBufferedPaintDC dc(this);
        wxSize const size = GetClientSize();
        dc.SetBackground(GetParent()->GetBackgroundColour());
        dc.Clear();
        dc.SetFont(GetFont());
        wxColour const color = !IsEnabled() ? wxvGetColor(ColorName::TextGrey)
                               : m_hover    ? wxvGetColor(ColorName::Text)
                                            : wxvGetColor(ColorName::TextBlue);
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(color);
        DrawMark(dc, FromDIP(k_PanelPadding), size.y / 2);
        dc.SetTextForeground(color);
        dc.DrawText(m_label, FromDIP(k_PanelPadding + k_FoldMarkSize + k_MarkGap), (size.y - dc.GetCharHeight()) / 2);
        if (HasFocus()) {
            dc.SetBrush(*wxTRANSPARENT_BRUSH);
            dc.SetPen(wxvGetColor(ColorName::TextBlue));
            dc.DrawRoundedRectangle(FromDIP(2), FromDIP(1), std::min(GetBestSize().x, size.x) - FromDIP(4),
                                    size.y - FromDIP(2), FromDIP(3));
        }
    }

    wxString m_label;
    bool m_expanded = false;
    bool m_hover = false;
};

wxExpandablePanel::wxExpandablePanel(wxWindow* parent, Setup setup, wxWindowID id)
    : wxvPanel(parent, ColorName::WindowBG, id),
      m_setup(std::move(setup)),
      m_expander(new Expander(this)),
      m_content(new wxvPanel(this)),
      m_expanded(m_setup.startExpanded) {
    if (corekit::OptionsFile* const options = wxvOptions(); options && !m_setup.section.Empty())
        m_expanded = options->GetValue(m_setup.section, m_setup.key, m_expanded);
    if (!m_setup.toolTip.empty())
        m_expander->SetToolTip(m_setup.toolTip);
    bool const beside = m_setup.content == Content::Beside;
    auto* const sizer = new wxBoxSizer(beside ? wxHORIZONTAL : wxVERTICAL);
    sizer->Add(m_expander, beside ? wxSizerFlags().CenterVertical() : wxSizerFlags().Expand());
    sizer->Add(m_content, wxSizerFlags(1).Expand());
    SetSizer(sizer);
    ShowState();
    Bind(
        wxEVT_BUTTON, [this](wxCommandEvent& event) { OnExpanded(event); }, k_ExpanderID);
}

void wxExpandablePanel::SetExpanded(bool expanded) {
    if (!m_expander || expanded == m_expanded)
        return;
    m_expanded = expanded;
    if (corekit::OptionsFile* const options = wxvOptions(); options && !m_setup.section.Empty())
        options->SetValue(m_setup.section, m_setup.key, expanded);
    ShowState();
    LayOutAround();
}

void wxExpandablePanel::HideExpander() {
    if (!m_expander)
        return;
    m_expander->Destroy();
    m_expander = nullptr;
    m_expanded = true;
    ShowState();
    LayOutAround();
}

void wxExpandablePanel::OnExpanded(wxCommandEvent&) {
    CALL_ENTRY();
    SetExpanded(!m_expanded);
}

void wxExpandablePanel::ShowState() {
    m_content->Show(m_expanded);
    if (m_expander)
        m_expander->SetState(m_expanded, m_expanded ? m_setup.expandedLabel : m_setup.collapsedLabel);
}

// From the outside in: a window's place depends on those around it.
void wxExpandablePanel::LayOutAround() {
    InvalidateBestSize();
    std::vector<wxWindow*> around;
    for (wxWindow* window = this; window; window = window->IsTopLevel() ? nullptr : window->GetParent())
        around.push_back(window);
    for (auto window = around.rbegin(); window != around.rend(); ++window)
        (*window)->Layout();
}
