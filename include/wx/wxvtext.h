#pragma once

// Texts between the system's String (UTF-8) and wxString.

#include <corekit/string.h>

#include <wx/string.h>

// Text that is no UTF-8 is read byte by byte, so that nothing of it is lost.
wxString wxvText(corekit::String const& text);
corekit::String wxvString(wxString const& text);

// A number with a comma before each three digits: "5,000,000".
wxString wxvGrouped(int64_t number);
