#pragma once

// Text for the system's clipboard.

#include <wx/string.h>

// False when the clipboard cannot be had now. GUI thread.
bool wxCopyTextToClipboard(wxString const& text);
