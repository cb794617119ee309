#pragma once

// The rows of a dialog's page as data: what each is called, what edits it and which
// option it shows. RowPage makes windows of them. No window is needed here.

#include <corekit/option.h>
#include <functional>
#include <vector>
#include <vorlan/fwd.h>

namespace vorlan {

// What is stored for an entry of a choice; null: what the part behind the choice holds.
struct RowChoice {
    char const* label;
    char const* value;
};

enum class PartKind { Text, Number, Check, Choice, Words, Standard };

// When the text of a part is written into its option.
enum class RowStore {
    Always,
    UnlessEmpty,    // blanks only count as empty: the option stays as it was
    UnlessStandard, // the standard text clears the option
};

// RowPart is one thing in a row: a field, a box, a choice, words or a button.
struct RowPart {
    PartKind kind = PartKind::Text;
    // What it shows and edits; null for words, buttons, and for the field of a choice.
    OptionInfo const* option = nullptr;
    char const* words = ""; // in English: of Check, Words and Standard
    std::vector<RowChoice> choices{};
    // Of a Number.
    double low = 0;
    double high = 0;
    char const* start = ""; // while nothing is stored for it
    RowStore store = RowStore::Always;
    // The text that holds without one; the button Standard puts it into the part before.
    std::function<String()> standard{};
    // It can be used while the choice of its row shows this entry; -1: always. While it
    // cannot, nothing is written for it, or the text `whenOff`.
    int enabledAt = -1;
    char const* whenOff = nullptr;
};

RowPart TextPart(OptionInfo const& option, RowStore store = RowStore::Always);
// A whole number, unless the option's values have fractions.
RowPart NumberPart(OptionInfo const& option, double low, double high);
RowPart ChoicePart(OptionInfo const& option, std::vector<RowChoice> choices);
RowPart WordsPart(char const* words);

struct DialogRow {
    char const* label = ""; // in English; empty for a box, which has words of its own
    std::vector<RowPart> parts{};
    char const* toolTip = "";
    // A user of whom this is asked in vain does not see the row.
    char const* restriction = nullptr;
    bool beginsGroup = false;
};

DialogRow CheckRow(OptionInfo const& option, char const* words);

// The rows that a user sees.
std::vector<DialogRow> AllowedRows(std::vector<DialogRow> rows, std::function<bool(char const*)> const& isRestricted);

// Where the values of a page come from and where they go, as texts.
class RowValues {
public:
    virtual ~RowValues() = default;
    virtual String Read(OptionInfo const& option) const = 0;
    virtual void Write(OptionInfo const& option, String const& text) = 0;
    virtual void Clear(OptionInfo const& option) = 0;
};

// The values of an options file.
class FileValues : public RowValues {
public:
    explicit FileValues(IniFile& file) : m_file(file) {}
    String Read(OptionInfo const& option) const override { return option.GetText(m_file); }
    void Write(OptionInfo const& option, String const& text) override { option.SetText(m_file, text); }
    void Clear(OptionInfo const& option) override { option.Clear(m_file); }

private:
    IniFile& m_file;
};

// What is wrong with a text in a part, in words for the user; empty: nothing.
String FaultOfPart(DialogRow const& row, RowPart const& part, String const& text);

// The entry of a choice that shows a stored text. One that is not its own and that the
// field behind it, if there is one, cannot hold either is shown as the first entry.
size_t EntryOf(DialogRow const& row, RowPart const& choice, RowPart const* field, String const& stored);

// Writes what a part holds, as its rule says.
void StorePart(RowPart const& part, String const& text, RowValues& values);

} // namespace vorlan
