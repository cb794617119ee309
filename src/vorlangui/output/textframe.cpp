#include "textframe.h"

#include "window/windowicon.h"

#include <corekit/callentry.h>
#include <wx/sizer.h>
#include <wx/wxtextlinectrl.h>
#include <wx/wxvstatictext.h>

namespace vorlan {

namespace {
constexpr int k_BarGap = 8;
}

TextFrame::TextFrame(wxWindow* parent, wxString const& title, corekit::String const& section, wxSize const& size,
                     long style)
    : wxVorlanFrame(parent, title, wxDefaultPosition, wxDefaultSize, section, style) {
    SetIcons(WindowIcons());
    m_status =
        new wxvStaticText(this, wxString(), ColorName::TextGrey, wxID_ANY, wxST_ELLIPSIZE_MIDDLE | wxST_NO_AUTORESIZE);
    m_text = new wxTextLineCtrl(this);
    m_text->SetType(wxTextLineCtrl::Type::Monospaced);
    int const gap = FromDIP(k_BarGap);
    m_bar = new wxBoxSizer(wxHORIZONTAL);
    m_bar->Add(m_status, wxSizerFlags(1).Centre().Border(wxALL, gap));
    auto* const content = new wxBoxSizer(wxVERTICAL);
    content->Add(m_bar, wxSizerFlags().Expand());
    content->Add(m_text, wxSizerFlags(1).Expand());
    SetSizer(content);
    SetSize(FromDIP(size));
    m_text->SetFocus();
    Bind(wxEVT_TEXTLINE_STATUS, [this](wxCommandEvent&) { ShowStatus(); });
    Bind(wxEVT_CHAR_HOOK, &TextFrame::OnKey, this);
}

void TextFrame::OnKey(wxKeyEvent& event) {
    CALL_ENTRY();
    int const key = event.GetKeyCode();
    bool const isUsed = key == WXK_ESCAPE && m_text->HideFindBar();
    if (key == WXK_F5)
        OnRefresh();
    else if (key == 'F' && event.ControlDown())
        m_text->ShowFindBar();
    else if (key == 'S' && event.ControlDown())
        m_text->AskAndSave();
    else if (!isUsed)
        event.Skip();
}

void TextFrame::SetNote(wxString const& note) {
    m_note = note;
    ShowStatus();
}

void TextFrame::ShowStatus() {
    wxTextLineCtrl::Status const status = m_text->GetStatus();
    bool const isOwn = m_note.empty();
    m_status->SetColor(isOwn ? status.color : ColorName::TextGrey);
    m_status->SetLabel(isOwn ? status.text : m_note);
    m_status->SetToolTip(m_status->GetLabel());
}

} // namespace vorlan
