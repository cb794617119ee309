#include "aboutdlg.h"

#include <vorlan/messenger.h>
#include <vorlan/version.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/wxvcolors.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

constexpr int k_RowGap = 4;
constexpr int k_ColumnGap = 16;

wxString TimeSince(Time const& since) {
    if (since.IsZero())
        return wxString();
    return wxvText(
        (Time::CurrentTime() - since).FormatDuration(Time::k_UnitMinutes, Time::k_UnitDays, Time::k_UnitSeconds));
}

} // namespace

std::vector<AboutDlg::Row> AboutDlg::ConnectionRows() {
    return {{_("Connected to:"), wxvText(Messenger::MasterMachineName())},
            {_("Version:"), wxvText(VersionText(Messenger::MasterVersion()))},
            {_("Released:"), wxvText(Messenger::MasterReleaseDate().Format(k_ShortDate, false, true))},
            {_("Port:"), wxvText(corekit::String::From(Messenger::MasterPort()))},
            {_("Online:"), TimeSince(Messenger::MasterStartTime())},
            {_("Connected:"), TimeSince(Messenger::ConnectedTime())}};
}

AboutDlg::AboutDlg(wxWindow* parent) : wxVorlanDlg(parent, _("About Vorlan"), "AboutDlg") {
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->SetMinSize(FromDIP(300), -1);
    content->Add(NewLabel(_("Vorlan GUI"), 1.6));
    for (wxString const& line : {wxString::Format(_("Version %s"), k_VorlanVersionText),
                                 wxString::Format(_("Released %s"), k_VorlanReleaseDate)})
        content->Add(NewLabel(line, 1.0, ColorName::TextGrey), wxSizerFlags().Border(wxTOP, FromDIP(k_RowGap)));
    content->AddSpacer(FromDIP(k_GroupGap));
    if (Messenger::IsConnected()) {
        auto* rows = new wxFlexGridSizer(2, FromDIP(k_RowGap), FromDIP(k_ColumnGap));
        for (Row const& row : ConnectionRows()) {
            rows->Add(NewLabel(row.label, 1.0, ColorName::TextGrey));
            rows->Add(NewLabel(wxControl::EscapeMnemonics(row.value)));
        }
        content->Add(rows);
    } else {
        content->Add(NewLabel(_("Not Connected")));
    }
    content->AddSpacer(FromDIP(k_GroupGap));
    Finish(content, _("Close"), wxString());
}

} // namespace vorlan
