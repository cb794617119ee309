#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxvtextctrl.h>
#include <wx/wxvtextentry.h>

namespace {
constexpr int k_FieldWidth = 320;
}

wxvTextEntryDlg::wxvTextEntryDlg(wxWindow* parent, wxString const& message, wxString const& title,
                                 wxString const& start, TextEcho echo)
    : wxVorlanDlg(parent, title, corekit::String()),
      m_message(message),
      m_text(new wxvTextCtrl(this, wxID_ANY, start, echo == TextEcho::Hidden ? wxTE_PASSWORD : 0)) {
    m_text->SetMinSize(wxSize(FromDIP(k_FieldWidth), -1));
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(NewLabel(message), wxSizerFlags().Border(wxBOTTOM, FromDIP(k_LabelGap)));
    content->Add(m_text, wxSizerFlags().Expand());
    Finish(content, _("OK"), _("Cancel"));
    m_text->SetFocus();
    m_text->SelectAll();
}

wxString wxvTextEntryDlg::GetValue() const { return m_text->GetValue(); }

void wxvTextEntryDlg::SetValue(wxString const& text) { m_text->ChangeValue(text); }

wxString wxvGetTextFromUser(wxString const& message, wxString const& title, wxString const& start, wxWindow* parent) {
    wxvTextEntryDlg dialog(parent, message, title, start);
    return dialog.ShowModal() == wxID_OK ? dialog.GetValue().Strip(wxString::both) : wxString();
}

wxString wxvGetPasswordFromUser(wxString const& message, wxString const& title, wxWindow* parent) {
    wxvTextEntryDlg dialog(parent, message, title, wxString(), TextEcho::Hidden);
    return dialog.ShowModal() == wxID_OK ? dialog.GetValue() : wxString();
}
