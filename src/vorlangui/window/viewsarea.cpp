#include "viewsarea.h"

#include "client/options.h"
#include "commands/ids.h"
#include "lists/enginelistctrl.h"
#include "lists/joblistctrl.h"
#include "lists/worklistctrl.h"
#include "mainwindow.h"

#include <algorithm>
#include <cmath>
#include <corekit/callentry.h>
#include <vorlan/vorlanapp.h>
#include <wx/intl.h>
#include <wx/menu.h>
#include <wx/sizer.h>
#include <wx/wxvpanel.h>
#include <wx/wxvsplitterwindow.h>

namespace vorlan {

namespace {

// The place of a view decides which ids its lists have, and which columns they remember.
constexpr int k_OverviewPosition = 0;
constexpr int k_EnginesPosition = 2;

constexpr int k_SmallestList = 50;
constexpr double k_WorkPart = 1.0 / 3;

// OverviewSplitter gives the work list its part of the height once there is a height.
// Owner: its parent window. Thread: the GUI thread.
class OverviewSplitter : public wxvSplitterWindow {
public:
    explicit OverviewSplitter(wxWindow* parent) : wxvSplitterWindow(parent) {
        SetMinimumPaneSize(FromDIP(k_SmallestList));
        SetSashGravity(k_WorkPart);
        Bind(wxEVT_SIZE, &OverviewSplitter::OnResize, this);
    }

private:
    void OnResize(wxSizeEvent& event) {
        // The splitter moves the sash with the size first.
        OnSize(event);
        int const height = GetClientSize().y;
        if (m_placed || height < 2 * GetMinimumPaneSize())
            return;
        m_placed = true;
        SetSashPosition(static_cast<int>(std::lround(height * k_WorkPart)));
    }

    bool m_placed = false;
};

void Fill(wxvPanel& page, wxWindow* item) {
    page.SetSizer(new wxBoxSizer(wxVERTICAL));
    page.GetSizer()->Add(item, wxSizerFlags(1).Expand());
}

void UpdateLists(wxWindow& window) {
    for (wxWindow* child : window.GetChildren())
        UpdateLists(*child);
    if (auto* const list = dynamic_cast<ListCtrlBase*>(&window))
        list->Update();
}

} // namespace

ViewsArea::ViewsArea(wxWindow* parent) : wxvNotebook(parent, k_Id, "ViewManager") {
    AddOverview();
    auto* engines = new wxvPanel(this);
    auto* list = new _EngineListCtrl(engines, k_EnginesPosition);
    Fill(*engines, list);
    AddView(engines, _("Engines"), list);
    unsigned const stored = k_OptionView.Get();
    SetSelection(std::min<size_t>(stored, GetPageCount() - 1));
    Bind(wxEVT_AUINOTEBOOK_PAGE_CHANGED, &ViewsArea::OnChangeView, this);
}

void ViewsArea::AddOverview() {
    auto* page = new wxvPanel(this);
    auto* splitter = new OverviewSplitter(page);
    auto* work = new _WorkListCtrl(splitter, k_OverviewPosition);
    splitter->SplitHorizontally(work, new _JobListCtrl(splitter, k_OverviewPosition));
    Fill(*page, splitter);
    AddView(page, _("Overview"), work);
}

void ViewsArea::AddView(wxvPanel* page, wxString const& name, ListCtrlBase* first) {
    m_first.push_back(first);
    AddPage(page, name);
}

void ViewsArea::AppendMenuViews(wxMenu& menu) const {
    for (size_t view = 0; view < GetPageCount(); ++view) {
        wxString const name = GetPageText(view);
        menu.AppendCheckItem(k_IdFirstView + static_cast<int>(view), name,
                             wxString::Format(_("Change the current view to the '%s' view tab"), name))
            ->Check(static_cast<int>(view) == std::max(GetSelection(), 0));
    }
}

void ViewsArea::ShowTab(int view) { SetSelection(std::min(static_cast<size_t>(view), GetPageCount() - 1)); }

void ViewsArea::OnChangeView(wxAuiNotebookEvent& event) {
    CALL_ENTRY();
    event.Skip();
    MainWindow* const window = MainWindow::Get();
    int const view = event.GetSelection();
    if (!window || !window->IsReady() || view < 0 || event.GetEventObject() != this)
        return;
    k_OptionView.Set(static_cast<unsigned>(view));
    window->MarkView(view);
    UpdateLists(*GetPage(static_cast<size_t>(view)));
    FocusFirstList();
}

void ViewsArea::FocusFirstList() {
    if (int const view = GetSelection(); view >= 0)
        m_first[static_cast<size_t>(view)]->SetFocus();
}

} // namespace vorlan
