#include "controls/numberrange.h"

#include <wx/sizer.h>
#include <wx/slider.h>
#include <wx/wxvslider.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextctrl.h>

namespace {
constexpr int k_SliderGap = 8;
constexpr int k_TextPadding = 20;
constexpr int k_SliderWidth = 120;
constexpr int k_PagesPerRange = 10;
} // namespace

wxvSlider::wxvSlider(wxWindow* parent, int low, int high, int value, wxWindowID id)
    : wxvPanel(parent, ColorName::WindowBG, id), m_range(std::make_unique<NumberRange>(low, high)) {
    Build(value);
}

wxvSlider::wxvSlider(wxWindow* parent, double low, double high, double value, wxWindowID id)
    : wxvPanel(parent, ColorName::WindowBG, id), m_range(std::make_unique<NumberRange>(low, high)) {
    Build(value);
}

wxvSlider::~wxvSlider() = default;

void wxvSlider::Build(double value) {
    m_slider = new wxSlider(this, wxID_ANY, 0, 0, m_range->steps);
    m_slider->SetMinSize(FromDIP(wxSize(k_SliderWidth, -1)));
    m_slider->SetPageSize(std::max(1, m_range->steps / k_PagesPerRange));
    m_text = new wxvTextCtrl(this, wxID_ANY, wxString(), wxTE_RIGHT | wxTE_PROCESS_ENTER);
    wxString longest;
    for (double const end : {m_range->low, m_range->high, m_range->low + m_range->step}) {
        wxString const text = wxvText(m_range->TextOf(end));
        if (text.length() > longest.length())
            longest = text;
    }
    m_text->SetMinSize(wxSize(m_text->GetTextExtent(longest).x + FromDIP(k_TextPadding), -1));

    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(m_slider, wxSizerFlags(1).CentreVertical());
    row->Add(m_text, wxSizerFlags().CentreVertical().Border(wxLEFT, FromDIP(k_SliderGap)));
    SetSizer(row);
    Show(m_range->Clamped(value));

    m_slider->Bind(wxEVT_SLIDER, [this](wxCommandEvent&) { OnSlide(); });
    m_text->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent& event) {
        OnTyped();
        event.Skip();
    });
    m_text->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
        event.Skip();
        OnTyped();
    });
}

void wxvSlider::Show(double value) {
    m_value = value;
    m_slider->SetValue(m_range->PositionOf(value));
    m_text->ChangeValue(wxvText(m_range->TextOf(value)));
}

void wxvSlider::SetValue(corekit::String const& value) { Show(m_range->Read(value)); }

corekit::String wxvSlider::GetValue() const {
    // What is being typed counts before the focus has gone.
    return m_range->TextOf(m_range->Read(wxvString(m_text->GetValue())));
}

void wxvSlider::OnSlide() {
    // A value that lies between two places stays until the slider has moved.
    if (m_slider->GetValue() == m_range->PositionOf(m_value))
        return;
    m_value = m_range->ValueAt(m_slider->GetValue());
    m_text->ChangeValue(wxvText(m_range->TextOf(m_value)));
    Tell();
}

void wxvSlider::OnTyped() {
    double const former = m_value;
    Show(m_range->Read(wxvString(m_text->GetValue())));
    if (m_value != former)
        Tell();
}

void wxvSlider::Tell() {
    wxCommandEvent event(wxEVT_SLIDER, GetId());
    event.SetEventObject(this);
    event.SetString(m_text->GetValue());
    HandleWindowEvent(event);
}

bool wxvSlider::Enable(bool enable) {
    m_slider->Enable(enable);
    m_text->Enable(enable);
    return wxvPanel::Enable(enable);
}

void wxvSlider::SetFocus() { m_slider->SetFocus(); }
