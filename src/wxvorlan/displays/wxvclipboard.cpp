#include <wx/clipbrd.h>
#include <wx/wxvclipboard.h>

bool wxCopyTextToClipboard(wxString const& text) {
    wxClipboardLocker const lock;
    return !!lock && wxTheClipboard->SetData(new wxTextDataObject(text));
}
