// The columns of a ListCtrlBase: which sort it, and how the options remember them.
#include "client/options.h"
#include "listctrlbase.h"
#include "rows/columnfit.h"

#include <corekit/stringtokenizer.h>
#include <vorlan/vorlanapp.h>
#include <wx/intl.h>
#include <wx/listctrl.h>
#include <wx/settings.h>
#include <wx/thread.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

// The pictures of SortImages.
constexpr int k_FirstImages = 0;
constexpr int k_SecondImages = 2;

// A column that is fitted to its rows gets no wider than that, in device-independent pixels.
constexpr int k_MostFitted = 300;

int ImageOf(int images, bool ascending) { return ascending ? images : images + 1; }

} // namespace

void ListCtrlBase::SetSortColImage(int column) {
    wxASSERT(::wxIsMainThread());
    if (column >= 0 && column == m_primary) {
        SetColumnAscending(column, !IsColumnAscending(column));
        SaveColumnInfo();
        SetColumnImage(column, ImageOf(k_FirstImages, IsColumnAscending(column)));
        return;
    }
    for (int i = 0; i < GetColumnCount(); ++i)
        SetColumnImage(i, -1);
    if (column >= 0) {
        m_secondary = m_primary;
        m_primary = column;
        SaveColumnInfo();
    }
    if (m_primary >= 0) {
        SetColumnImage(m_primary, ImageOf(k_FirstImages, IsColumnAscending(m_primary)));
        SetHighlightColumn(m_primary);
    }
    if (m_secondary >= 0)
        SetColumnImage(m_secondary, ImageOf(k_SecondImages, IsColumnAscending(m_secondary)));
}

void ListCtrlBase::OnColumnClick(wxListEvent& event) {
    int const column = event.GetColumn();
    if (column < 0 || column >= GetColumnCount())
        return;
    SetSortColImage(column);
    SetHighlightColumn(column);
    UID const anchor = GetRowID(GetLastSelect());
    UID const current = GetRowID(GetCurrentRow());
    DoSort();
    SetLastSelect(GetRowOf(anchor));
    SetCurrentRow(GetRowOf(current));
}

void ListCtrlBase::OnColumnResized(wxListEvent&) {
    m_fitsColumns = false;
    SaveColumnInfo();
}

// The sort stays with its columns when they move. Without one of them the next tick sorts
// anew.
void ListCtrlBase::OnColumnsChanged(std::vector<int> const& now) {
    auto const where = [&now](int column) {
        return column >= 0 && static_cast<size_t>(column) < now.size() ? now[static_cast<size_t>(column)] : column;
    };
    bool const hadSecond = m_secondary >= 0;
    m_fittedRoom = -1;
    m_primary = where(m_primary);
    m_secondary = where(m_secondary);
    if (m_primary < 0 || (hadSecond && m_secondary < 0))
        SetDirty();
    if (m_primary < 0)
        m_primary = std::max(0, std::exchange(m_secondary, -1));
    if (GetColumnCount() > 0 && m_primary < GetColumnCount())
        SetSortColImage(-1);
}

// Columns whose width the list may choose are made for the width of the list, and once for
// what its first rows hold. Somebody may have had them kept before.
void ListCtrlBase::FitColumns() {
    // Whether the list has its bar or not, so that a row more moves no column.
    int const room = GetSize().x - wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this);
    bool const hasRows = HasRowsInView();
    if (!m_fitsColumns || !IsShownOnScreen() || (room == m_fittedRoom && (m_fittedToRows || !hasRows)))
        return;
    m_fittedRoom = room;
    m_fittedToRows = m_fittedToRows || hasRows;
    std::vector<ColumnNeed> needs;
    for (int column = 0; column < GetColumnCount(); ++column) {
        int const start = StartWidth(GetColumnType(static_cast<size_t>(column)));
        int const label = GetLabelWidth(column);
        SetColumnWidth(column, k_FitWidth, false);
        int const content =
            std::max(GetColumnWidth(static_cast<size_t>(column)), FromDIP(std::min<int>(start, ColumnWidth::Word)));
        needs.push_back(
            {std::max(FromDIP(start), label), content, std::max(FromDIP(ColumnWidth::Least(start)), label)});
    }
    std::vector<int> const widths = FittedWidths(needs, room, FromDIP(k_MostFitted));
    for (int column = 0; column < GetColumnCount(); ++column)
        SetColumnWidth(column, widths[static_cast<size_t>(column)], false);
    Refresh(false); // the header, too
    if (!k_OptionAllColumns.Get(VorlanApp::GetOptions(), m_section).Empty())
        SaveColumnInfo();
}

