#include "textfindbar.h"

#include <algorithm>
#include <corekit/callentry.h>
#include <wx/dcclient.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

namespace {

constexpr int k_Margin = 4;
constexpr int k_NoteGap = 8;
constexpr int k_TermWidth = 200;
constexpr double k_LinePart = 0.35;

} // namespace

TextFindBar::TextFindBar(wxTextLineCtrl& display) : wxvPanel(&display, ColorName::WindowBGLighter), m_display(display) {
    SetFont(wxvFont());
    SetCursor(*wxSTANDARD_CURSOR);
    m_note = new wxStaticText(this, wxID_ANY, wxString());
    // The bar is never wider than with its longest note.
    m_note->SetMinSize(wxSize(std::max(GetTextExtent(_("Not found")).x, GetTextExtent(_("Searching...")).x), -1));
    m_term = new wxvTextCtrl(this, wxID_ANY, wxString(), wxTE_PROCESS_ENTER, _("Find"));
    // The height is asked for once: with each asking the toolkit adds its margins anew.
    m_term->SetMinSize(wxSize(FromDIP(k_TermWidth), m_term->GetBestSize().y));
    m_term->SetToolTip(_("Enter finds the next place, Shift+Enter the one before, Escape closes."));
    auto* const sizer = new wxBoxSizer(wxHORIZONTAL);
    sizer->Add(m_term, wxSizerFlags(1).CenterVertical().Border(wxALL, FromDIP(k_Margin)));
    sizer->Add(m_note, wxSizerFlags().CenterVertical().Border(wxRIGHT, FromDIP(k_NoteGap)));
    SetSizerAndFit(sizer);
    Bind(wxEVT_PAINT, &TextFindBar::OnPaint, this);
    m_term->Bind(wxEVT_KEY_DOWN, &TextFindBar::OnKey, this);
    m_term->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { Look(false); });
}

// A line around it: the text behind it goes on.
void TextFindBar::OnPaint(wxPaintEvent&) {
    CALL_ENTRY();
    wxPaintDC dc(this);
    dc.SetPen(wxvMixColors(wxvGetColor(ColorName::WindowBGLighter), wxvGetColor(ColorName::TextGrey), k_LinePart));
    dc.SetBrush(wxvGetColor(ColorName::WindowBGLighter));
    dc.DrawRectangle(GetClientSize());
}

void TextFindBar::Start() {
    wxString const selected = m_display.GetSelectedText();
    if (!selected.empty() && !selected.Contains("\n"))
        m_term->ChangeValue(selected);
    m_term->SetFocus();
    m_term->SelectAll();
    if (!m_term->GetValue().empty())
        Look(false);
}

void TextFindBar::Look(bool backward) {
    m_display.Find(wxvString(m_term->GetValue()), backward);
    ShowState();
}

void TextFindBar::ShowState() {
    bool const missing = m_display.IsMissing() && !m_term->GetValue().empty();
    wxString const note = m_display.IsSearching() ? _("Searching...") : missing ? _("Not found") : wxString();
    if (m_note->GetLabel() == note)
        return;
    m_note->SetForegroundColour(wxvGetColor(missing ? ColorName::TextRed : ColorName::TextGrey));
    m_note->SetLabel(note);
    Layout();
}

void TextFindBar::OnKey(wxKeyEvent& event) {
    CALL_ENTRY();
    switch (event.GetKeyCode()) {
    case WXK_RETURN:
    case WXK_NUMPAD_ENTER:
    case WXK_F3:
        m_display.FindNext(event.ShiftDown());
        ShowState();
        break;
    case WXK_ESCAPE:
        m_display.HideFindBar();
        break;
    default:
        event.Skip();
    }
}
