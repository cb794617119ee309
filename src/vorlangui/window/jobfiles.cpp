// What MainWindow does with Job files: reads them off the GUI thread, and submits their
// Jobs.
#include "background.h"
#include "mainwindow.h"
#include "outside/outside.h"

#include <boost/make_shared.hpp>
#include <corekit/callentry.h>
#include <corekit/exception.h>
#include <corekit/log.h>
#include <corekit/threadpool.h>
#include <vorlan/jobfile.h>
#include <vorlan/messages.h>
#include <wx/intl.h>
#include <wx/wxvmessagedlg.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

constexpr size_t k_MostNames = 12;

struct LoadedFile {
    std::vector<boost::shared_ptr<Job>> jobs;
    String failure; // empty: there was none
};

LoadedFile Load(Path const& path) {
    LoadedFile loaded;
    try {
        JobFile const file(path, true, false);
        if (String const warning = file.CheckNames(); !warning.Empty())
            LogWarning(warning);
        loaded.jobs = file.Jobs();
    } catch (Exception const& exception) {
        loaded.failure = exception.what();
    }
    return loaded;
}

wxString NamesOf(std::vector<boost::shared_ptr<Job>> const& jobs) {
    wxString names;
    for (size_t i = 0; i < jobs.size() && i < k_MostNames; ++i)
        names += wxvText(jobs[i]->Name()) + "\n";
    if (jobs.size() > k_MostNames)
        names += wxString::Format(_("and %zu more"), jobs.size() - k_MostNames);
    return names;
}

} // namespace

void MainWindow::LoadJobFiles(std::vector<Path> const& files, bool immediate) {
    CALL_ENTRY();
    if (!files.empty() && !Outside::Get().IsConnected()) {
        // Not now: the program that the files come from waits for the end of the drop.
        OnGuiThread([](MainWindow&) {
            ShowError(_("Submit"), "There is no connection to the Master: no Job was submitted. "
                                   "Wait until the client is connected, then take the files again.");
        });
        return;
    }
    for (Path const& file : files) {
        auto const read = [file, immediate] {
            CALL_ENTRY_NAMED("Load Job file");
            auto const loaded = boost::make_shared<LoadedFile>(Load(file));
            OnGuiThread([file, immediate, loaded](MainWindow& window) {
                if (loaded->failure.Empty())
                    window.TakeJobs(loaded->jobs, immediate);
                else
                    ShowError(wxvText(file.Leaf()), loaded->failure);
            });
        };
        ThreadPool::ThrottleQueue(read, "LoadJobFile", UID(true));
    }
}

void MainWindow::TakeJobs(std::vector<boost::shared_ptr<Job>> const& jobs, bool immediate) {
    CALL_ENTRY();
    if (jobs.empty())
        return;
    if (!immediate) {
        wxvMessageDlg question(this, _("Submit"), wxPLURAL("Submit this Job?", "Submit these Jobs?", jobs.size()),
                               MessageKind::Question, NamesOf(jobs), _("Submit"));
        if (question.ShowModal() != wxID_OK)
            return;
    }
    for (boost::shared_ptr<Job> const& job : jobs)
        SendToMaster(JobMsg::Create(job));
}

} // namespace vorlan