SortBy ListCtrlBase::SortByColumn(int column) const {
    SortBy by;
    by.ascending = column < 0 || IsColumnAscending(column);
    // One past the last column sorts as a type with no entry does.
    if (column < 0 || column > GetColumnCount())
        return by;
    by.type = GetColumnType(static_cast<size_t>(column));
    by.custom = GetColumnCustom(column);
    return by;
}

SortOrder ListCtrlBase::GetSortOrder() const { return {SortByColumn(m_primary), SortByColumn(m_secondary)}; }

void ListCtrlBase::SetDefaultColumns() {
    m_primary = 0;
    m_secondary = -1;
    RemoveAllColumns();
    DefaultColumns();
    m_fitsColumns = true;
    m_fittedToRows = false;
    SaveColumnInfo();
    SetSortColImage(-1);
}

void ListCtrlBase::LoadColumnInfo() {
    IniFile const& options = VorlanApp::GetOptions();
    StringTokenizer records(k_OptionAllColumns.Get(options, m_section), ";", '"', '`');
    for (String record; records.Next(record);) {
        record.Replace("`;", ";");
        record.Replace("``", "`");
        AddSavedColumn(record);
    }
    if (GetColumnCount() == 0) {
        DefaultColumns();
        m_fitsColumns = true;
    }
    // From the current section, other than they are saved: what it remembers depends on
    // who has read the options before.
    int column = k_OptionSortColumn.Default();
    options.GetValue(k_OptionSortColumn.Key(), column);
    m_primary = column < 0 || column >= GetColumnCount() ? 0 : column;
    options.GetValue(k_OptionSecondSortColumn.Key(), column);
    m_secondary = column < 0 || column >= GetColumnCount() || column == m_primary ? -1 : column;
    SetSortColImage(-1);
}

// The options keep the titles of known columns untranslated, so that they follow the
// language.
String ListCtrlBase::TranslatedLabel(int type, String const& label) const {
    char const* const title = ColumnTitle(type);
    return title && *title && label == title ? wxvString(wxGetTranslation(title)) : label;
}

String ListCtrlBase::UntranslatedLabel(int column) const {
    String const label = GetColumnName(column);
    char const* const title = ColumnTitle(GetColumnType(static_cast<size_t>(column)));
    return title && *title && label == wxvString(wxGetTranslation(title)) ? String(title) : label;
}

// "label,width,ascending,type,custom". Another number of fields drops it.
void ListCtrlBase::AddSavedColumn(String const& record) {
    constexpr size_t k_Fields = 5;
    auto const unescape = [](String text) {
        text.Replace("\\,", ",");
        text.Replace("\\\\", "\\");
        return text;
    };
    StringTokenizer tokens(record, ",", '"', '\\');
    std::vector<String> fields;
    for (String field; tokens.Next(field);)
        fields.push_back(field);
    if (fields.size() == k_Fields - 1)
        fields.emplace_back();
    if (fields.size() != k_Fields)
        return;
    ColumnHeader header;
    header.width = static_cast<int32_t>(std::min<uint64_t>(fields[1].Uint(), k_MaxColumnWidth));
    header.ascending = fields[2].Bool();
    header.type = static_cast<int32_t>(fields[3].Int());
    header.label = TranslatedLabel(header.type, unescape(fields[0]));
    header.custom = unescape(fields[4]);
    AddColumn(header);
}

void ListCtrlBase::SaveColumnInfo() const {
    OptionsFile& options = VorlanApp::GetOptions();
    OptionsFile::PauseAutoWrite const pause(options);
    String joined;
    for (int column = 0; column < GetColumnCount(); ++column) {
        String record = UntranslatedLabel(column);
        record.Replace("\\", "\\\\");
        record.Replace(",", "\\,");
        record += "," + String::From(GetColumnWidth(static_cast<size_t>(column)));
        record += IsColumnAscending(column) ? ",1," : ",0,";
        record += String::From(GetColumnType(static_cast<size_t>(column)));
        // As it stands: a comma in it makes a record that is dropped when it is read.
        record += "," + GetColumnCustom(column);
        record.Replace("`", "``");
        record.Replace(";", "`;");
        joined += (joined.Empty() ? "" : ";") + record;
    }
    k_OptionAllColumns.Set(options, m_section, joined);
    k_OptionSortColumn.Set(options, m_section, m_primary);
    k_OptionSecondSortColumn.Set(options, m_section, m_secondary);
}

} // namespace vorlan
