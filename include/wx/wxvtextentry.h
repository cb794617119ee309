// A question that is answered by one line of text.
#pragma once

#include <wx/string.h>

class wxWindow;

// Asks for a text; blanks at its ends are cut off. Empty: nothing was entered, or the
// dialog was cancelled. GUI thread; returns when the dialog has ended.
wxString wxvGetTextFromUser(wxString const& message, wxString const& title, wxString const& start = wxString(),
                            wxWindow* parent = nullptr);
