#include "background.h"

#include "mainwindow.h"

#include <corekit/log.h>
#include <corekit/threadpool.h>
#include <exception>
#include <wx/app.h>
#include <wx/intl.h>
#include <wx/wxvmessagedlg.h>
#include <wx/wxvtext.h>

namespace vorlan {

void OnGuiThread(std::function<void(MainWindow&)> call) {
    wxTheApp->CallAfter([call = std::move(call)] {
        if (MainWindow* const window = MainWindow::Get(); window && !window->IsClosing())
            call(*window);
    });
}

void ShowError(wxString const& title, String const& text) {
    LogWarning(text);
    wxvMessageDlg::Tell(MainWindow::Get(), title, wxvText(text), MessageKind::Error);
}

void InBackground(wxString const& title, std::function<void()> work, std::function<void(MainWindow&)> done) {
    // A string of the toolkit's is not shared between threads.
    std::wstring const heading = title.ToStdWstring();
    bool const taken = ThreadPool::Queue([heading, work = std::move(work), done = std::move(done)] {
        try {
            work();
        } catch (std::exception const& exception) {
            OnGuiThread([heading, text = String(exception.what())](MainWindow&) { ShowError(heading, text); });
            return;
        }
        if (done)
            OnGuiThread(done);
    });
    if (!taken)
        LogWarning("The program is ending: " + wxvString(title) + " is left undone");
}

} // namespace vorlan
