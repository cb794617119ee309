#include "vorlangui.h"

#include "client/componentcontrol.h"
#include "commands/ids.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/pooltable.h"
#include "outside/outside.h"
#include "window/enginemode.h"
#include "window/mainwindow.h"
#include "window/refusals.h"

#include <corekit/callentry.h>
#include <corekit/threadpool.h>
#include <vorlan/components.h>
#include <wx/wxvtext.h>

namespace vorlan {

std::atomic<VorlanGui*> VorlanGui::s_instance{nullptr};

VorlanGui::VorlanGui(Signals signals) : wxVorlanApp(signals) {
    s_instance.store(this, std::memory_order_release);
    vorlan::RepeatFile::SetCurrent(&m_repeatFile);
    Bind(wxVORLAN_CONNECT_EVENT, &VorlanGui::OnMessengerNotify, this);
    Bind(wxVORLAN_DISCONNECT_EVENT, &VorlanGui::OnMessengerDisconnectedEvt, this);
}

VorlanGui::~VorlanGui() {
    // The handlers are called on the message thread, and call this class.
    DisconnectAll();
    s_instance.store(nullptr, std::memory_order_release);
    vorlan::RepeatFile::SetCurrent(nullptr);
}

bool VorlanGui::Startup(CommandLine& commandLine) {
    CALL_ENTRY();
    SetCommandLine(&commandLine);
    VorlanAppStartupEvt::Signal().Connect(this, &VorlanGui::OnVorlanAppStartupEvt);
    ConnectMessages();
    ThreadPool::Initialize();
    return VorlanClientApp::Startup(commandLine);
}

void VorlanGui::Cleanup() {
    CALL_ENTRY();
    for (int const component : k_StopOrder)
        _StopComponent(component);
    ForgetMasterDefaultStartup();
    VorlanClientApp::Cleanup();
    // What still runs there uses objects that end with the program.
    ThreadPool::Shutdown();
}

bool VorlanGui::OnException(Exception* exception) {
    CALL_ENTRY();
    DisableMessageProcessing();
    VorlanClientApp::OnException(exception);
    if (m_window)
        m_window->ClearData();
    return false;
}

boost::shared_ptr<Job> VorlanGui::GetJobByID(UID const& id) { return Jobs::GetJobA(id); }

Engine const& VorlanGui::GetEngineByID(UID const& id) {
    Engine const* const engine = FindEngineToKeep(id);
    return engine ? *engine : VorlanApp::GetEngineByID(id);
}

std::vector<UID> VorlanGui::GetAllJobs() { return Jobs::GetAllJobs(); }

size_t VorlanGui::GetAllEngines(EngineSet& engines) {
    engines.clear();
    for (auto const& [id, info] : EngineList::Get().Snapshot())
        engines.insert(*info);
    return engines.size();
}

String VorlanGui::GetPoolName(UID const& pool) { return PoolName(pool); }

void VorlanGui::RequestHasFailed(UID const&, String const& reason) { TellRefusal(reason); }

void VorlanGui::UpdateStatusBar() {
    if (m_window)
        m_window->UpdateStatusBar();
}

void VorlanGui::OnMessengerNotify(wxCommandEvent& event) {
    CALL_ENTRY();
    event.Skip();
    if (!Executable::Running() || !m_window || m_window->IsClosing())
        return;
    m_window->ShowConnection("Connected to " + Outside::Get().MasterMachineName());
    m_window->BuildMenus(true);
    m_window->RefreshData();
    m_window->ShowView(MainWindow::k_ViewMain);
}

void VorlanGui::OnMessengerDisconnectedEvt(wxCommandEvent& event) {
    CALL_ENTRY();
    event.Skip();
    if (!m_window || m_window->IsClosing())
        return;
    m_window->ShowConnection(String());
    m_window->BuildMenus(false);
    m_window->ClearData();
    m_window->ShowView(MainWindow::k_ViewSearching);
    ForgetStatus();
    Outside::Get().PurgeMessageQueues();
}

void VorlanGui::OnWindowGone(wxWindowDestroyEvent& event) {
    event.Skip();
    // Those of its children come by, too.
    if (event.GetEventObject() == m_window)
        m_window = nullptr;
}

void VorlanGui::ResetIdleTime() { _EngineModeTimeout::ResetCurrent(); }

void VorlanGui::OnRestrictionsChanged() { PostMenu(k_IdRebuildMenus); }

void VorlanGui::ShowReport(String const& title, String const& text) { PostMenu(k_IdShowReport, title + "|" + text); }

void VorlanGui::PostMenu(int id, String const& text) {
    if (!m_window)
        return;
    wxCommandEvent event(wxEVT_MENU, id);
    event.SetString(wxvText(text));
    m_window->GetEventHandler()->AddPendingEvent(event);
}

} // namespace vorlan
