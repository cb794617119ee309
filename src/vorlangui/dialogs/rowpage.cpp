#include "rowpage.h"

#include <algorithm>
#include <wx/display.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/wxvbutton.h>
#include <wx/wxvcheckbox.h>
#include <wx/wxvchoice.h>
#include <wx/wxvmessagedlg.h>
#include <wx/wxvrhythm.h>
#include <wx/wxvstatictext.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextctrl.h>

namespace vorlan {

namespace {

constexpr int k_NumberWidth = 72;
constexpr int k_LeastFieldWidth = 260;
constexpr int k_AroundPage = 200; // of the screen's height: the rest of the dialog
constexpr int k_ScrollbarRoom = 12;

// An option's value as a box shows it.
bool IsChecked(String const& text) { return text.Bool(false); }

} // namespace

RowPage::RowPage(wxWindow* parent, std::vector<DialogRow> rows, RowValues& values)
    : wxvScrolledWindow(parent), m_rows(std::move(rows)), m_values(values) {
    auto* grid = new wxFlexGridSizer(2, FromDIP(wxSize(k_wxvLabelGap, k_wxvLabelGap)));
    grid->AddGrowableCol(1);
    for (DialogRow const& row : m_rows)
        AddRow(row, *grid);
    auto* margin = new wxBoxSizer(wxVERTICAL);
    margin->Add(grid, wxSizerFlags().Expand().Border(wxALL, FromDIP(k_wxvMargin)));
    SetSizer(margin);
    wxSize const whole = margin->CalcMin();
    int const most =
        wxDisplay(wxDisplay::GetFromWindow(this) == wxNOT_FOUND ? this->GetParent() : this).GetClientArea().height -
        FromDIP(k_AroundPage);
    SetMinSize(wxSize(whole.x + FromDIP(k_ScrollbarRoom), std::min(whole.y, most)));
    FitInside();
    Bind(wxEVT_CHOICE, [this](wxCommandEvent& event) {
        event.Skip();
        EnableFields();
    });
}

void RowPage::AddRow(DialogRow const& row, wxSizer& grid) {
    if (row.beginsGroup && grid.GetItemCount() > 0) {
        grid.AddSpacer(0);
        grid.AddSpacer(FromDIP(k_wxvGroupGap - 2 * k_wxvLabelGap));
    }
    wxString const label = wxGetTranslation(row.label);
    if (label.empty())
        grid.AddSpacer(0);
    else
        grid.Add(new wxvStaticText(this, wxControl::EscapeMnemonics(label)), wxSizerFlags().CentreVertical());
    auto* cell = new wxBoxSizer(wxHORIZONTAL);
    int choice = -1;
    for (RowPart const& part : row.parts) {
        if (!cell->IsEmpty())
            cell->AddSpacer(FromDIP(k_wxvLabelGap));
        wxWindow* const window = NewControl(part);
        if (part.kind != PartKind::Words && part.kind != PartKind::Standard) {
            if (part.kind == PartKind::Choice)
                choice = static_cast<int>(m_fields.size());
            window->SetName(label.empty() ? wxGetTranslation(part.words) : label);
            m_fields.push_back({&row, &part, window, part.kind == PartKind::Choice ? -1 : choice});
        }
        if (*row.toolTip)
            window->SetToolTip(wxGetTranslation(row.toolTip));
        bool const grows = part.kind == PartKind::Text || part.kind == PartKind::Choice;
        cell->Add(window, wxSizerFlags(grows ? 1 : 0).CentreVertical());
    }
    cell->SetMinSize(FromDIP(k_LeastFieldWidth), -1);
    grid.Add(cell, wxSizerFlags().Expand());
}

wxWindow* RowPage::NewControl(RowPart const& part) {
    wxString const words = wxGetTranslation(part.words);
    switch (part.kind) {
    case PartKind::Check:
        return new wxvCheckBox(this, wxID_ANY, wxControl::EscapeMnemonics(words));
    case PartKind::Words:
        return new wxvStaticText(this, wxControl::EscapeMnemonics(words));
    case PartKind::Choice: {
        auto* choice = new wxvChoice(this);
        for (RowChoice const& entry : part.choices)
            choice->Append(wxGetTranslation(entry.label));
        return choice;
    }
    case PartKind::Standard: {
        auto* button = new wxvButton(this, wxID_ANY, words);
        button->Bind(wxEVT_BUTTON, [this, before = m_fields.size() - 1](wxCommandEvent&) { UseStandard(before); });
        return button;
    }
    case PartKind::Text:
    case PartKind::Number:
        break;
    }
    auto* text = new wxvTextCtrl(this);
    if (part.kind == PartKind::Number)
        text->SetMinSize(wxSize(FromDIP(k_NumberWidth), -1));
    return text;
}

void RowPage::UseStandard(size_t field) { SetText(m_fields[field], m_fields[field].part->standard()); }

String RowPage::TextOf(Field const& field) {
    if (auto const* const box = dynamic_cast<wxCheckBox*>(field.window))
        return String::From(box->GetValue());
    auto const* const text = dynamic_cast<wxTextCtrl*>(field.window);
    String const typed = text ? wxvString(text->GetValue()) : String();
    return field.part->kind == PartKind::Number ? typed.Trim() : typed;
}

void RowPage::SetText(Field const& field, String const& text) {
    if (auto* const box = dynamic_cast<wxCheckBox*>(field.window))
        box->SetValue(IsChecked(text));
    else if (auto* const entry = dynamic_cast<wxTextCtrl*>(field.window))
        entry->ChangeValue(wxvText(text));
}

RowPart const* RowPage::FieldBehind(size_t choice) const {
    bool const isThere = choice + 1 < m_fields.size() && m_fields[choice + 1].choice == static_cast<int>(choice) &&
                         !m_fields[choice + 1].part->option;
    return isThere ? m_fields[choice + 1].part : nullptr;
}

void RowPage::Load() {
    for (size_t i = 0; i < m_fields.size(); ++i) {
        Field const& field = m_fields[i];
        RowPart const& part = *field.part;
        if (!part.option)
            continue; // the choice before it has filled it
        String const stored = m_values.Read(*part.option);
        if (part.kind != PartKind::Choice) {
            bool const isStandard = stored.Empty() && part.store == RowStore::UnlessStandard;
            SetText(field, isStandard ? part.standard() : stored);
            continue;
        }
        RowPart const* const behind = FieldBehind(i);
        size_t const entry = EntryOf(*field.row, part, behind, stored);
        dynamic_cast<wxChoice&>(*field.window).SetSelection(static_cast<int>(entry));
        if (behind)
            SetText(m_fields[i + 1], part.choices[entry].value ? String(behind->start) : stored);
    }
    EnableFields();
}

bool RowPage::IsUsable(Field const& field) const {
    if (field.choice < 0 || field.part->kind == PartKind::Choice)
        return true;
    Field const& choice = m_fields[static_cast<size_t>(field.choice)];
    int const entry = dynamic_cast<wxChoice&>(*choice.window).GetSelection();
    if (field.part->option)
        return field.part->enabledAt < 0 || field.part->enabledAt == entry;
    return entry >= 0 && !choice.part->choices[static_cast<size_t>(entry)].value;
}

void RowPage::EnableFields() {
    for (Field const& field : m_fields)
        field.window->Enable(IsUsable(field));
}

bool RowPage::Check() {
    for (Field const& field : m_fields) {
        String const fault = IsUsable(field) ? FaultOfPart(*field.row, *field.part, TextOf(field)) : String();
        if (fault.Empty())
            continue;
        wxvMessageDlg::Tell(this, wxGetTopLevelParent(this)->GetLabel(), wxvText(fault), MessageKind::Error);
        field.window->SetFocus();
        if (auto* const text = dynamic_cast<wxTextCtrl*>(field.window))
            text->SelectAll();
        return false;
    }
    return true;
}

void RowPage::Store() {
    for (size_t i = 0; i < m_fields.size(); ++i) {
        Field const& field = m_fields[i];
        RowPart const& part = *field.part;
        if (!IsUsable(field)) {
            if (part.option && part.whenOff)
                m_values.Write(*part.option, part.whenOff);
            continue;
        }
        if (part.kind != PartKind::Choice) {
            StorePart(part, TextOf(field), m_values);
            continue;
        }
        int const entry = dynamic_cast<wxChoice&>(*field.window).GetSelection();
        char const* const value = part.choices[static_cast<size_t>(std::max(entry, 0))].value;
        StorePart(part, value ? String(value) : TextOf(m_fields[i + 1]), m_values);
    }
}

wxWindow* RowPage::FindControl(OptionInfo const& option) const {
    auto const found = std::find_if(m_fields.begin(), m_fields.end(),
                                    [&](Field const& field) { return field.part->option == &option; });
    return found == m_fields.end() ? nullptr : found->window;
}

} // namespace vorlan
