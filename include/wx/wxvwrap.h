#pragma once

// Where the lines of a long text end.

#include <functional>
#include <wx/string.h>

// The text with lines no wider than `most`, as `widthOf` measures them. Lines break at
// blanks, else behind a slash or an underscore, else anywhere. What has no room on `mostLines` lines is
// left out, and three dots say so.
wxString wxvWrapped(wxString const& text, int most, int mostLines, std::function<int(wxString const&)> const& widthOf);
