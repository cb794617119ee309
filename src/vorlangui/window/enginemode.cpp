#include "enginemode.h"

#include "client/componentcontrol.h"
#include "client/farmclient.h"
#include "client/options.h"
#include "client/serviceoptions.h"
#include "mainwindow.h"
#include "outside/outside.h"

#include <corekit/callentry.h>
#include <corekit/log.h>
#include <vorlan/components.h>
#include <vorlan/messages.h>
#include <vorlan/messenger.h>
#include <wx/wxvorlandlg.h>
#include <wx/wxvorlanframe.h>

namespace vorlan {

Time IdleSpan(int localMinutes, int masterMinutes) {
    int const minutes = localMinutes < 0 ? masterMinutes : localMinutes;
    return Time::Minutes(minutes > 0 ? minutes : 0);
}

std::atomic<_EngineModeTimeout*> _EngineModeTimeout::s_current{nullptr};

int _EngineModeTimeout::ModalWatch::Enter(wxDialog*) {
    ++m_owner.m_openModals;
    return wxID_NONE;
}

void _EngineModeTimeout::ModalWatch::Exit(wxDialog* dialog) {
    --m_owner.m_openModals;
    // The others tell it themselves.
    if (!dynamic_cast<wxVorlanDlg*>(dialog))
        m_owner.Reset();
}

_EngineModeTimeout::_EngineModeTimeout() : m_watch(std::make_unique<ModalWatch>(*this)) {
    wxVorlanDlg::s_ModalStarted.Connect(this, &_EngineModeTimeout::Suspend);
    wxVorlanDlg::s_ModalFinished.Connect(this, &_EngineModeTimeout::Reset);
    wxVorlanDlg::s_DlgClosed.Connect(this, &_EngineModeTimeout::Reset);
    wxVorlanFrame::s_WinClosed.Connect(this, &_EngineModeTimeout::Reset);
    Bind(wxEVT_MENU, &_EngineModeTimeout::OnMenu, this);
    s_current.store(this, std::memory_order_release);
}

_EngineModeTimeout::~_EngineModeTimeout() { Retire(); }

void _EngineModeTimeout::Retire() {
    s_current.store(nullptr, std::memory_order_release);
    DisconnectAll();
    m_watch.reset();
}

void _EngineModeTimeout::ResetCurrent() {
    if (_EngineModeTimeout* const current = s_current.load(std::memory_order_acquire))
        current->Reset();
}

void _EngineModeTimeout::OnMenu(wxCommandEvent& event) {
    Reset();
    event.Skip();
}

void _EngineModeTimeout::Reset() {
    CALL_ENTRY();
    ExpireAt(Time());
    m_suspended.store(false, std::memory_order_relaxed);
    // Only a client that has started its own Engine may become one.
    if (!Outside::Get().DidStartComponent(k_ComponentEngine))
        return;
    boost::shared_ptr<MasterInfoMsg> const master = Outside::Get().MasterInfo();
    if (!master)
        return;
    int const local = k_OptionIdleTimeout.Get();
    Time const span = IdleSpan(local, master->idleTimeout);
    if (span.IsZero())
        return;
    Time const expires = Time::CurrentTime() + span;
    ExpireAt(expires);
    LogStatus("Set Engine Mode timeout to: " + expires.Format(k_DefaultDateTime));
}

bool _EngineModeTimeout::HasExpired(Time const& now) {
    Time const expires = Expires();
    if (expires.IsZero() || m_openModals > 0 || m_suspended.load(std::memory_order_relaxed) || now < expires)
        return false;
    ExpireAt(Time());
    return true;
}

_EngineModeShutdownPipe::_EngineModeShutdownPipe() : NamedPipeServerThread(k_PipeName) {
    // Else the log has said why.
    if (!IsListening())
        return;
    LogStatus(String("Listening for shutdown requests on: ") + k_PipeName);
    Start();
}

_EngineModeShutdownPipe::~_EngineModeShutdownPipe() {
    Stop();
    if (IsListening())
        LogStatus(String("No longer listening for shutdown requests on: ") + k_PipeName);
}

void _EngineModeShutdownPipe::OnConnect() {
    CALL_ENTRY();
    LogSystem("Received shutdown request from Engine Mode shutdown pipe");
    Messenger::SSendMessageToSelf(ShutdownMsg::New());
}

namespace {

std::unique_ptr<_EngineModeShutdownPipe>& ShutdownPipe() {
    static std::unique_ptr<_EngineModeShutdownPipe> s_pipe;
    return s_pipe;
}

} // namespace

void MainWindow::OnEngineMode(wxCommandEvent&) {
    CALL_ENTRY();
    LogSystem("Entering Engine Mode...");
    LogStatus("To return to normal GUI operation, manually force a connect from the System menu");
    ShowView(k_ViewEngineMode);

    OptionsFile::PauseAutoWrite const pause(VorlanApp::GetOptions());
    k_OptionInEngineMode.Set(true);
    Outside& outside = Outside::Get();
    if (outside.IsThisTheMaster()) {
        k_OptionWasTheMaster.Set(true);
    } else if (k_OptionWasTheMaster.Get()) {
        FarmClient::Get()->_StartComponent(k_ComponentMaster, k_StartNotSet);
    } else {
        outside.StopComponent(k_ComponentMaster);
        k_OptionWasTheMaster.Clear();
    }
    if (!IsRunByService(k_ComponentEngine))
        outside.StartComponent(k_ComponentEngine);
    outside.StopMessenger(false, false, false);
    if (!ShutdownPipe())
        ShutdownPipe() = std::make_unique<_EngineModeShutdownPipe>();
}

void MainWindow::OnConnect(wxCommandEvent&) {
    CALL_ENTRY();
    Outside::Get().StopMessenger(false, false, true);
    if (m_firstRun || k_OptionWasTheMaster.Get())
        FarmClient::Get()->_StartComponent(k_ComponentMaster, k_StartNotSet);
    ShowView(k_ViewConnecting);
    StopEngineModeShutdownPipe();
    k_OptionInEngineMode.Set(false);
}

void MainWindow::StopEngineModeShutdownPipe() { ShutdownPipe().reset(); }

} // namespace vorlan
