#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxvorlandlg.h>
#include <wx/wxvtextctrl.h>
#include <wx/wxvtextentry.h>

namespace {

// TextEntry is the dialog with the field.
// Owner: its caller's stack. Thread: the GUI thread.
class TextEntry : public wxVorlanDlg {
public:
    TextEntry(wxWindow* parent, wxString const& message, wxString const& title, wxString const& start)
        : wxVorlanDlg(parent, title, corekit::String()), m_text(new wxvTextCtrl(this, wxID_ANY, start)) {
        m_text->SetMinSize(wxSize(FromDIP(k_FieldWidth), -1));
        auto* content = new wxBoxSizer(wxVERTICAL);
        content->Add(NewLabel(message), wxSizerFlags().Border(wxBOTTOM, FromDIP(k_LabelGap)));
        content->Add(m_text, wxSizerFlags().Expand());
        Finish(content, _("OK"), _("Cancel"));
        m_text->SetFocus();
        m_text->SelectAll();
    }
    wxString Text() const { return m_text->GetValue().Strip(wxString::both); }

private:
    static constexpr int k_FieldWidth = 320;

    wxvTextCtrl* const m_text;
};

} // namespace

wxString wxvGetTextFromUser(wxString const& message, wxString const& title, wxString const& start, wxWindow* parent) {
    TextEntry dialog(parent, message, title, start);
    return dialog.ShowModal() == wxID_OK ? dialog.Text() : wxString();
}
