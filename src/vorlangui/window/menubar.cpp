// What MainWindow does with the tables of commands: menu bar, toolbar, which commands can
// be used now, and the way from a number to its function.
#include "client/farmclient.h"
#include "client/options.h"
#include "commands/ids.h"
#include "mainsplitter.h"
#include "mainwindow.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"
#include "outside/outside.h"
#include "toolbar.h"
#include "viewsarea.h"
#include <vorlan/vorlanapp.h>
#include <wx/wxtoolbarbutton.h>

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <wx/intl.h>
#include <wx/listbase.h>
#include <wx/menu.h>
#include <wx/statusbr.h>
#include <wx/wupdlock.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

// Calls `test` with the ids that are selected, list by list, until it is true.
template <class Lists, class Test>
bool AnySelected(Lists& lists, Test const& test) {
    bool any = false;
    lists.Operate([&](ListView& view) { any = any || test(view); });
    return any;
}

bool HasRowsSelected(ListView& view) { return view.HasSelection(); }

bool HasOfflineSelected(ListView& view) {
    return std::ranges::any_of(view.GetSelectedIDs(), [](UID const& id) {
        boost::shared_ptr<EngineInfo> const engine = EngineList::Get().FindEngine(id);
        return engine && !engine->Online();
    });
}

} // namespace

void MainWindow::BindCommands() {
    Bind(wxEVT_MENU, &MainWindow::OnCommand, this);
    Bind(wxEVT_UPDATE_UI, &MainWindow::OnUpdateCommand, this);
    Bind(wxEVT_MENU_OPEN, &MainWindow::OnMenuOpen, this);
    Bind(wxEVT_MENU_CLOSE, &MainWindow::OnMenuClosed, this);
    Bind(wxEVT_LIST_COL_RIGHT_CLICK, &MainWindow::OnRightClickCol, this);
    Bind(wxEVT_CLOSE_WINDOW, &MainWindow::OnClose, this);
    Bind(wxEVT_IDLE, &MainWindow::OnIdle, this);
    Bind(wxEVT_SYS_COLOUR_CHANGED, &MainWindow::OnSysColorChange, this);
    BindSelection();
}

CommandRow const* MainWindow::FindCommandHere(int id) const {
    for (CommandMenu const& table : m_menus) {
        if (CommandRow const* const row = FindCommand(table.rows, *this, id))
            return row;
    }
    return nullptr;
}

// Whoever sends the number: what this user may not do, or cannot do now, is not done.
void MainWindow::OnCommand(wxCommandEvent& event) {
    CALL_ENTRY();
    CommandRow const* const row = FindCommandHere(event.GetId());
    if (row && row->run) {
        if (CanUse(row->needs))
            row->run(*this, event);
    } else if (IsFixedCommandId(event.GetId())) {
        event.Skip();
    } else {
        OnExtendedCommand(event);
    }
}

void MainWindow::OnExtendedCommand(wxCommandEvent& event) {
    if (CustomCommand const* const command = m_custom.Find(event.GetId()))
        command->send(*this, *command);
    else
        LogWarning(SFormat("Could not find custom command for ID %d", event.GetId()));
}

void MainWindow::OnUpdateCommand(wxUpdateUIEvent& event) {
    CommandRow const* const row = event.GetId() > 0 ? FindCommandHere(event.GetId()) : nullptr;
    if (row && row->run)
        event.Enable(CanUse(row->needs) && (!row->hasEffect || row->hasEffect(event.GetId())));
    else
        event.Skip();
}

