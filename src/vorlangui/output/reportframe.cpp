#include "reportframe.h"

#include <wx/wxtextlinectrl.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {
wxSize const k_ReportSize(720, 520);
}

ReportFrame::ReportFrame(wxWindow* parent, wxString const& title, wxString const& body)
    : TextFrame(parent, title, "Reports", k_ReportSize, wxDEFAULT_FRAME_STYLE | wxFRAME_FLOAT_ON_PARENT) {
    Text().AppendString(wxvString(body));
}

} // namespace vorlan
