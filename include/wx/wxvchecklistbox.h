#pragma once

#include <wx/checklst.h>

// wxvCheckListBox is a list of texts with a check box each, in the scheme's colours.
// Owner: its parent window. Thread: the GUI thread.
class wxvCheckListBox : public wxCheckListBox {
public:
    explicit wxvCheckListBox(wxWindow* parent, wxWindowID id = wxID_ANY, wxArrayString const& items = wxArrayString(),
                             long style = 0);

    // In their order.
    wxArrayInt Checked() const;
    void CheckAll(bool check);
};
