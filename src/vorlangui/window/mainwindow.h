#pragma once

#include "core/enginemode.h"
#include "mirror/mastersettings.h"

#include <corekit/string.h>
#include <wx/wxvorlanframe.h>

class wxSizer;

namespace vorlan {

class OverviewPane;
class MessagePane;

// MainWindow is the one top-level frame of the client. Three panes take turns in it:
// the search for a Master, the views, and Engine Mode.
// Owner: the toolkit, from the start-up event to the end of OnClose.
// Works with: VorlanGui; MasterSettings, the client's copy of the Master's options.
// Thread: the GUI thread; Master() on any.
// Always: the command methods live in the file of their menu.
class MainWindow : public wxVorlanFrame {
public:
    // What ShowView takes. Connecting shows the search too, but leaves Engine Mode.
    static constexpr int k_ViewSearching = 0;
    static constexpr int k_ViewConnecting = 1;
    static constexpr int k_ViewMain = 2;
    static constexpr int k_ViewEngineMode = 3;

    static constexpr int k_IdRebuildMenus = 17000;
    static constexpr int k_IdShowReport = 17001; // the event's text: title "|" body

    MainWindow(wxString const& title, wxPoint const& position, wxSize const& size);
    ~MainWindow() override;

    // Null before construction and after destruction.
    static MainWindow* Get() { return s_window; }

    void ShowView(int view);
    // The pane that shows: k_ViewSearching, k_ViewMain or k_ViewEngineMode.
    int ShownView() const { return m_shown; }
    void BuildMenus(bool connected);
    // The text of the connection in the status bar.
    void ShowConnection(String const& text);

    void ClearData();
    // Asks the Master for everything.
    void RefreshData();

    MasterSettings& Master() { return m_master; }
    // This user may not do that.
    bool IsRestricted(String const& action) const { return !m_administrator && m_master.Restricts(action); }
    bool IsAdministrator() const { return m_administrator; }
    // No client has run here before this one.
    bool IsFirstRun() const { return m_firstRun; }
    void SetFirstRun(bool firstRun) { m_firstRun = firstRun; }

    void OnConnect(wxCommandEvent& event);
    void OnRefresh(wxCommandEvent& event);
    void OnEngineMode(wxCommandEvent& event);
    void OnColorScheme(wxCommandEvent& event);
    void OnResetAllConfirmations(wxCommandEvent& event);
    void OnExit(wxCommandEvent& event);
    void OnAbout(wxCommandEvent& event);
    void StopEngineModeShutdownPipe();

private:
    friend class GuiTester;

    void BindCommands();
    void BuildStatusBar();
    void BuildPanes();
    void SetTitlebar();
    void NoteServing();

    void OnClose(wxCloseEvent& event);
    bool MayClose();
    void OnIdle(wxIdleEvent& event);
    void OnSysColorChange(wxSysColourChangedEvent& event);
    void OnMenuClosed(wxMenuEvent& event);
    void OnRebuildMenus(wxCommandEvent& event);
    void OnShowReport(wxCommandEvent& event);

    static MainWindow* s_window;

    MasterSettings& m_master;
    bool m_administrator = false;
    bool m_firstRun = false;

    _EngineModeTimeout* m_timeout = nullptr; // pushed on the window's event handlers
    wxSizer* m_panes = nullptr;
    MessagePane* m_searching = nullptr;
    OverviewPane* m_main = nullptr;
    MessagePane* m_engineMode = nullptr;
    int m_shown = k_ViewSearching;
};

} // namespace vorlan
