#include "controls/datetimetext.h"

#include <wx/button.h>
#include <wx/calctrl.h>
#include <wx/popupwin.h>
#include <wx/sizer.h>
#include <wx/wxvdatetimectrl.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextctrl.h>

namespace {
constexpr int k_CalendarGap = 4;
constexpr int k_DatePadding = 24;
constexpr int k_CalendarMargin = 8;
constexpr char k_Widest[] = "0000-00-00 00:00:00";
constexpr char k_OpenLabel[] = "\xE2\x96\xBE"; // a small triangle that points down
} // namespace

// Calendar is the month that drops down below the field.
// Owner: the toolkit, from the opening until it is dismissed. Thread: the GUI thread.
class wxvDateTimeCtrl::Calendar : public wxPopupTransientWindow {
public:
    explicit Calendar(wxvDateTimeCtrl& owner) : wxPopupTransientWindow(&owner, wxBORDER_SIMPLE), m_owner(owner) {
        corekit::Time const time = owner.m_value.IsZero() ? corekit::Time::CurrentTime() : owner.m_value;
        m_month = new wxCalendarCtrl(this, wxID_ANY, wxDateTime(wxLongLong(time.ToUnixMs())));
        auto* around = new wxBoxSizer(wxVERTICAL);
        around->Add(m_month, wxSizerFlags().Border(wxALL, FromDIP(k_CalendarMargin)));
        SetSizerAndFit(around);
        SetBackgroundColour(wxvGetColor(ColorName::WindowBGLighter));
        m_month->Bind(wxEVT_CALENDAR_SEL_CHANGED, [this](wxCalendarEvent&) { TakeSelection(); });
        m_month->Bind(wxEVT_CALENDAR_DOUBLECLICKED, [this](wxCalendarEvent&) {
            TakeSelection();
            DismissAndNotify();
        });
        Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
            if (event.GetKeyCode() == WXK_ESCAPE || event.GetKeyCode() == WXK_RETURN)
                DismissAndNotify();
            else
                event.Skip();
        });
    }

protected:
    void OnDismiss() override {
        m_owner.m_text->SetFocus();
        // The toolkit is still in the middle of one of its events.
        CallAfter([this] { Destroy(); });
    }

private:
    void TakeSelection() {
        corekit::String const text = wxvString(m_owner.m_text->GetValue());
        m_owner.m_text->SetValue(wxvText(WithDay(text, m_month->GetDate())));
    }

    wxvDateTimeCtrl& m_owner;
    wxCalendarCtrl* m_month;
};

wxvDateTimeCtrl::wxvDateTimeCtrl(wxWindow* parent, wxWindowID id) : wxvPanel(parent, ColorName::WindowBG, id) {
    m_text = new wxvTextCtrl(this, wxID_ANY, wxString(), wxTE_PROCESS_ENTER, "YYYY-MM-DD hh:mm:ss");
    m_text->SetMinSize(wxSize(m_text->GetTextExtent(k_Widest).x + FromDIP(k_DatePadding), -1));
    m_open =
        new wxButton(this, wxID_ANY, wxString::FromUTF8(k_OpenLabel), wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(m_text, wxSizerFlags(1).CentreVertical());
    row->Add(m_open, wxSizerFlags().CentreVertical().Border(wxLEFT, FromDIP(k_CalendarGap)));
    SetSizer(row);
    m_text->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { OnText(); });
    m_text->Bind(wxEVT_KEY_DOWN, &wxvDateTimeCtrl::OnKey, this);
    m_open->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { OpenCalendar(); });
}

void wxvDateTimeCtrl::SetValue(corekit::Time value) {
    m_text->ChangeValue(wxvText(DateTimeText(value)));
    m_value = value;
    m_valid = true;
    ApplyColors();
}

void wxvDateTimeCtrl::OnText() {
    corekit::String const text = wxvString(m_text->GetValue());
    // The text has no milliseconds: the same text is the same value.
    bool const same = text == DateTimeText(m_value);
    m_valid = same || ReadDateTime(text, m_value);
    ApplyColors();
    wxCommandEvent event(wxEVT_TEXT, GetId());
    event.SetEventObject(this);
    event.SetString(m_text->GetValue());
    HandleWindowEvent(event);
}

void wxvDateTimeCtrl::ApplyColors() {
    wxvPanel::ApplyColors();
    m_text->SetForegroundColour(m_valid ? wxColour() : wxvGetColor(ColorName::TextRed));
}

void wxvDateTimeCtrl::OnKey(wxKeyEvent& event) {
    int const key = event.GetKeyCode();
    bool const up = key == WXK_UP || key == WXK_NUMPAD_UP;
    bool const down = key == WXK_DOWN || key == WXK_NUMPAD_DOWN;
    if (down && event.AltDown()) {
        OpenCalendar();
        return;
    }
    if ((!up && !down) || !m_text->IsEditable()) {
        event.Skip();
        return;
    }
    long const caret = m_text->GetInsertionPoint();
    corekit::String const text = wxvString(m_text->GetValue());
    corekit::String const stepped = StepDateTime(text, static_cast<size_t>(caret), up ? 1 : -1);
    if (stepped != text) {
        m_text->SetValue(wxvText(stepped));
        m_text->SetInsertionPoint(caret);
    }
}

void wxvDateTimeCtrl::OpenCalendar() {
    auto* calendar = new Calendar(*this);
    // Below the field, in line with its left side.
    calendar->Position(ClientToScreen(wxPoint(0, 0)), wxSize(0, GetSize().y));
    calendar->Popup();
}

bool wxvDateTimeCtrl::Enable(bool enable) {
    m_text->Enable(enable);
    m_open->Enable(enable);
    return wxvPanel::Enable(enable);
}

void wxvDateTimeCtrl::SetFocus() { m_text->SetFocus(); }
