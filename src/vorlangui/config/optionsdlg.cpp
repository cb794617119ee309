#include "optionsdlg.h"

#include "client/options.h"
#include "dialogs/rowpage.h"
#include "submit/repeatfile.h"
#include "window/mainwindow.h"

#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxvnotebook.h>

namespace vorlan {

namespace {

constexpr double k_MostRepeats = 1000;
constexpr double k_MostOvertime = 1'000'000;
constexpr double k_MostIdleMinutes = 60 * 24 * 365;

// Their values are a StartValue each.
std::vector<RowChoice> StartChoices() {
    return {{wxTRANSLATE("Use system default"), "-1"},
            {wxTRANSLATE("Do not start it"), "0"},
            {wxTRANSLATE("Start and stop it with VorlanGui"), "1"},
            {wxTRANSLATE("Start it to run until you log out"), "2"}};
}

DialogRow StartRow(char const* label, LocalOption<int> const& option, char const* restriction, bool beginsGroup) {
    return {.label = label,
            .parts = {ChoicePart(option, StartChoices())},
            .restriction = restriction,
            .beginsGroup = beginsGroup};
}

DialogRow ChoiceRow(char const* label, OptionInfo const& option, std::vector<RowChoice> choices) {
    return {.label = label, .parts = {ChoicePart(option, std::move(choices))}};
}

RowPart CreatorPart() {
    RowPart part = TextPart(k_OptionCreator, RowStore::UnlessStandard);
    part.standard = &MainWindow::DefaultCreator;
    return part;
}

RowPart OvertimePart() {
    RowPart part = NumberPart(k_OptionOvertimeKill, 0, k_MostOvertime);
    part.store = RowStore::UnlessEmpty;
    return part;
}

// The rows on Jobs and work.
std::vector<DialogRow> RowsOfJobs() {
    char const* const one = wxTRANSLATE("Submit the Job immediately");
    char const* const all = wxTRANSLATE("Submit the Jobs immediately");
    char const* const windows = wxTRANSLATE("Open Submit Job windows");
    return {
        {.label = wxTRANSLATE("Number of Jobs to save for Repeating"),
         .parts = {NumberPart(k_OptionRepeatCount, 0, k_MostRepeats)}},
        {.label = wxTRANSLATE("Creator string"),
         .parts = {CreatorPart(), {.kind = PartKind::Standard, .words = wxTRANSLATE("Use Default")}},
         .restriction = "My Jobs Only"},
        {.label = wxTRANSLATE("Default Overtime Kill Ratio"), .parts = {OvertimePart()}},
        {.label = wxTRANSLATE("VNC Viewer Command"), .parts = {TextPart(k_OptionVNCCommand, RowStore::UnlessEmpty)}},
        ChoiceRow(
            wxTRANSLATE("New Job Windows"), k_OptionNewJobWindow,
            {{wxTRANSLATE("Start with default values"), "0"}, {wxTRANSLATE("Start with last submitted Job"), "1"}}),
        ChoiceRow(wxTRANSLATE("Load Job Command"), k_OptionLoadImmediate, {{windows, k_No}, {all, k_Yes}}),
        ChoiceRow(wxTRANSLATE("Drop VJ Files"), k_OptionDropImmediate, {{windows, k_No}, {all, k_Yes}}),
        ChoiceRow(wxTRANSLATE("Requeue Work"), k_OptionRequeueImmediate,
                  {{wxTRANSLATE("Open Submit Job window"), k_No}, {one, k_Yes}}),
        CheckRow(k_OptionPauseOnStopAllWork, wxTRANSLATE("Stop all Work pauses the Job")),
        ChoiceRow(wxTRANSLATE("Stop and Requeue Status"), k_OptionStopAndRequeueStatus,
                  {{wxTRANSLATE("User Aborted"), "0"},
                   {wxTRANSLATE("Administrator Aborted"), "1"},
                   {wxTRANSLATE("Unsuccessful"), "2"}}),
        ChoiceRow(wxTRANSLATE("Stop Permanently Status"), k_OptionStopPermanentlyStatus,
                  {{wxTRANSLATE("User Canceled"), "0"},
                   {wxTRANSLATE("Administrator Canceled"), "1"},
                   {wxTRANSLATE("Failed"), "2"}}),
    };
}

// The rows on programs and on this one.
std::vector<DialogRow> ProgramRows() {
    RowPart minutes{.kind = PartKind::Number, .low = 1, .high = k_MostIdleMinutes, .start = "30"};
    return {
        StartRow(wxTRANSLATE("Start the Engine on startup"), k_OptionStartEngine, "Core Process Control", true),
        StartRow(wxTRANSLATE("Start the Master on startup"), k_OptionStartMaster, "Core Process Control", false),
        StartRow(wxTRANSLATE("Start Brakka on startup"), k_OptionStartBrakka, "Process Control", true),
        StartRow(wxTRANSLATE("Start Merrow on startup"), k_OptionStartMerrow, "Process Control", false),
        StartRow(wxTRANSLATE("Start Panvale on startup"), k_OptionStartPanvale, "Process Control", false),
        {.label = wxTRANSLATE("Enter Engine Mode"),
         .parts = {ChoicePart(k_OptionIdleTimeout, {{wxTRANSLATE("System Default"), "-1"},
                                                    {wxTRANSLATE("Never"), "0"},
                                                    {wxTRANSLATE("After:"), nullptr}}),
                   minutes, WordsPart(wxTRANSLATE("minutes"))},
         .beginsGroup = true},
        CheckRow(k_OptionAutoComplete, wxTRANSLATE("Enable Auto-Complete")),
    };
}

std::vector<DialogRow> GeneralRows() {
    std::vector<DialogRow> rows = RowsOfJobs();
    for (DialogRow& row : ProgramRows())
        rows.push_back(std::move(row));
    return AllowedRows(std::move(rows), [](char const* restriction) { return IsRestricted(restriction); });
}

} // namespace

OptionsDlg::OptionsDlg(wxWindow* parent)
    : wxVorlanDlg(parent, _("VorlanGui Options"), "OptionsDlg", wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      m_values(VorlanApp::GetOptions()) {
    auto* book = new wxvNotebook(this);
    m_general = new RowPage(book, GeneralRows(), m_values);
    book->AddPage(m_general, _("General Options"));
    book->SetMinSize(m_general->GetMinSize() + wxSize(0, FromDIP(wxvNotebook::k_TabHeight)));
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(book, wxSizerFlags(1).Expand());
    Finish(content, _("OK"), _("Cancel"));
}

bool OptionsDlg::TransferDataToWindow() {
    m_general->Load();
    return true;
}

bool OptionsDlg::TransferDataFromWindow() {
    if (!m_general->Check())
        return false;
    SaveOptions();
    return true;
}

void OptionsDlg::SaveOptions() {
    OptionsFile& options = VorlanApp::GetOptions();
    OptionsFile::PauseAutoWrite const pause(options);
    options.SetSection(k_Configuration);
    m_general->Store();
    if (RepeatFile* const jobs = RepeatFile::Current())
        jobs->SetRepeatCount(k_OptionRepeatCount.Get());
}

} // namespace vorlan
