// The View menu: its commands and what they do.
#include "client/options.h"
#include "command.h"
#include "window/mainsplitter.h"
#include "window/mainwindow.h"
#include "window/toolbar.h"
#include "window/viewsarea.h"

#include <algorithm>
#include <corekit/callentry.h>
#include <map>
#include <vorlan/vorlanapp.h>
#include <wx/control.h>
#include <wx/intl.h>
#include <wx/menu.h>
#include <wx/statusbr.h>
#include <wx/textentry.h>
#include <wx/toplevel.h>
#include <wx/weakref.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

enum ViewId : int {
    k_IdInfoPane = 14101,
    k_IdToolbar = 14102,
    k_IdStatusBar = 14103,
    k_IdInfoPaneTool = 14104,
    k_IdSelectPrev = 14105,
    k_IdSelectNext = 14106,
    k_IdWindows = 14115,
};

bool IsInfoPaneShown() { return k_OptionInfoPane.Get(); }

constexpr CommandRow Check(int id, char const* label, char const* help, void (MainWindow::*handler)(wxCommandEvent&)) {
    CommandRow row{id, label, help, handler};
    row.check = true;
    return row;
}

constexpr CommandRow Step(int id, char const* label, char const* help, void (MainWindow::*handler)(wxCommandEvent&),
                          CommandNeeds needs, CommandTool tool) {
    CommandRow row{id, label, help, handler, needs};
    row.tool = tool;
    return row;
}

constexpr CommandRow ToolOnly(int id, void (MainWindow::*handler)(wxCommandEvent&), CommandTool tool) {
    CommandRow row{id, nullptr, nullptr, handler};
    row.tool = tool;
    return row;
}

constexpr CommandRow k_View[] = {
    Step(k_IdSelectPrev, "Select Previous\tCtrl+Left", "Move backward in the selection history",
         &MainWindow::OnSelectPrev, CommandNeeds::FormerSelection, {1, "Back", "Select Previous"}),
    Step(k_IdSelectNext, "Select Next\tCtrl+Right", "Move forward in the selection history", &MainWindow::OnSelectNext,
         CommandNeeds::LaterSelection, {2, "Forward", "Select Next"}),
    Check(k_IdInfoPane, "Info Pane\tAlt+0", "Shows or hides the Info panel", &MainWindow::OnViewInfoPane),
    ToolOnly(k_IdInfoPaneTool, &MainWindow::OnInfoPaneTool, {3, "Info", "Info Pane", true, &IsInfoPaneShown}),
    Check(k_IdToolbar, "Toolbar", "Shows or hides the toolbar", &MainWindow::OnViewToolBar),
    Check(k_IdStatusBar, "Status Bar", "Shows or hides the status bar", &MainWindow::OnViewStatusBar),
};

// WindowsMenu is the submenu of the open windows; a choice brings its window to the front.
// Owner: the View menu. Thread: the GUI thread.
class WindowsMenu : public wxMenu {
public:
    WindowsMenu() { Bind(wxEVT_MENU, &WindowsMenu::OnChoice, this); }

    // With those that are open now, but for this one.
    void Fill(wxWindow const& except) {
        while (GetMenuItemCount() != 0)
            Destroy(FindItemByPosition(0));
        m_targets.clear();
        for (wxWindow* const open : wxTopLevelWindows) {
            if (open != &except && open->IsShown() && !open->GetLabel().empty())
                m_targets[Append(wxID_ANY, wxControl::EscapeMnemonics(open->GetLabel()))->GetId()] = open;
        }
    }

private:
    void OnChoice(wxCommandEvent& event) {
        event.Skip();
        auto const found = m_targets.find(event.GetId());
        if (found != m_targets.end() && found->second)
            found->second->Raise();
    }

    std::map<int, wxWeakRef<wxWindow>> m_targets; // by the ids of their items
};

} // namespace

std::span<CommandRow const> ViewCommands() { return k_View; }

void BuildViewMenu(wxMenuBar& bar, MainWindow const& window, bool connected) {
    auto* menu = new wxMenu;
    AppendCommands(*menu, window, ViewCommands(), connected);
    menu->Check(k_IdInfoPane, k_OptionInfoPane.Get());
    menu->Check(k_IdToolbar, k_OptionToolbar.Get());
    wxStatusBar const* const statusBar = window.GetStatusBar();
    menu->Check(k_IdStatusBar, statusBar ? statusBar->IsShown() : k_OptionStatusBar.Get());
    menu->AppendSeparator();
    menu->Append(k_IdWindows, _("Windows"), new WindowsMenu, _("The open windows"));
    menu->Enable(k_IdWindows, false);
    if (connected && window.Views())
        window.Views()->InsertMenuViews(*menu);
    bar.Append(menu, _("&View"));
}

void FillWindowsMenu(wxMenu& menu, MainWindow const& window) {
    wxMenuItem* const item = menu.FindItem(k_IdWindows);
    auto* const windows = item ? dynamic_cast<WindowsMenu*>(item->GetSubMenu()) : nullptr;
    if (!windows)
        return;
    windows->Fill(window);
    item->Enable(windows->GetMenuItemCount() != 0);
}

void MainWindow::OnViewChange(wxCommandEvent& event) {
    m_views->ShowViewOf(event.GetId());
    // The tab that was in front already: its item has lost its mark by the choice.
    MarkView(m_views->GetSelection());
    m_views->FocusFirstList();
}

void MainWindow::MarkView(int view) {
    wxMenuBar* const bar = GetMenuBar();
    for (int id = ViewsArea::k_FirstMenuId; bar && bar->FindItem(id); ++id)
        bar->Check(id, id == ViewsArea::k_FirstMenuId + view);
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
    if (!CanUse(back ? CommandNeeds::FormerSelection : CommandNeeds::LaterSelection))
        return;
    wxCommandEvent command(wxEVT_MENU, back ? k_IdSelectPrev : k_IdSelectNext);
    command.SetEventObject(this);
    HandleWindowEvent(command);
}

void MainWindow::ShowInfoPane(bool show) {
    k_OptionInfoPane.Set(show);
    m_main->ShowInfo(show);
    SetChecked(k_IdInfoPane, show);
    SetChecked(k_IdInfoPaneTool, show);
}

void MainWindow::OnViewInfoPane(wxCommandEvent& event) { ShowInfoPane(event.IsChecked()); }

void MainWindow::OnInfoPaneTool(wxCommandEvent& event) { ShowInfoPane(event.IsChecked()); }

void MainWindow::OnCloseInfo() { ShowInfoPane(false); }

void MainWindow::OnViewToolBar(wxCommandEvent& event) {
    k_OptionToolbar.Set(event.IsChecked());
    m_toolbar->Show(event.IsChecked());
    Layout();
}

void MainWindow::OnViewStatusBar(wxCommandEvent& event) {
    GetStatusBar()->Show(event.IsChecked());
    SendSizeEvent();
}

} // namespace vorlan
