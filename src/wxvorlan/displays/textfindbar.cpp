#include "textfindbar.h"

#include <algorithm>
#include <corekit/callentry.h>
#include <wx/dcclient.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/wxvbutton.h>
#include <wx/wxvcheckbox.h>
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
    m_note = new wxStaticText(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                              wxST_NO_AUTORESIZE | wxALIGN_RIGHT);
    m_note->SetMinSize(wxSize(GetTextExtent(wxString::Format(_("%s of %s"), "888,888", "8,888,888")).x, -1));
    m_term = new wxvTextCtrl(this, wxID_ANY, wxString(), wxTE_PROCESS_ENTER, _("Find"));
    // The height is asked for once: with each asking the toolkit adds its margins anew.
    m_term->SetMinSize(wxSize(FromDIP(k_TermWidth), m_term->GetBestSize().y));
    m_term->SetToolTip(_("Enter finds the next place, Shift+Enter the one before, Escape closes."));
    m_matchCase = new wxvCheckBox(this, wxID_ANY, _("Match case"));
    auto* const sizer = new wxBoxSizer(wxHORIZONTAL);
    sizer->Add(m_term, wxSizerFlags(1).CenterVertical().Border(wxALL, FromDIP(k_Margin)));
    sizer->Add(m_note, wxSizerFlags().CenterVertical().Border(wxRIGHT, FromDIP(k_NoteGap)));
    AddStep(*sizer, _("Previous"), _("The place before (Shift+F3)"), true);
    AddStep(*sizer, _("Next"), _("The next place (F3)"), false);
    sizer->Add(m_matchCase, wxSizerFlags().CenterVertical().Border(wxLEFT | wxRIGHT, FromDIP(k_NoteGap)));
    SetSizerAndFit(sizer);
    Bind(wxEVT_PAINT, &TextFindBar::OnPaint, this);
    m_term->Bind(wxEVT_KEY_DOWN, &TextFindBar::OnKey, this);
    m_term->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { Look(); });
    m_matchCase->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { Look(); });
}

void TextFindBar::AddStep(wxSizer& sizer, wxString const& label, wxString const& tip, bool backward) {
    auto* const button = new wxvButton(this, wxID_ANY, label, ButtonWidth::Exact);
    button->SetToolTip(tip);
    button->Bind(wxEVT_BUTTON, [this, backward](wxCommandEvent&) { m_display.FindNext(backward); });
    sizer.Add(button, wxSizerFlags().CenterVertical().Border(wxRIGHT, FromDIP(k_Margin)));
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
        Look();
}

void TextFindBar::Look() {
    m_display.SetMatchCase(m_matchCase->GetValue());
    m_display.Find(wxvString(m_term->GetValue()));
    ShowState();
}

void TextFindBar::ShowState() {
    wxTextLineCtrl::FindState const state = m_display.GetFindState();
    bool const isFailed = !state.failure.Empty();
    bool const isMissing = !m_term->GetValue().empty() && m_display.IsMissing();
    wxString note;
    if (isFailed)
        note = _("Cannot be read");
    else if (isMissing)
        note = _("Not found");
    else if (state.isSearching)
        note = wxString::Format(_("Searching... %d %%"), static_cast<int>(state.done * 100));
    else if (state.rank >= 0)
        note = wxString::Format(_("%s of %s"), wxvGrouped(state.rank + 1), wxvGrouped(state.hits));
    else if (state.hits > 0)
        note = wxvGrouped(state.hits);
    if (m_note->GetLabel() == note)
        return;
    m_note->SetForegroundColour(wxvGetColor(isMissing || isFailed ? ColorName::TextRed : ColorName::TextGrey));
    m_note->SetToolTip(wxvText(state.failure));
    m_note->SetLabel(note);
}

void TextFindBar::OnKey(wxKeyEvent& event) {
    CALL_ENTRY();
    switch (event.GetKeyCode()) {
    case WXK_RETURN:
    case WXK_NUMPAD_ENTER:
    case WXK_F3:
        m_display.FindNext(event.ShiftDown());
        break;
    default:
        event.Skip();
    }
}
