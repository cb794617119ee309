#pragma once

#include "dialogrows.h"

#include <wx/wxvscrolledwindow.h>

class wxSizer;

namespace vorlan {

// RowPage shows rows of options for editing: labels on the left, what edits them on the
// right, and it scrolls where the screen is too low for all.
// Owner: its parent window. Works with: RowValues, which outlives it.
// Thread: the GUI thread.
// Always: nothing is written before Store, and Store writes the rows that it shows only.
class RowPage : public wxvScrolledWindow {
public:
    RowPage(wxWindow* parent, std::vector<DialogRow> rows, RowValues& values);

    // Shows what holds now.
    void Load();
    // False when something cannot be stored: the user has been told of the first such
    // part, which has the focus then.
    bool Check();
    void Store();

    // The control that edits an option; null: none does.
    wxWindow* FindControl(OptionInfo const& option) const;

private:
    struct Field {
        DialogRow const* row;
        RowPart const* part;
        wxWindow* window;
        int choice = -1; // that of its row, as a place among the fields
    };

    void AddRow(DialogRow const& row, wxSizer& grid);
    wxWindow* NewControl(RowPart const& part);
    void UseStandard(size_t field);
    // What can be used follows the choices.
    void EnableFields();
    bool IsUsable(Field const& field) const;

    static String TextOf(Field const& field);
    static void SetText(Field const& field, String const& text);
    // Behind a choice with an entry for it.
    RowPart const* FieldBehind(size_t choice) const;

    std::vector<DialogRow> const m_rows;
    RowValues& m_values;
    std::vector<Field> m_fields;
};

} // namespace vorlan
