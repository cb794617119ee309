#include "controls/numberrange.h"

#include <wx/dcbuffer.h>
#include <wx/sizer.h>
#include <wx/timer.h>
#include <wx/wxvchoice.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextctrl.h>

namespace {
constexpr int k_Gap = 8;
constexpr int k_NumberWidth = 90;
constexpr int k_ArrowsWidth = 18;
constexpr int k_PageStep = 10;
constexpr int k_RepeatFirstMs = 400;
constexpr int k_RepeatNextMs = 60;
} // namespace

// Arrows is the pair of arrows beside a number field; held, it goes on.
// Owner: the panel of the selector. Thread: the GUI thread.
class wxvNumberSelector::Arrows : public wxWindow {
public:
    explicit Arrows(wxvNumberSelector& owner)
        : wxWindow(&owner, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE), m_owner(owner), m_timer(this) {
        SetBackgroundStyle(wxBG_STYLE_PAINT);
        SetMinSize(FromDIP(wxSize(k_ArrowsWidth, -1)));
        Bind(wxEVT_PAINT, [this](wxPaintEvent&) { OnPaint(); });
        Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent& event) { OnDown(event.GetY()); });
        Bind(wxEVT_LEFT_DCLICK, [this](wxMouseEvent& event) { OnDown(event.GetY()); });
        Bind(wxEVT_LEFT_UP, [this](wxMouseEvent&) { Release(); });
        Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) { Release(); });
        Bind(wxEVT_MOTION, [this](wxMouseEvent& event) { SetHover(HalfAt(event.GetY())); });
        Bind(wxEVT_LEAVE_WINDOW, [this](wxMouseEvent&) { SetHover(Half::None); });
        Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
            event.Skip();
            Refresh();
        });
        Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
            StepOnce();
            m_timer.StartOnce(k_RepeatNextMs);
        });
    }

    ~Arrows() override {
        // A window may be closed by the keyboard while the button is down.
        if (HasCapture())
            ReleaseMouse();
    }

    bool AcceptsFocus() const override { return false; }

private:
    enum class Half { None, Up, Down };

    Half HalfAt(int y) const { return y < GetClientSize().y / 2 ? Half::Up : Half::Down; }
    void SetHover(Half half) {
        if (std::exchange(m_hover, half) != half)
            Refresh();
    }
    void OnDown(int y) {
        m_pressed = HalfAt(y);
        if (!HasCapture())
            CaptureMouse();
        StepOnce();
        m_timer.StartOnce(k_RepeatFirstMs);
        Refresh();
    }
    void Release() {
        m_timer.Stop();
        m_pressed = Half::None;
        if (HasCapture())
            ReleaseMouse();
        Refresh();
    }
    void StepOnce() { m_owner.Step(m_pressed == Half::Up ? 1 : -1); }

    void OnPaint() {
        wxAutoBufferedPaintDC dc(this);
        dc.SetBackground(wxvGetColor(ColorName::WindowBG));
        dc.Clear();
        DrawHalf(dc, Half::Up);
        DrawHalf(dc, Half::Down);
    }
    void DrawHalf(wxDC& dc, Half half) const {
        wxSize const size = GetClientSize();
        int const top = half == Half::Up ? 0 : size.y / 2;
        wxRect const area(0, top, size.x, half == Half::Up ? size.y / 2 : size.y - size.y / 2);
        bool const hot = IsEnabled() && m_hover == half;
        if (hot) {
            dc.SetPen(*wxTRANSPARENT_PEN);
            dc.SetBrush(wxvGetColor(m_pressed == half ? ColorName::Selected : ColorName::ButtonFace));
            dc.DrawRoundedRectangle(area, FromDIP(2));
        }
        wxColour const ink = wxvGetColor(hot ? ColorName::Text : ColorName::TextGrey);
        dc.SetPen(wxPen(IsEnabled() ? ink : wxvMixColors(wxvGetColor(ColorName::WindowBG), ink, 1.0 / 2), FromDIP(2)));
        int const reach = FromDIP(3);
        int const tip = half == Half::Up ? -reach / 2 : reach - reach / 2;
        int const foot = half == Half::Up ? reach - reach / 2 : -reach / 2;
        wxPoint const points[] = {{-reach, foot}, {0, tip}, {reach, foot}};
        dc.DrawLines(3, points, area.x + area.width / 2, area.y + area.height / 2);
    }

    wxvNumberSelector& m_owner;
    wxTimer m_timer;
    Half m_hover = Half::None;
    Half m_pressed = Half::None;
};

wxvNumberSelector::wxvNumberSelector(wxWindow* parent, NumberKind kind, double low, double high, wxWindowID id)
    : wxvPanel(parent, ColorName::WindowBG, id), m_kind(kind), m_low(std::min(low, high)), m_high(std::max(low, high)) {
    Build();
}

wxvNumberSelector::wxvNumberSelector(wxWindow* parent, corekit::OptionMap const& specials, CustomNumbers const& custom,
                                     NumberKind kind, wxWindowID id)
    : wxvPanel(parent, ColorName::WindowBG, id),
      m_kind(kind),
      m_choices(std::make_unique<NumberChoices>(specials, custom)) {
    Build();
}

