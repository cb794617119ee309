#pragma once

#include "textframe.h"

namespace vorlan {

// ReportFrame shows a text that the Master has sent, until it is closed.
// Owner: the toolkit. Thread: the GUI thread.
class ReportFrame : public TextFrame {
public:
    ReportFrame(wxWindow* parent, wxString const& title, wxString const& body);
};

} // namespace vorlan
