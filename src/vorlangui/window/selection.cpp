// What MainWindow does when rows of its lists are selected: the info pane follows, and
// the history remembers.
#include "infopane.h"
#include "mainwindow.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"
#include "selecttimer.h"

#include <corekit/callentry.h>
#include <wx/listctrl.h>

namespace vorlan {

void MainWindow::BindSelection() {
    Bind(wxEVT_LIST_ITEM_SELECTED, &MainWindow::OnItemSelected, this);
    Bind(wxEVT_LIST_ITEM_DESELECTED, &MainWindow::OnItemDeselected, this);
    Bind(wxEVT_TIMER, &MainWindow::OnDeselectTimeout, this);
}

void MainWindow::OnItemSelected(wxListEvent& event) {
    event.Skip();
    _SelectTimer::Start(*this, event, true);
}

void MainWindow::OnItemDeselected(wxListEvent& event) {
    event.Skip();
    _SelectTimer::Start(*this, event, false);
}

void MainWindow::OnDeselectTimeout(wxTimerEvent&) { _SelectTimer::Reset(); }

bool MainWindow::ShowSelected(InfoPane& pane, int kind, UID const& id) {
    switch (kind) {
    case k_ListOfEngines:
        if (boost::shared_ptr<EngineInfo> const engine = EngineList::Get().FindEngine(id)) {
            pane.SetToEngine(engine);
            return true;
        }
        return false;
    case k_ListOfJobs:
        if (boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id)) {
            pane.SetToJob(info);
            return true;
        }
        return false;
    case k_ListOfWork:
        if (boost::shared_ptr<WorkInfo> const work = WorkList::Get().FindWork(id)) {
            pane.SetToWork(work);
            return true;
        }
        return false;
    default:
        return false;
    }
}

void MainWindow::GoTo(SelectHistoryEntry const* entry) {
    if (entry && m_info)
        _UpdateSelect(*m_info, *entry);
}

void MainWindow::_UpdateSelect(InfoPane& pane, SelectHistoryEntry const& entry) {
    ShowSelected(pane, entry.kind, entry.anchor);
}

void MainWindow::OnSelectPrev(wxCommandEvent&) {
    CALL_ENTRY();
    GoTo(m_history.GoToFormer());
}

void MainWindow::OnSelectNext(wxCommandEvent&) {
    CALL_ENTRY();
    GoTo(m_history.GoToLater());
}

} // namespace vorlan
