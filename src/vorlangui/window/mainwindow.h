#pragma once

#include "client/mastersettings.h"
#include "commands/command.h"
#include "commands/customcommands.h"
#include "selecthistory.h"

#include <corekit/path.h>
#include <corekit/signal.h>
#include <set>
#include <vector>
#include <wx/wxvorlanframe.h>

class wxListEvent;
class wxMenuBar;
class wxSizer;
class wxTimerEvent;

namespace vorlan {

class InfoPane;
class MessagePane;
class ViewsArea;
class _EngineModeTimeout;
class _MainSplitter;
class wxVorlanToolbar;

// MainWindow is the one top-level frame of the client. Three panes take turns in it:
// the search for a Master, the views, and Engine Mode.
// Owner: the toolkit, from the start-up event to the end of OnClose.
// Works with: VorlanGui; MasterSettings, the client's copy of the Master's options;
// _SelectTimer, which tells what has been selected.
// Thread: the GUI thread; Master() on any.
// Always: what a command does stands in the file of its menu (menus/, system/), and uses
// what is public here. One list at a time holds a selection.
class MainWindow : public wxVorlanFrame, public CommandUser {
public:
    // What ShowView takes. Connecting shows the search too, but leaves Engine Mode.
    static constexpr int k_ViewSearching = 0;
    static constexpr int k_ViewConnecting = 1;
    static constexpr int k_ViewMain = 2;
    static constexpr int k_ViewEngineMode = 3;

    // `menus` lives as long as the program.
    MainWindow(wxString const& title, wxPoint const& position, wxSize const& size, std::span<CommandMenu const> menus);
    ~MainWindow() override;

    // Null before construction and after destruction.
    static MainWindow* Get() { return s_window; }
    // All parts are there. What its parts tell each other before that is of no account.
    bool IsReady() const { return m_ready; }
    // It has begun to close: it is told nothing any more.
    bool IsClosing() const { return m_closing; }

    // The toolkit is idle. Emitted after the window has done its own share.
    using Idle = Signal1<wxIdleEvent&, ThreadPolicy::SingleThreaded>;
    static Idle s_Idle;

    void ShowView(int view);
    // The pane that shows: k_ViewSearching, k_ViewMain or k_ViewEngineMode.
    int ShownView() const { return m_shown; }
    // Makes menu bar and toolbar anew. While a menu is open it waits for its end.
    void BuildMenus(bool connected);
    bool IsMenuOpen() const { return !m_openMenus.empty(); }
    // The menus have been made for a connection.
    bool HasMaster() const override { return m_menusConnected; }
    bool CanUse(CommandNeeds needs) const override;
    // The commands of Products that its menus hold at the moment.
    CustomCommands& Custom() { return m_custom; }
    // The text of the connection in the status bar.
    void ShowConnection(String const& text);
    // The counts of the lists, unless an open menu shows its help there.
    void UpdateStatusBar();

    void ClearData();
    // Asks the Master for everything.
    void RefreshData();

    // Reads Job files on a thread of the pool, one after the other. Their Jobs are sent
    // at once, or when the user has agreed. A file that is none is told of.
    void LoadJobFiles(std::vector<Path> const& files, bool immediate);
    void LoadJobFile(Path const& file, bool immediate) { LoadJobFiles({file}, immediate); }
    // Sends them, or asks first whether to.
    void TakeJobs(std::vector<boost::shared_ptr<Job>> const& jobs, bool immediate);

    InfoPane* Info() { return m_info; }
    // Null before the menus have been built.
    wxVorlanToolbar* Toolbar() const { return m_toolbar; }
    // Null when the window is closing.
    _EngineModeTimeout* IdleTimeout() const { return m_timeout; }
    // Null before the panes have been built.
    ViewsArea const* Views() const { return m_views; }
    // That tab is in front now: the View menu says so.
    void MarkView(int view);
    // The selection has come to rest; the end of the _SelectTimer's time.
    void OnDeselectTimeout(wxTimerEvent& event);
    // Takes the selection of the list that had one before this one. `list`: a window id.
    void ClearLastSelection(int list);

