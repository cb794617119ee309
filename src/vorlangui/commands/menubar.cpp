// What MainWindow does with the tables of commands: menu bar, toolbar, and the rules of
// what can be used now.
#include "client/options.h"
#include "command.h"
#include "core/vorlangui.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"
#include "output/reportframe.h"
#include "outside/outside.h"
#include "window/buttonsection.h"
#include "window/mainwindow.h"
#include "window/toolbar.h"
#include "window/viewsarea.h"
#include <wx/wxtoolbarbutton.h>

#include <corekit/callentry.h>
#include <wx/listbase.h>
#include <wx/menu.h>
#include <wx/wupdlock.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

template <class Lists>
bool AnySelected(Lists& lists) {
    bool any = false;
    lists.Operate([&any](ListView& view) { any = any || view.HasSelection(); });
    return any;
}

} // namespace

void MainWindow::BindCommands() {
    for (auto const rows : {SystemCommands(), ViewCommands(), HelpCommands()})
        BindRows(rows);
    Bind(wxEVT_MENU, &MainWindow::OnViewChange, this, ViewsArea::k_FirstMenuId, ViewsArea::k_LastMenuId);
    Bind(wxEVT_MENU, &MainWindow::OnRebuildMenus, this, k_IdRebuildMenus);
    Bind(wxEVT_MENU, &MainWindow::OnShowReport, this, k_IdShowReport);
    Bind(wxEVT_MENU_OPEN, &MainWindow::OnMenuOpen, this);
    Bind(wxEVT_MENU_CLOSE, &MainWindow::OnMenuClosed, this);
    Bind(wxEVT_LIST_COL_RIGHT_CLICK, &MainWindow::OnRightClickCol, this);
    Bind(wxEVT_CLOSE_WINDOW, &MainWindow::OnClose, this);
    Bind(wxEVT_IDLE, &MainWindow::OnIdle, this);
    Bind(wxEVT_SYS_COLOUR_CHANGED, &MainWindow::OnSysColorChange, this);
    BindSelection();
}

void MainWindow::BindRows(std::span<CommandRow const> rows) {
    for (CommandRow const& row : rows) {
        if (row.handler)
            Bind(wxEVT_MENU, row.handler, this, row.id);
        if (row.needs != CommandNeeds::Nothing)
            Bind(
                wxEVT_UPDATE_UI, [this, needs = row.needs](wxUpdateUIEvent& event) { event.Enable(CanUse(needs)); },
                row.id);
        BindRows(row.items);
    }
}

bool MainWindow::CanUse(CommandNeeds needs) {
    switch (needs) {
    case CommandNeeds::Nothing:
        return true;
    case CommandNeeds::Connection:
        return m_menusConnected;
    case CommandNeeds::JobSelected:
        return JobList::Get().AnyJobSelected();
    case CommandNeeds::EngineSelected:
        return AnySelected(EngineList::Get().Lists());
    case CommandNeeds::WorkSelected:
        return AnySelected(WorkList::Get().Lists());
    case CommandNeeds::FormerSelection:
        return m_info && m_history.HasFormer();
    case CommandNeeds::LaterSelection:
        return m_history.HasLater();
    }
    return false;
}

void MainWindow::BuildMenus(bool connected) {
    CALL_ENTRY();
    m_menusConnected = connected;
    if (!m_openMenus.empty()) {
        m_rebuildDue = true;
        return;
    }
    m_rebuildDue = false;
    wxWindowUpdateLocker const freeze(this);
    if (!m_toolbar)
        m_toolbar = new wxVorlanToolbar(this);
    m_toolbar->Reset();
    wxMenuBar* bar = GetMenuBar();
    bool const first = !bar;
    if (first)
        bar = new wxMenuBar;
    while (bar->GetMenuCount() != 0)
        delete bar->Remove(0);
    BuildSystemMenu(*bar, *this, connected);
    BuildViewMenu(*bar, *this, connected);
    BuildHelpMenu(*bar, *this, connected);
    if (first)
        SetMenuBar(bar);
    for (auto const rows : {SystemCommands(), ViewCommands(), HelpCommands()})
        AddTools(rows);
    m_toolbar->Layout();
    UpdateWindowUI(wxUPDATE_UI_RECURSE);
    Layout();
}

void MainWindow::AddTools(std::span<CommandRow const> rows) {
    m_toolbar->StartGroup();
    for (CommandRow const* row : ToolbarCommands(*this, rows)) {
        wxToolbarButton* const button =
            m_toolbar->AddButton(row->id, row->tool.icon, wxGetTranslation(row->tool.tooltip), row->tool.toggles);
        button->Enable(CanUse(row->needs));
        button->SetToggled(row->tool.isOn && row->tool.isOn());
    }
}

void MainWindow::SetChecked(int id, bool checked) {
    if (wxMenuBar* const bar = GetMenuBar(); bar && bar->FindItem(id))
        bar->Check(id, checked);
    if (wxToolbarButton* const button = m_toolbar ? m_toolbar->Find(id) : nullptr)
        button->SetToggled(checked);
}

void MainWindow::OnMenuOpen(wxMenuEvent& event) {
    event.Skip();
    m_openMenus.insert(event.GetMenu());
    if (event.GetMenu())
        FillWindowsMenu(*event.GetMenu(), *this);
}

void MainWindow::OnMenuClosed(wxMenuEvent& event) {
    event.Skip();
    m_openMenus.erase(event.GetMenu());
    // The choice that has closed the menu is still to come.
    if (m_openMenus.empty() && m_rebuildDue)
        CallAfter([this] { BuildMenus(Outside::Get().IsConnected()); });
    if (VorlanGui* const gui = VorlanGui::Get())
        gui->UpdateStatusBar();
}

void MainWindow::OnRebuildMenus(wxCommandEvent&) { BuildMenus(Outside::Get().IsConnected()); }

void MainWindow::OnShowReport(wxCommandEvent& event) {
    wxString const text = event.GetString();
    (new ReportFrame(this, text.BeforeFirst('|'), text.AfterFirst('|')))->Show();
}

} // namespace vorlan
