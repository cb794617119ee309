#include <corekit/optionsfile.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxconfirmdlg.h>
#include <wx/wxvcheckbox.h>
#include <wx/wxvcolors.h>
#include <wx/wxvoptions.h>

namespace {
constexpr int k_TextWidth = 480;
}

wxConfirmDlg::wxConfirmDlg(wxWindow* parent, wxString const& text, corekit::String key, wxString const& title,
                           wxString const& accept, wxString const& cancel, DefaultButton preset)
    : wxVorlanDlg(parent, title.empty() ? _("Please confirm") : title, corekit::String()), m_key(std::move(key)) {
    auto* content = new wxBoxSizer(wxVERTICAL);
    int const width = FromDIP(k_TextWidth);
    content->Add(NewParagraph(text.BeforeFirst('\n'), width, k_HeadingScale));
    wxString const rest = text.AfterFirst('\n');
    if (!rest.empty())
        content->Add(NewParagraph(rest, width), wxSizerFlags().Border(wxTOP, FromDIP(k_LabelGap)));
    m_dontAsk = new wxvCheckBox(this, wxID_ANY, _("Don't ask this again"));
    content->Add(m_dontAsk, wxSizerFlags().Border(wxTOP, FromDIP(k_GroupGap)));
    Finish(content, accept.empty() ? _("OK") : accept, cancel.empty() ? _("Cancel") : cancel, preset);
}

bool wxConfirmDlg::Confirm() {
    if (IsAnswered(m_key))
        return true;
    if (ShowModal() != wxID_OK)
        return false;
    if (m_dontAsk->GetValue())
        SetAnswered(m_key, true);
    return true;
}

bool wxConfirmDlg::IsAnswered(corekit::String const& key) {
    return wxvOptions() && k_OptionConfirm.Get(*wxvOptions(), key);
}

void wxConfirmDlg::SetAnswered(corekit::String const& key, bool answered) {
    if (wxvOptions())
        k_OptionConfirm.Set(*wxvOptions(), key, answered);
}

void wxConfirmDlg::ResetAll() {
    if (wxvOptions())
        wxvOptions()->ClearSection(k_OptionConfirm.Section());
}
