#include "mainwindow.h"

#include "client/farmclient.h"
#include "client/options.h"
#include "confirmclose.h"
#include "droptarget.h"
#include "enginemode.h"
#include "infopane.h"
#include "mainsplitter.h"
#include "messagepane.h"
#include "outside/outside.h"
#include "refusals.h"
#include "selecttimer.h"
#include "toolbar.h"
#include "viewsarea.h"
#include "windowicon.h"

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <corekit/platform.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>
#include <vorlan/vorlanapp.h>
#include <wx/intl.h>
#include <wx/sizer.h>
#include <wx/sysopt.h>
#include <wx/thread.h>
#include <wx/wupdlock.h>
#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>
#include <wx/wxvorlanapp.h>
#include <wx/wxvorlandlg.h>
#include <wx/wxvstatusbar.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

wxSize const k_SmallestWindow(640, 400);
constexpr int k_AdministratorWidth = 125;
constexpr int k_ConnectionWidth = 300;

enum StatusField { k_FieldCounts, k_FieldAdministrator, k_FieldConnection, k_FieldCount };

} // namespace

MainWindow* MainWindow::s_window = nullptr;
constinit MainWindow::Idle MainWindow::s_Idle;

MainWindow::MainWindow(wxString const& title, wxPoint const& position, wxSize const& size,
                       std::span<CommandMenu const> menus)
    : wxVorlanFrame(nullptr, title, position, size, k_WindowSection),
      m_master(FarmClient::Get()->Master()),
      m_menus(menus) {
    CALL_ENTRY();
    wxWindowUpdateLocker const freeze(this);
    wxSystemOptions::SetOption("mac.listctrl.always_use_generic", 1);
    s_window = this;
    m_timeout = new _EngineModeTimeout;
    PushEventHandler(m_timeout);
    SetIcons(WindowIcons());
    SetMinSize(FromDIP(k_SmallestWindow));
    SetDropTarget(new JobDropTarget(*this));
    LoadWindowPosition();
    m_administrator = k_OptionAlwaysAdministrate.Get();
    SetTitlebar();
    bool const connected = Outside::Get().IsConnected();
    LogInfo(String("Creating main window: ") + (connected ? "" : "not ") + "connected");
    BindCommands();
    BuildMenus(connected);
    BuildStatusBar();
    BuildPanes();
    m_ready = true;
    if (!connected)
        return;
    // The View menu names the views, which were not there before.
    BuildMenus(true);
    RefreshData();
}

MainWindow::~MainWindow() {
    _SelectTimer::Cleanup();
    if (m_timeout)
        PopEventHandler(true);
    s_window = nullptr;
}

void MainWindow::BuildStatusBar() {
    auto* bar = new wxvStatusBar(this);
    int const widths[k_FieldCount] = {-1, FromDIP(k_AdministratorWidth), FromDIP(k_ConnectionWidth)};
    bar->SetFieldsCount(k_FieldCount, widths);
    SetStatusBar(bar);
    bar->Show(k_OptionStatusBar.Get());
    if (m_administrator)
        SetStatusText(_("Administrator Mode"), k_FieldAdministrator);
    if (Outside::Get().IsConnected())
        ShowConnection("Connected to " + Outside::Get().MasterMachineName());
}

void MainWindow::BuildPanes() {
    m_searching = new MessagePane(this, _("Hi!"),
                                  {_("I'm currently searching for the Master. It may take me a minute to find one."),
                                   _("If I seem to be having trouble, try using the options in the System Menu."),
                                   _("Thank you for your patience.")});
    m_searching->SetName("SearchingPane");
    m_main = new _MainSplitter(this);
    m_main->SetName("MainSplitter");
    m_views = new ViewsArea(m_main);
    m_info = new InfoPane(m_main);
    m_main->Fill(m_views, m_info, k_OptionInfoPane.Get());
    m_main->Bind(wxEVT_SPLITTER_UNSPLIT, [this](wxSplitterEvent& event) {
        event.Skip();
        ShowInfoPane(false);
    });
    m_engineMode =
        new MessagePane(this, _("Engine Mode"),
                        {_("This machine is running just as an Engine."),
                         _("This conserves resources for rendering, but you cannot see or control things and"),
                         _("this machine may not be available as a Master automatically."),
                         _("To return to normal operation, use the Connect option in the System menu."),
                         _("To change the system timeout to enter Engine Mode, use the Administator Options"),
                         _("To change how your machine enters Engine Mode, use the VorlanGui Options.")});
    m_engineMode->SetName("EngineModePane");
    m_panes = new wxBoxSizer(wxVERTICAL);
    m_panes->Add(m_toolbar, wxSizerFlags().Expand());
    m_toolbar->Show(k_OptionToolbar.Get());
    for (wxWindow* pane :
         {static_cast<wxWindow*>(m_searching), static_cast<wxWindow*>(m_main), static_cast<wxWindow*>(m_engineMode)})
        m_panes->Add(pane, wxSizerFlags(1).Expand());
    SetSizer(m_panes);
    bool const inEngineMode = k_OptionInEngineMode.Get();
    m_main->Hide();
    m_engineMode->Hide();
    ShowView(inEngineMode ? k_ViewEngineMode : k_ViewSearching);
}