    MasterSettings& Master() { return m_master; }
    // A Distribution option; empty without a window.
    static String _GetMasterOption(String const& key);
    // Whose the new Jobs of this client are, as the Master wants it: the machine, the
    // user at the machine, or the user. Empty without a window.
    static String DefaultCreator();
    // This user may not do that.
    bool IsRestricted(String const& action) const override { return !m_administrator && m_master.Restricts(action); }
    bool IsAdministrator() const override { return m_administrator; }
    // Shows or hides what only administrators have.
    void SetAdministrator(bool administrator);
    // No client has run here before this one.
    bool IsFirstRun() const { return m_firstRun; }
    void SetFirstRun(bool firstRun) { m_firstRun = firstRun; }

    // Leaves Engine Mode, and looks for a Master anew.
    void OnConnect(wxCommandEvent& event);
    // Runs as just an Engine from now on.
    void OnEngineMode(wxCommandEvent& event);
    void StopEngineModeShutdownPipe();

    // Through what was selected before, and forth again; nothing at an end.
    void GoToFormerSelection() { GoTo(m_history.GoToFormer()); }
    void GoToLaterSelection() { GoTo(m_history.GoToLater()); }
    // The tab of the views, the last one at most. The keyboard goes to its list.
    void ShowTab(int view);
    // Each keeps its menu item in step; the first two remember it in the options.
    void ShowInfoPane(bool show);
    void ShowToolbar(bool show);
    void ShowStatusBar(bool show);

private:
    // One that stands in the bar.
    struct BuiltMenu {
        wxMenu* menu;
        CommandMenu const* table;
        size_t fixedItems; // what is behind them goes when the menu opens
    };

    // The client does not end in passing.
    bool ClosesOnEscape() const override { return false; }
    void BindCommands();
    void BindSelection();
    void AddMenu(wxMenuBar& bar, CommandMenu const& table);
    void AddTools(std::span<CommandRow const> rows);
    void FillMenu(BuiltMenu const& built);
    CommandRow const* FindCommandHere(int id) const;
    void OnCommand(wxCommandEvent& event);
    void OnUpdateCommand(wxUpdateUIEvent& event);
    // A number that stands in no table.
    void OnExtendedCommand(wxCommandEvent& event);
    // Checks the menu's item and sets the toolbar's button.
    void SetChecked(int id, bool checked);
    void BuildStatusBar();
    void DeclareAdministrator() const;
    void BuildPanes();
    void SetTitlebar();
    void NoteServing();

    void OnClose(wxCloseEvent& event);
    bool MayClose();
    void OnIdle(wxIdleEvent& event);
    void OnSysColorChange(wxSysColourChangedEvent& event);
    void OnMenuOpen(wxMenuEvent& event);
    void OnMenuClosed(wxMenuEvent& event);

    // What it showed is about to go.
    void ForgetSelection();
    void OnItemSelected(wxListEvent& event);
    void OnItemDeselected(wxListEvent& event);
    void OnSelectKey(wxKeyEvent& event);
    void OnRightClickCol(wxListEvent& event);
    void _PushSelect(int kind, int list, UID const& anchor);
    void GoTo(SelectHistoryEntry const* entry);
    void _UpdateSelect(InfoPane& pane, SelectHistoryEntry const& entry);
    // Shows it in the info pane. False: there is no such thing any more.
    static bool ShowSelected(InfoPane& pane, int kind, UID const& id);

    static MainWindow* s_window;

    MasterSettings& m_master;
    bool m_administrator = false;
    bool m_firstRun = false;

    _EngineModeTimeout* m_timeout = nullptr; // pushed on the window's event handlers
    wxVorlanToolbar* m_toolbar = nullptr;
    wxSizer* m_panes = nullptr;
    MessagePane* m_searching = nullptr;
    _MainSplitter* m_main = nullptr;
    ViewsArea* m_views = nullptr;
    InfoPane* m_info = nullptr;
    MessagePane* m_engineMode = nullptr;
    int m_shown = k_ViewSearching;
    bool m_ready = false;
    bool m_closing = false;

    std::span<CommandMenu const> const m_menus;
    std::vector<BuiltMenu> m_builtMenus;
    CustomCommands m_custom;
    std::set<wxMenu const*> m_openMenus;
    bool m_rebuildDue = false; // when the last of them has closed
    bool m_menusConnected = false;

    SelectHistory m_history;
    int m_lastList = 0; // with the selection; 0: none yet
};

// This user may not do that; nobody may without a window.
bool IsRestricted(String const& action);

} // namespace vorlan
