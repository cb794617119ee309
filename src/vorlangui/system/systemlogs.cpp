// The commands that show this program's own log.
#include "output/logframe.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <corekit/log.h>
#include <wx/intl.h>

namespace vorlan {

void MainWindow::OnViewGuiHistoryLog(wxCommandEvent&) {
    Path const file = Log::FileName();
    if (file.Empty()) {
        ShowError(_("Log Files"), "This program writes no log: its folder could not be written when it started.");
        return;
    }
    Log::Flush();
    (new LogFrame(this, _("VorlanGui History.log"), file))->Show();
}

} // namespace vorlan
