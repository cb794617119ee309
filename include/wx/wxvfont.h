#pragma once

// The type of the user interface.

#include <wx/font.h>

// Weights that the interface uses.
enum class FontWeight { Normal, Medium };

// The interface's font, `points` above (or below) the size of lists. GUI thread.
wxFont wxvFont(int points = 0, FontWeight weight = FontWeight::Normal);

// The name of the face and the size of lists, as the toolkit writes a font: "Inter 9".
// Empty where the desktop's own font is used.
wxString wxvNativeFontName();
