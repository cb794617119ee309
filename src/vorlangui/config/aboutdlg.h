#pragma once

#include <corekit/string.h>
#include <corekit/time.h>
#include <wx/wxvorlandlg.h>

#include <vector>

namespace vorlan {

// AboutDlg says what this program is and what it is connected to.
// Owner: its caller's stack. Thread: the GUI thread.
class AboutDlg : public wxVorlanDlg {
public:
    explicit AboutDlg(wxWindow* parent);

private:
    struct Row {
        wxString label;
        wxString value;
    };
    static std::vector<Row> ConnectionRows();
};

} // namespace vorlan