void MainWindow::ShowView(int view) {
    CALL_ENTRY();
    wxASSERT(wxIsMainThread());
    if (view == k_ViewSearching && m_shown == k_ViewEngineMode)
        return;
    _SelectTimer::StopCurrent();
    wxWindowUpdateLocker const freeze(this);
    if (view >= k_ViewSearching && view <= k_ViewEngineMode) {
        m_shown = view == k_ViewConnecting ? k_ViewSearching : view;
        m_searching->Show(m_shown == k_ViewSearching);
        m_main->Show(m_shown == k_ViewMain);
        m_engineMode->Show(m_shown == k_ViewEngineMode);
    }
    if (view == k_ViewMain) {
        _EngineModeTimeout::ResetCurrent();
        m_firstRun = false;
        NoteServing();
        if (m_administrator)
            DeclareAdministrator();
    }
    SetTitlebar();
    Layout();
    // The keyboard is for the rows, not for the tab above them.
    if (view == k_ViewMain)
        m_views->FocusFirstList();
}

void MainWindow::NoteServing() {
    if (Outside::Get().IsThisTheMaster())
        k_OptionWasTheMaster.Set(true);
    else
        k_OptionWasTheMaster.Clear();
}

void MainWindow::SetTitlebar() {
    wxString title = "VorlanGui - " + wxvText(Application::GetMachineName());
    if (m_shown == k_ViewEngineMode)
        title += _(" [ Engine Mode ]");
    else if (m_administrator)
        title += _(" [ Administrator Mode ]");
    SetTitle(title);
}

// The Master takes commands of an administrator from those connections alone that said so.
void MainWindow::DeclareAdministrator() const {
    auto message = AdministrateMsg::New();
    message->on = m_administrator;
    SendToMaster(message);
}

void MainWindow::SetAdministrator(bool administrator) {
    m_administrator = administrator;
    if (Outside::Get().IsConnected())
        DeclareAdministrator();
    BuildMenus(Outside::Get().IsConnected());
    if (GetStatusBar())
        SetStatusText(administrator ? _("Administrator Mode") : wxString(), k_FieldAdministrator);
    SetTitlebar();
}

void MainWindow::ShowConnection(String const& text) {
    if (GetStatusBar())
        SetStatusText(wxvText(text), k_FieldConnection);
}

String MainWindow::_GetMasterOption(String const& key) { return s_window ? s_window->m_master.Option(key) : String(); }

String MainWindow::DefaultCreator() {
    if (!s_window)
        return {};
    switch (_GetMasterOption(o_CreatorMode).Int(o_CreatorModeDefault)) {
    case 1:
        return Application::GetMachineName();
    case 2:
        return Platform::GetUserAtMachine();
    default:
        return Platform::GetCurrentUserName();
    }
}

bool IsRestricted(String const& action) {
    MainWindow const* const window = MainWindow::Get();
    return !window || window->IsRestricted(action);
}

void MainWindow::ForgetSelection() {
    _SelectTimer::StopCurrent();
    if (m_info)
        m_info->SetToNone();
}

void MainWindow::ClearData() {
    CALL_ENTRY();
    ForgetSelection();
    if (FarmClient* const client = FarmClient::Get())
        client->ClearLists();
}

void MainWindow::RefreshData() {
    CALL_ENTRY();
    ForgetSelection();
    if (FarmClient* const client = FarmClient::Get())
        client->Reload();
}

bool MainWindow::MayClose() {
    if (!Executable::Running())
        return true;
    return ConfirmClose::Confirm(this);
}

void MainWindow::OnClose(wxCloseEvent& event) {
    CALL_ENTRY();
    OptionsFile::PauseAutoWrite const pause(VorlanApp::GetOptions());
    if (event.CanVeto() && !MayClose()) {
        event.Veto();
        return;
    }
    m_closing = true;
    if (m_timeout) {
        // It may be on the stack right now: it goes when the event is through.
        PopEventHandler(false);
        m_timeout->Retire();
        wxTheApp->ScheduleForDestruction(std::exchange(m_timeout, nullptr));
    }
    wxVorlanApp::DisableMessageProcessing();
    _SelectTimer::Cleanup();
    SetDropTarget(nullptr);
    wxVorlanDlg::CloseAll();
    Hide();
    m_info->SetToNone();
    StopEngineModeShutdownPipe();
    Destroy();
}

void MainWindow::OnIdle(wxIdleEvent& event) {
    event.Skip();
    if (m_shown == k_ViewSearching)
        m_searching->SetRemark(wxvText(Outside::Get().LastFailure()));
    ShowRefusals();
    s_Idle.Emit(event);
    // It may have been entered by hand since.
    if (!m_timeout || m_shown == k_ViewEngineMode || !m_timeout->HasExpired(Time::CurrentTime()))
        return;
    LogStatus("Idle timeout to Engine mode expired");
    wxCommandEvent nothing;
    OnEngineMode(nothing);
}

void MainWindow::OnSysColorChange(wxSysColourChangedEvent& event) {
    wxWindowUpdateLocker const freeze(this);
    SetBackgroundColour(wxvGetColor(ColorName::WindowBG));
    SetForegroundColour(wxvGetColor(ColorName::Text));
    if (wxStatusBar* const bar = GetStatusBar()) {
        bar->SetBackgroundColour(wxvGetColor(ColorName::WindowBGLighter));
        bar->SetForegroundColour(wxvGetColor(ColorName::Text));
    }
    // Children that have colours of their own choose them when the event reaches them.
    for (wxWindow* child : GetChildren()) {
        if (child == GetStatusBar())
            continue;
        child->SetForegroundColour(wxvGetColor(ColorName::Text));
        child->SetBackgroundColour(wxvGetColor(ColorName::WindowBG));
    }
    Refresh();
    event.Skip();
}

} // namespace vorlan
