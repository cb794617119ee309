#include "messagepane.h"

#include <algorithm>
#include <wx/sizer.h>
#include <wx/wxvfont.h>

namespace vorlan {

namespace {
constexpr int k_MessageHeadingPoints = 13;
constexpr int k_LinePoints = 1;
constexpr int k_HeadingGap = 16;
constexpr int k_FirstGap = 12; // behind the first line, which says what is the matter
constexpr int k_LineGap = 4;
constexpr int k_RemarkGap = 24;
constexpr int k_RemarkWidth = 560;
constexpr int k_MessageMargin = 24;
} // namespace

MessagePane::MessagePane(wxWindow* parent, wxString const& heading, std::vector<wxString> const& lines)
    : wxvPanel(parent, ColorName::WindowBGDarker) {
    auto* column = new wxBoxSizer(wxVERTICAL);
    auto const centred = [this](int above) { return wxSizerFlags().Centre().Border(wxTOP, FromDIP(above)); };
    column->AddStretchSpacer(2);
    column->Add(NewLine(heading, wxvFont(k_MessageHeadingPoints, FontWeight::Medium)), wxSizerFlags().Centre());
    constexpr int k_Gaps[] = {k_HeadingGap, k_FirstGap, k_LineGap};
    for (size_t i = 0; i < lines.size(); ++i)
        column->Add(NewLine(lines[i], wxvFont(k_LinePoints)), centred(k_Gaps[std::min<size_t>(i, 2)]));
    m_remark = NewLine(wxString(), wxvFont());
    column->Add(m_remark, centred(k_RemarkGap));
    // A little above the middle looks like the middle.
    column->AddStretchSpacer(3);
    SetSizer(column);
    Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
        event.Skip();
        WrapRemark();
    });
    ApplyColors();
}

wxStaticText* MessagePane::NewLine(wxString const& text, wxFont const& font) {
    auto* line = new wxStaticText(this, wxID_ANY, text, wxDefaultPosition, wxDefaultSize, wxALIGN_CENTRE_HORIZONTAL);
    line->SetFont(font);
    m_texts.push_back(line);
    return line;
}

void MessagePane::SetRemark(wxString const& remark) {
    if (remark == m_remarkText)
        return;
    m_remarkText = remark;
    m_wrappedAt = 0;
    WrapRemark();
    Layout();
}

void MessagePane::WrapRemark() {
    int const width = std::min(FromDIP(k_RemarkWidth), GetClientSize().x - 2 * FromDIP(k_MessageMargin));
    if (width <= 0 || width == m_wrappedAt)
        return;
    m_wrappedAt = width;
    m_remark->SetLabel(wxControl::EscapeMnemonics(m_remarkText));
    m_remark->Wrap(width);
}

std::vector<wxString> MessagePane::Texts() const {
    std::vector<wxString> texts;
    for (wxStaticText const* text : m_texts) {
        if (text != m_remark)
            texts.push_back(text->GetLabelText());
    }
    return texts;
}

void MessagePane::ApplyColors() {
    wxvPanel::ApplyColors();
    constexpr size_t k_Loud = 2; // the heading and the first line
    for (size_t i = 0; i < m_texts.size(); ++i)
        m_texts[i]->SetForegroundColour(wxvGetColor(i < k_Loud ? ColorName::Text : ColorName::TextGrey));
}

} // namespace vorlan
