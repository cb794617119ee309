#include "theme/followcolors.h"

#include <algorithm>
#include <vector>
#include <wx/sizer.h>
#include <wx/wxvbutton.h>
#include <wx/wxvcolors.h>
#include <wx/wxvorlandlg.h>
#include <wx/wxvorlanframe.h>
#include <wx/wxvstatictext.h>

namespace {

std::vector<wxVorlanDlg*>& OpenDialogs() {
    static std::vector<wxVorlanDlg*> s_dialogs;
    return s_dialogs;
}

} // namespace

constinit wxVorlanDlg::Told wxVorlanDlg::s_ModalStarted;
constinit wxVorlanDlg::Told wxVorlanDlg::s_ModalFinished;
constinit wxVorlanDlg::Told wxVorlanDlg::s_DlgClosed;

wxVorlanDlg::wxVorlanDlg(wxWindow* parent, wxString const& title, corekit::String section, long style)
    : wxDialog(parent, wxID_ANY, title, wxDefaultPosition, wxDefaultSize, style), m_section(std::move(section)) {
    FollowColors(*this, [this] {
        SetBackgroundColour(wxvGetColor(ColorName::WindowBG));
        SetForegroundColour(wxvGetColor(ColorName::Text));
        Refresh();
    });
    OpenDialogs().push_back(this);
}

wxVorlanDlg::~wxVorlanDlg() { std::erase(OpenDialogs(), this); }

int wxVorlanDlg::ShowModal() {
    s_ModalStarted.Emit();
    int const result = wxDialog::ShowModal();
    s_ModalFinished.Emit();
    return result;
}

bool wxVorlanDlg::Destroy() {
    if (!m_toldClosed) {
        m_toldClosed = true;
        std::erase(OpenDialogs(), this);
        if (!m_section.Empty() && HasFlag(wxRESIZE_BORDER))
            wxvSaveWindowPosition(*this, m_section);
        s_DlgClosed.Emit();
    }
    return wxDialog::Destroy();
}

void wxVorlanDlg::CloseAll() {
    // The last one opened goes first: it may stand on another one.
    std::vector<wxVorlanDlg*> const dialogs = OpenDialogs();
    std::for_each(dialogs.rbegin(), dialogs.rend(), [](wxVorlanDlg* dialog) {
        if (dialog->IsModal())
            dialog->EndModal(wxID_CANCEL);
        else if (dialog->IsShown())
            dialog->Destroy();
    });
}

void wxVorlanDlg::Finish(wxSizer* content, wxString const& accept, wxString const& cancel) {
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->AddStretchSpacer();
    auto add = [&](wxWindowID id, wxString const& label) {
        auto* button = new wxvButton(this, id, label);
        if (buttons->GetItemCount() > 1)
            buttons->AddSpacer(FromDIP(k_LabelGap));
        buttons->Add(button);
        return button;
    };
    if (!cancel.empty())
        add(wxID_CANCEL, cancel);
    wxButton* const accepting = add(wxID_OK, accept);
    accepting->SetDefault();

    auto* all = new wxBoxSizer(wxVERTICAL);
    all->Add(content, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(k_Margin)));
    all->Add(buttons, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(k_Margin)));
    SetSizerAndFit(all);
    CentreOnParent();
    accepting->SetFocus();
}

wxvStaticText* wxVorlanDlg::NewLabel(wxString const& text, double scale, ColorName color) {
    auto* label = new wxvStaticText(this, text, color);
    if (scale != 1.0)
        label->SetFont(label->GetFont().Scaled(static_cast<float>(scale)));
    return label;
}