bool MainWindow::CanUse(CommandNeeds needs) const {
    switch (needs) {
    case CommandNeeds::Nothing:
        return true;
    case CommandNeeds::Connection:
        return m_menusConnected;
    case CommandNeeds::JobSelected:
        return JobList::Get().AnyJobSelected();
    case CommandNeeds::EngineSelected:
        return AnySelected(EngineList::Get().Lists(), &HasRowsSelected);
    case CommandNeeds::OfflineEngineSelected:
        return AnySelected(EngineList::Get().Lists(), &HasOfflineSelected);
    case CommandNeeds::WorkSelected:
        return AnySelected(WorkList::Get().Lists(), &HasRowsSelected);
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
    m_builtMenus.clear();
    m_custom.Clear();
    while (bar->GetMenuCount() != 0)
        delete bar->Remove(0);
    for (CommandMenu const& table : m_menus) {
        if (table.title && (connected || !table.needsMaster))
            AddMenu(*bar, table);
    }
    if (first)
        SetMenuBar(bar);
    for (CommandMenu const& table : m_menus)
        AddTools(table.rows);
    m_toolbar->Layout();
    UpdateWindowUI(wxUPDATE_UI_RECURSE);
    Layout();
}

void MainWindow::AddMenu(wxMenuBar& bar, CommandMenu const& table) {
    auto* menu = new wxMenu;
    if (table.begin)
        table.begin(*menu, *this);
    AppendCommands(*menu, *this, table.rows);
    m_builtMenus.push_back({menu, &table, menu->GetMenuItemCount()});
    bar.Append(menu, wxGetTranslation(table.title));
}

void MainWindow::AddTools(std::span<CommandRow const> rows) {
    m_toolbar->StartGroup();
    for (CommandRow const* row : ToolbarCommands(*this, rows)) {
        wxToolbarButton* const button =
            m_toolbar->AddButton(row->id, row->tool.icon, wxGetTranslation(row->tool.tooltip), row->tool.toggles);
        button->Enable(CanUse(row->needs));
        button->SetToggled(row->tool.toggles && row->isOn && row->isOn(row->id));
    }
}

void MainWindow::FillMenu(BuiltMenu const& built) {
    TrimMenu(*built.menu, built.fixedItems);
    if (built.table->open)
        built.table->open(*built.menu, *this);
    for (CommandRow const& row : built.table->rows) {
        wxMenuItem* const item = row.fill ? built.menu->FindItem(row.id) : nullptr;
        if (!item)
            continue;
        TrimMenu(*item->GetSubMenu(), 0);
        row.fill(*item->GetSubMenu(), *this);
        item->Enable(item->GetSubMenu()->GetMenuItemCount() != 0);
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
    for (BuiltMenu const& built : m_builtMenus) {
        if (built.menu == event.GetMenu())
            FillMenu(built);
    }
}

void MainWindow::OnMenuClosed(wxMenuEvent& event) {
    event.Skip();
    m_openMenus.erase(event.GetMenu());
    // The choice that has closed the menu is still to come.
    if (m_openMenus.empty() && m_rebuildDue)
        CallAfter([this] { BuildMenus(Outside::Get().IsConnected()); });
    UpdateStatusBar();
}

void MainWindow::ShowTab(int view) {
    m_views->ShowTab(view);
    // The tab that was in front already: its item has lost its mark by the choice.
    MarkView(m_views->GetSelection());
    m_views->FocusFirstList();
}

void MainWindow::MarkView(int view) {
    wxMenuBar* const bar = GetMenuBar();
    for (int id = k_IdFirstView; bar && bar->FindItem(id); ++id)
        bar->Check(id, id == k_IdFirstView + view);
}

void MainWindow::ShowInfoPane(bool show) {
    k_OptionInfoPane.Set(show);
    m_main->ShowInfo(show);
    SetChecked(k_IdInfoPane, show);
    SetChecked(k_IdInfoPaneTool, show);
}

void MainWindow::ShowToolbar(bool show) {
    k_OptionToolbar.Set(show);
    m_toolbar->Show(show);
    Layout();
}

void MainWindow::ShowStatusBar(bool show) {
    GetStatusBar()->Show(show);
    SendSizeEvent();
}

void MainWindow::UpdateStatusBar() {
    if (GetStatusBar() && !IsMenuOpen())
        SetStatusText(wxvText(FarmClient::Get()->StatusText()), 0);
}

} // namespace vorlan
