#pragma once

#include <wx/textctrl.h>

// wxvTextCtrl is the toolkit's text field in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
class wxvTextCtrl : public wxTextCtrl {
public:
    // `hint` is shown in grey while the field is empty; fields of one line only.
    explicit wxvTextCtrl(wxWindow* parent, wxWindowID id = wxID_ANY, wxString const& value = wxString(), long style = 0,
                         wxString const& hint = wxString());
};
