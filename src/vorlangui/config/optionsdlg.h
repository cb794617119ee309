#pragma once

#include "dialogs/dialogrows.h"

#include <wx/wxvorlandlg.h>

namespace vorlan {

class RowPage;

// OptionsDlg edits this user's own options of the client.
// Owner: its caller's stack. Works with: the local options; RepeatFile, which keeps as
// many Jobs as is said here. Thread: the GUI thread.
class OptionsDlg : public wxVorlanDlg {
public:
    explicit OptionsDlg(wxWindow* parent);

    // Its page "General Options".
    RowPage& General() { return *m_general; }

    bool TransferDataToWindow() override;
    // False: something that was typed cannot be kept; the user has been told.
    bool TransferDataFromWindow() override;

private:
    void SaveOptions();

    FileValues m_values;
    RowPage* m_general = nullptr;
};

} // namespace vorlan
