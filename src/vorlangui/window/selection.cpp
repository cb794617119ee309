// What MainWindow does when rows of its lists are selected: the info pane follows, and
// the history remembers.
#include "commands/ids.h"
#include "infopane.h"
#include "lists/listctrlbase.h"
#include "mainwindow.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"
#include "selecttimer.h"

#include <corekit/callentry.h>
#include <wx/listctrl.h>
#include <wx/textentry.h>

namespace vorlan {

namespace {

// Null if there is no such list any more.
ListCtrlBase* FindList(MainWindow const& window, int id) {
    return id == 0 ? nullptr : dynamic_cast<ListCtrlBase*>(window.FindWindow(id));
}

} // namespace

void MainWindow::BindSelection() {
    Bind(wxEVT_LIST_ITEM_SELECTED, &MainWindow::OnItemSelected, this);
    Bind(wxEVT_LIST_ITEM_DESELECTED, &MainWindow::OnItemDeselected, this);
    Bind(wxEVT_TIMER, &MainWindow::OnDeselectTimeout, this);
    Bind(wxEVT_CHAR_HOOK, &MainWindow::OnSelectKey, this);
}

void MainWindow::OnItemSelected(wxListEvent& event) {
    event.Skip();
    if (dynamic_cast<ListCtrlBase*>(event.GetEventObject()))
        _SelectTimer::Start(*this, event, true);
}

void MainWindow::OnItemDeselected(wxListEvent& event) {
    event.Skip();
    if (dynamic_cast<ListCtrlBase*>(event.GetEventObject()))
        _SelectTimer::Start(*this, event, false);
}

void MainWindow::ClearLastSelection(int list) {
    if (m_lastList != 0 && m_lastList != list) {
        if (ListCtrlBase* const former = FindList(*this, m_lastList))
            former->SetSelectedIDs({}, UID::Null);
    }
    m_lastList = list;
}

void MainWindow::OnDeselectTimeout(wxTimerEvent&) {
    CALL_ENTRY();
    if (m_shown != k_ViewMain)
        return;
    int const listID = _SelectTimer::Pending().List();
    ClearLastSelection(listID);
    ListCtrlBase* const list = FindList(*this, listID);
    if (list && m_info) {
        UID const id =
            _SelectTimer::Pending().Last([list](UID const& each) { return list->IsRowSelected(list->GetRowOf(each)); });
        int const kind = id.IsNull() ? k_ListOfNothing : ListKind(listID);
        if (!ShowSelected(*m_info, kind, id))
            m_info->SetToNone();
        _PushSelect(kind, list->GetId(), id);
        list->SetFocus();
    }
    _SelectTimer::Reset();
    // The toolkit asks when a menu opens, but a key must not find its command off.
    DoMenuUpdates();
}

void MainWindow::_PushSelect(int kind, int list, UID const& anchor) {
    ListCtrlBase const* const control = FindList(*this, list);
    m_history.Push(kind, list, anchor, control ? control->GetSelectedIDs() : std::set<UID>());
}

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
    CALL_ENTRY();
    if (!entry)
        return;
    ClearLastSelection(entry->list);
    if (ListCtrlBase* const list = FindList(*this, entry->list))
        list->SetSelectedIDs(entry->Selected(), entry->anchor);
    if (m_info)
        _UpdateSelect(*m_info, *entry);
    DoMenuUpdates();
}

void MainWindow::_UpdateSelect(InfoPane& pane, SelectHistoryEntry const& entry) {
    ListCtrlBase const* const list = FindList(*this, entry.list);
    int const row = list ? list->GetRowOf(entry.anchor) : -1;
    // What is there no more leaves the pane as it is.
    if (row != -1)
        ShowSelected(pane, entry.kind, list->GetRowID(row));
}

// A window that scrolls takes these keys for itself before the menu gets them.
void MainWindow::OnSelectKey(wxKeyEvent& event) {
    int const key = event.GetKeyCode();
    bool const back = key == WXK_LEFT || key == WXK_NUMPAD_LEFT;
    bool const forth = key == WXK_RIGHT || key == WXK_NUMPAD_RIGHT;
    if (event.GetModifiers() != wxMOD_CONTROL || !(back || forth) || dynamic_cast<wxTextEntry*>(FindFocus())) {
        event.Skip();
        return;
    }
    wxCommandEvent command(wxEVT_MENU, back ? k_IdSelectPrev : k_IdSelectNext);
    command.SetEventObject(this);
    HandleWindowEvent(command);
}

} // namespace vorlan
