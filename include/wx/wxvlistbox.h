#pragma once

#include <wx/listbox.h>

// wxvListBox is a plain list of texts in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
class wxvListBox : public wxListBox {
public:
    explicit wxvListBox(wxWindow* parent, wxWindowID id = wxID_ANY, wxArrayString const& items = wxArrayString(),
                        long style = 0);

    // In their order.
    wxArrayInt Selected() const;
};
