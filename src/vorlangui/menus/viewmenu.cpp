// The View menu: its commands and what they do.
#include "client/options.h"
#include "commands/ids.h"
#include "menus.h"
#include "window/mainwindow.h"
#include "window/viewsarea.h"

#include <vector>
#include <vorlan/vorlanapp.h>
#include <wx/control.h>
#include <wx/intl.h>
#include <wx/menu.h>
#include <wx/statusbr.h>
#include <wx/toplevel.h>
#include <wx/weakref.h>

namespace vorlan {

namespace {

bool IsInfoPaneShown(int) { return k_OptionInfoPane.Get(); }
bool IsToolbarShown(int) { return k_OptionToolbar.Get(); }
// Only the next start reads the option.
bool IsStatusBarShown(int) {
    wxStatusBar const* const bar = MainWindow::Get()->GetStatusBar();
    return bar ? bar->IsShown() : k_OptionStatusBar.Get();
}

void OnViewChange(MainWindow& window, wxCommandEvent& event) { window.ShowTab(event.GetId() - k_IdFirstView); }
void OnSelectPrev(MainWindow& window, wxCommandEvent&) { window.GoToFormerSelection(); }
void OnSelectNext(MainWindow& window, wxCommandEvent&) { window.GoToLaterSelection(); }
void OnViewInfoPane(MainWindow& window, wxCommandEvent& event) { window.ShowInfoPane(event.IsChecked()); }
void OnInfoPaneTool(MainWindow& window, wxCommandEvent& event) { window.ShowInfoPane(event.IsChecked()); }
void OnViewToolBar(MainWindow& window, wxCommandEvent& event) { window.ShowToolbar(event.IsChecked()); }
void OnViewStatusBar(MainWindow& window, wxCommandEvent& event) { window.ShowStatusBar(event.IsChecked()); }

// Those of the submenu, by their numbers; some may have been closed since.
std::vector<wxWeakRef<wxWindow>>& ListedWindows() {
    static std::vector<wxWeakRef<wxWindow>> s_windows;
    return s_windows;
}

void FillWindowsMenu(wxMenu& menu, MainWindow& window) {
    auto& listed = ListedWindows();
    listed.clear();
    for (wxWindow* const open : wxTopLevelWindows) {
        int const id = k_IdFirstWindow + static_cast<int>(listed.size());
        if (open == &window || !open->IsShown() || open->GetLabel().empty() || id > k_IdLastWindow)
            continue;
        menu.Append(id, wxControl::EscapeMnemonics(open->GetLabel()));
        listed.emplace_back(open);
    }
}

void OnRaiseWindow(MainWindow&, wxCommandEvent& event) {
    auto const index = static_cast<size_t>(event.GetId() - k_IdFirstWindow);
    if (index < ListedWindows().size() && ListedWindows()[index])
        ListedWindows()[index]->Raise();
}

constexpr CommandRow k_View[] = {
    k_CommandLine,
    {.id = k_IdSelectPrev,
     .label = "Select Previous\tCtrl+Left",
     .help = "Move backward in the selection history",
     .run = &OnSelectPrev,
     .needs = CommandNeeds::FormerSelection,
     .tool = {1, "Back", "Select Previous"}},
    {.id = k_IdSelectNext,
     .label = "Select Next\tCtrl+Right",
     .help = "Move forward in the selection history",
     .run = &OnSelectNext,
     .needs = CommandNeeds::LaterSelection,
     .tool = {2, "Forward", "Select Next"}},
    {.id = k_IdInfoPane,
     .label = "Info Pane\tAlt+0",
     .help = "Shows or hides the Info panel",
     .run = &OnViewInfoPane,
     .kind = CommandKind::Check,
     .isOn = &IsInfoPaneShown},
    {.id = k_IdInfoPaneTool, .run = &OnInfoPaneTool, .isOn = &IsInfoPaneShown, .tool = {3, "Info", "Info Pane", true}},
    {.id = k_IdToolbar,
     .label = "Toolbar",
     .help = "Shows or hides the toolbar",
     .run = &OnViewToolBar,
     .kind = CommandKind::Check,
     .isOn = &IsToolbarShown},
    {.id = k_IdStatusBar,
     .label = "Status Bar",
     .help = "Shows or hides the status bar",
     .run = &OnViewStatusBar,
     .kind = CommandKind::Check,
     .isOn = &IsStatusBarShown},
    k_CommandLine,
    {.id = k_IdWindows, .label = "Windows", .help = "The open windows", .fill = &FillWindowsMenu},
    // Their items stand where the menu begins, and in the submenu.
    {.id = k_IdFirstView, .lastId = k_IdLastView, .run = &OnViewChange},
    {.id = k_IdFirstWindow, .lastId = k_IdLastWindow, .run = &OnRaiseWindow},
};

} // namespace

std::span<CommandRow const> ViewCommands() { return k_View; }

void BeginViewMenu(wxMenu& menu, MainWindow& window) {
    if (window.HasMaster() && window.Views())
        window.Views()->AppendMenuViews(menu);
}

} // namespace vorlan
