#include <corekit/callentry.h>
#include <corekit/exception.h>
#include <corekit/log.h>
#include <vorlan/events.h>
#include <vorlan/messages.h>
#include <vorlan/messenger.h>
#include <wx/evtloop.h>
#include <wx/timer.h>
#include <wx/wxtimed.h>
#include <wx/wxvcolors.h>
#include <wx/wxvoptions.h>
#include <wx/wxvorlanapp.h>
#include <wx/wxvtext.h>

wxDEFINE_EVENT(wxVORLAN_CONNECT_EVENT, wxCommandEvent);
wxDEFINE_EVENT(wxVORLAN_DISCONNECT_EVENT, wxCommandEvent);

// Bridge hears the Messenger on its thread and posts to the GUI thread.
// Owner: the application object. Always: it waits for nothing.
class wxVorlanApp::Bridge : public corekit::HasSlots<> {
public:
    explicit Bridge(wxVorlanApp& app) : m_app(app) {
        vorlan::MessengerConnectedEvt::Signal().Connect(this, &Bridge::OnConnected);
        vorlan::MessengerDisconnectedEvt::Signal().Connect(this, &Bridge::OnDisconnected);
        vorlan::ShutdownMsg::s_Signal.Connect(this, &Bridge::OnShutdown);
    }
    ~Bridge() override { DisconnectAll(); }

private:
    void OnConnected() { Post(wxVORLAN_CONNECT_EVENT); }
    void OnDisconnected() { Post(wxVORLAN_DISCONNECT_EVENT); }
    void OnShutdown() { RequestEnd(); }
    void Post(wxEventTypeTag<wxCommandEvent> const& type) { m_app.QueueEvent(new wxCommandEvent(type)); }

    wxVorlanApp& m_app;
};

class wxVorlanApp::EndTimer : public wxTimer {
public:
    explicit EndTimer(wxVorlanApp& app) : m_app(app) {}
    void Notify() override { m_app.End(); }

private:
    wxVorlanApp& m_app;
};

namespace {
constexpr int k_EndRetryMs = 20;
}

wxVorlanApp::wxVorlanApp(Signals signals) : VorlanClientApp(signals) {}

wxVorlanApp::~wxVorlanApp() {
    wxvUseColorOptions(nullptr);
    wxvSetOptions(nullptr);
}

void wxVorlanApp::DisableMessageProcessing() {
    CALL_ENTRY();
    vorlan::Messenger::Stop(false, true, false);
}

void wxVorlanApp::RequestEnd() {
    Executable::SetRunning(false);
    if (!wxTheApp)
        return;
    wxTheApp->CallAfter([] {
        if (auto* const app = dynamic_cast<wxVorlanApp*>(wxTheApp))
            app->End();
    });
}

void wxVorlanApp::End() {
    wxEventLoopBase const* const loop = wxEventLoopBase::GetActive();
    if (m_modals.EndUppermost() || (loop && loop != GetMainLoop())) {
        if (!m_endTimer)
            m_endTimer = std::make_unique<EndTimer>(*this);
        m_endTimer->StartOnce(k_EndRetryMs);
        return;
    }
    if (wxWindow* const top = GetTopWindow())
        top->Close(true);
    else
        ExitMainLoop();
}

template <class Step>
bool wxVorlanApp::Guarded(Step step) {
    try {
        return step();
    } catch (corekit::Exception& exception) {
        return OnException(&exception);
    } catch (std::exception const& exception) {
        corekit::Exception known(exception.what());
        return OnException(&known);
    } catch (...) {
        return OnException(nullptr);
    }
}

bool wxVorlanApp::OnInit() {
    CALL_ENTRY();
    std::vector<corekit::String> words;
    for (int i = 1; i < argc; ++i)
        words.push_back(wxvString(argv[i]));
    m_commandLine = std::make_unique<corekit::CommandLine>(argc > 0 ? wxvString(argv[0]) : corekit::String(), words);
    wxvSetOptions(&GetOptions());
    wxvUseColorOptions(&GetOptions());
    wxvApplyNativeStyle();
    m_bridge = std::make_unique<Bridge>(*this);
    wxTimed::StartTicks();
    m_startupBegun = true;
    if (Guarded([this] { return Startup(*m_commandLine); }))
        return true;
    OnExit();
    return false;
}

int wxVorlanApp::OnRun() {
    SetExitOnFrameDelete(true); // the base's OnRun, which would say so, is not called
    return Execute();
}

int wxVorlanApp::Execute() {
    CALL_ENTRY();
    return MainLoop();
}

int wxVorlanApp::OnExit() {
    CALL_ENTRY();
    Executable::SetRunning(false);
    wxTimed::StopTicks();
    if (std::exchange(m_startupBegun, false)) {
        Guarded([this] {
            Cleanup();
            return true;
        });
    }
    m_endTimer.reset();
    m_bridge.reset();
    return 0;
}

bool wxVorlanApp::OnExceptionInMainLoop() {
    return Guarded([]() -> bool { throw; });
}