wxvNumberSelector::~wxvNumberSelector() = default;

void wxvNumberSelector::Build() {
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    if (m_choices) {
        wxArrayString names;
        for (corekit::String const& name : m_choices->Entries())
            names.Add(wxvText(name));
        m_choice = new wxvChoice(this, wxID_ANY, names);
        m_choice->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { OnChoice(); });
        row->Add(m_choice, wxSizerFlags(1).CentreVertical().Border(wxRIGHT, FromDIP(k_Gap)));
    }
    m_text = new wxvTextCtrl(this, wxID_ANY, wxString(), wxTE_RIGHT | wxTE_PROCESS_ENTER);
    m_text->SetMinSize(FromDIP(wxSize(k_NumberWidth, -1)));
    m_arrows = new Arrows(*this);
    row->Add(m_text, wxSizerFlags(m_choices ? 0 : 1).CentreVertical());
    row->Add(m_arrows, wxSizerFlags().Expand());
    SetSizer(row);

    m_text->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { Tell(); });
    m_text->Bind(wxEVT_KEY_DOWN, &wxvNumberSelector::OnKey, this);
    m_text->Bind(wxEVT_MOUSEWHEEL, &wxvNumberSelector::OnWheel, this);
    m_text->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
        event.Skip();
        m_text->ChangeValue(wxvText(ClampNumber(wxvString(m_text->GetValue()), m_kind, m_low, m_high)));
    });
    if (m_choices)
        SetValue(m_choices->StartOf(0));
}

void wxvNumberSelector::ShowNumber(corekit::String const& number, bool custom) {
    m_text->ChangeValue(wxvText(number));
    m_text->Enable(custom && IsThisEnabled());
    m_arrows->Enable(custom && IsThisEnabled());
    m_arrows->Refresh();
}

void wxvNumberSelector::SetValue(corekit::String const& value) {
    if (!m_choices) {
        m_text->ChangeValue(wxvText(value));
        return;
    }
    size_t const entry = m_choices->EntryOf(value);
    m_choice->SetSelection(static_cast<int>(entry));
    ShowNumber(value.Trim(), m_choices->IsCustom(entry));
}

corekit::String wxvNumberSelector::GetValue() const {
    corekit::String const number = wxvString(m_text->GetValue());
    if (m_choices && m_choice->GetSelection() != wxNOT_FOUND)
        return m_choices->ValueOf(static_cast<size_t>(m_choice->GetSelection()), number);
    return ClampNumber(number.Trim(), m_kind, m_low, m_high);
}

void wxvNumberSelector::OnChoice() {
    auto const entry = static_cast<size_t>(m_choice->GetSelection());
    ShowNumber(m_choices->StartOf(entry), m_choices->IsCustom(entry));
    if (m_choices->IsCustom(entry)) {
        m_text->SetFocus();
        m_text->SelectAll();
    }
    Tell();
}

void wxvNumberSelector::OnKey(wxKeyEvent& event) {
    switch (event.GetKeyCode()) {
    case WXK_UP:
    case WXK_NUMPAD_UP:
        Step(1);
        break;
    case WXK_DOWN:
    case WXK_NUMPAD_DOWN:
        Step(-1);
        break;
    case WXK_PAGEUP:
    case WXK_NUMPAD_PAGEUP:
        Step(k_PageStep);
        break;
    case WXK_PAGEDOWN:
    case WXK_NUMPAD_PAGEDOWN:
        Step(-k_PageStep);
        break;
    default:
        event.Skip();
    }
}

void wxvNumberSelector::OnWheel(wxMouseEvent& event) {
    if (!m_text->HasFocus()) {
        event.Skip();
        return;
    }
    m_wheel += event.GetWheelRotation();
    int const delta = std::max(1, event.GetWheelDelta());
    int const count = m_wheel / delta;
    m_wheel %= delta;
    if (count != 0)
        Step(count);
}

void wxvNumberSelector::Step(int count) {
    if (!m_text->IsEnabled() || !m_text->IsEditable())
        return;
    corekit::String const former = wxvString(m_text->GetValue());
    corekit::String const stepped = StepNumber(former, m_kind, count, m_low, m_high);
    if (stepped == former)
        return;
    m_text->ChangeValue(wxvText(stepped));
    m_text->SelectAll();
    Tell();
}

void wxvNumberSelector::Tell() {
    wxCommandEvent event(wxEVT_TEXT, GetId());
    event.SetEventObject(this);
    event.SetString(wxvText(GetValue()));
    HandleWindowEvent(event);
}

bool wxvNumberSelector::Enable(bool enable) {
    bool const changed = wxvPanel::Enable(enable);
    if (m_choice)
        m_choice->Enable(enable);
    bool const custom = !m_choices || m_choices->IsCustom(static_cast<size_t>(std::max(0, m_choice->GetSelection())));
    m_text->Enable(enable && custom);
    m_arrows->Enable(enable && custom);
    m_arrows->Refresh();
    return changed;
}

void wxvNumberSelector::SetFocus() {
    if (m_text->IsEnabled() || !m_choice)
        m_text->SetFocus();
    else
        m_choice->SetFocus();
}
