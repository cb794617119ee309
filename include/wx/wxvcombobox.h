#pragma once

#include <wx/combobox.h>

// wxvComboBox is a text with a list of former ones, in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
// Always: the mouse wheel scrolls the page that it stands on, never the choice.
class wxvComboBox : public wxComboBox {
public:
    explicit wxvComboBox(wxWindow* parent, wxWindowID id = wxID_ANY, wxString const& value = wxString(),
                         wxArrayString const& choices = wxArrayString(), long style = 0);
};
