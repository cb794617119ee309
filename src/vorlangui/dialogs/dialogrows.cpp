#include "dialogrows.h"

#include <algorithm>
#include <cmath>
#include <wx/intl.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

bool HasFractions(RowPart const& part) { return part.option && part.option->CanBe("0.5"); }

// Not a number where the text is none.
double NumberIn(String const& text) {
    double const low = text.Float(0);
    return low == text.Float(1) ? low : std::nan("");
}

} // namespace

RowPart TextPart(OptionInfo const& option, RowStore store) {
    return {.kind = PartKind::Text, .option = &option, .store = store};
}

RowPart NumberPart(OptionInfo const& option, double low, double high) {
    return {.kind = PartKind::Number, .option = &option, .low = low, .high = high};
}

RowPart ChoicePart(OptionInfo const& option, std::vector<RowChoice> choices) {
    return {.kind = PartKind::Choice, .option = &option, .choices = std::move(choices)};
}

RowPart WordsPart(char const* words) { return {.kind = PartKind::Words, .words = words}; }

DialogRow CheckRow(OptionInfo const& option, char const* words) {
    return {.parts = {{.kind = PartKind::Check, .option = &option, .words = words}}};
}

std::vector<DialogRow> AllowedRows(std::vector<DialogRow> rows, std::function<bool(char const*)> const& isRestricted) {
    std::erase_if(rows, [&](DialogRow const& row) { return row.restriction && isRestricted(row.restriction); });
    return rows;
}

String FaultOfPart(DialogRow const& row, RowPart const& part, String const& text) {
    if (part.kind != PartKind::Number || (part.store == RowStore::UnlessEmpty && text.Trim().Empty()))
        return {};
    double const value = NumberIn(text.Trim());
    bool const fits = value >= part.low && value <= part.high;
    if (fits && (HasFractions(part) || value == std::floor(value)))
        return {};
    wxString const form = HasFractions(part) ? _("\"%s\" takes a number from %s to %s.")
                                             : _("\"%s\" takes a whole number from %s to %s.");
    return wxvString(wxString::Format(form, wxGetTranslation(row.label), wxvText(String::From(part.low)),
                                      wxvText(String::From(part.high))));
}

size_t EntryOf(DialogRow const& row, RowPart const& choice, RowPart const* field, String const& stored) {
    auto const entry = std::find_if(choice.choices.begin(), choice.choices.end(), [&](RowChoice const& c) {
        if (c.value)
            return stored == c.value;
        return field && FaultOfPart(row, *field, stored).Empty();
    });
    return entry == choice.choices.end() ? 0 : static_cast<size_t>(entry - choice.choices.begin());
}

void StorePart(RowPart const& part, String const& text, RowValues& values) {
    if (!part.option || (part.store == RowStore::UnlessEmpty && text.Trim().Empty()))
        return;
    if (part.store == RowStore::UnlessStandard && text == part.standard())
        values.Clear(*part.option);
    else
        values.Write(*part.option, text);
}

} // namespace vorlan
