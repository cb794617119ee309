#include "theme/followcolors.h"

#include <algorithm>
#include <utility>
#include <vector>
#include <wx/sizer.h>
#include <wx/wxvbutton.h>
#include <wx/wxvcolors.h>
#include <wx/wxvorlandlg.h>
#include <wx/wxvorlanframe.h>
#include <wx/wxvstatictext.h>
#include <wx/wxvwrap.h>

namespace {

constexpr int k_MostLines = 24; // of a paragraph

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
    Bind(wxEVT_CHAR_HOOK, [](wxKeyEvent& event) {
        // The toolkit closes it.
        if (event.GetKeyCode() != WXK_ESCAPE || !wxvEscapeIsUsed(event))
            event.Skip();
    });
    OpenDialogs().push_back(this);
}

wxVorlanDlg::~wxVorlanDlg() { std::erase(OpenDialogs(), this); }

int wxVorlanDlg::ShowModal() {
    s_ModalStarted.Emit();
    m_isWaitedFor = true;
    int const result = wxDialog::ShowModal();
    m_isWaitedFor = false;
    s_ModalFinished.Emit();
    return result;
}

bool wxVorlanDlg::Show(bool show) {
    if (show && KeepsPlace() && !std::exchange(m_isPlaced, true))
        wxLoadWindowPos(*this, m_section, GetPosition());
    if (!show)
        KeepPlace();
    bool const changed = wxDialog::Show(show);
    // Nobody else knows that the last has been seen of it.
    if (!show && changed && !m_isWaitedFor && !m_toldClosed)
        Destroy();
    return changed;
}

void wxVorlanDlg::KeepPlace() {
    if (IsShown() && KeepsPlace())
        wxSaveWindowPos(*this, m_section);
}

bool wxVorlanDlg::Destroy() {
    if (!m_toldClosed) {
        m_toldClosed = true;
        std::erase(OpenDialogs(), this);
        KeepPlace();
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

void wxVorlanDlg::Finish(wxSizer* content, wxString const& accept, wxString const& cancel, DefaultButton preset) {
    auto* buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->AddStretchSpacer();
    auto add = [&](wxWindowID id, wxString const& label) {
        auto* button = new wxvButton(this, id, label);
        if (buttons->GetItemCount() > 1)
            buttons->AddSpacer(FromDIP(k_LabelGap));
        buttons->Add(button);
        return button;
    };
    wxButton* const cancelling = cancel.empty() ? nullptr : add(wxID_CANCEL, cancel);
    wxButton* const accepting = add(wxID_OK, accept);
    wxButton* const first = preset == DefaultButton::Cancel && cancelling ? cancelling : accepting;
    first->SetDefault();

    auto* all = new wxBoxSizer(wxVERTICAL);
    all->Add(content, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(k_Margin)));
    all->Add(buttons, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(k_Margin)));
    SetSizerAndFit(all);
    CentreOnParent();
    first->SetFocus();
}

wxvStaticText* wxVorlanDlg::NewLabel(wxString const& text, double scale, ColorName color) {
    auto* label = new wxvStaticText(this, text, color);
    if (scale != 1.0)
        label->SetFont(label->GetFont().Scaled(static_cast<float>(scale)));
    return label;
}

wxvStaticText* wxVorlanDlg::NewParagraph(wxString const& text, int width, double scale) {
    wxvStaticText* const label = NewLabel(wxString(), scale);
    auto const widthOf = [label](wxString const& line) { return label->GetTextExtent(line).x; };
    label->SetLabelText(wxvWrapped(text, width, k_MostLines, widthOf));
    return label;
}
