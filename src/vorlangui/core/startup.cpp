// What the client does when its start-up is through: the window, Engine Mode, the
// components, the repeat file, in this order.
#include "client/componentcontrol.h"
#include "client/options.h"
#include "client/optiontable.h"
#include "client/rendernode.h"
#include "menus/menus.h"
#include "outside/outside.h"
#include "vorlangui.h"
#include "window/background.h"
#include "window/mainwindow.h"

#include <corekit/callentry.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <vorlan/version.h>
#include <wx/dcscreen.h>
#include <wx/evtloop.h>
#include <wx/settings.h>
#include <wx/wxvoptions.h>

#include <chrono>

namespace vorlan {

namespace {

wxSize StartSize() {
    int const width = wxSystemSettings::GetMetric(wxSYS_SCREEN_X) * 2 / 3;
    int const height = wxSystemSettings::GetMetric(wxSYS_SCREEN_Y) * 2 / 3;
    return width < 0 ? wxScreenDC().GetSize() : wxSize(width, height);
}

// The programs that start next take the processor and the screen waits for them: first
// the window is painted. False when it was closed meanwhile.
bool ShowPainted(MainWindow*& window) {
    constexpr auto k_Longest = std::chrono::milliseconds(300);
    bool isPainted = false;
    auto const onPaint = [&](wxPaintEvent& event) {
        isPainted = true;
        event.Skip();
    };
    window->Bind(wxEVT_PAINT, onPaint);
    window->Show();
    wxGUIEventLoop loop;
    wxEventLoopActivator const activator(&loop);
    auto const until = std::chrono::steady_clock::now() + k_Longest;
    while (window && !isPainted && std::chrono::steady_clock::now() < until)
        loop.DispatchTimeout(k_Longest.count());
    if (window)
        window->Unbind(wxEVT_PAINT, onPaint);
    return window && !window->IsBeingDeleted();
}

} // namespace

void VorlanGui::OnVorlanAppStartupEvt(VorlanAppStartupEvt& event) {
    CALL_ENTRY();
    if (!event.success)
        return;
    m_window = new MainWindow(_("Vorlan"), wxPoint(0, 0), StartSize(), AllMenus());
    m_window->Bind(wxEVT_DESTROY, &VorlanGui::OnWindowGone, this);
    m_window->SetFirstRun(k_OptionVersion.Get() == 0);
    SetTopWindow(m_window);
    if (!ShowPainted(m_window)) {
        event.success = false;
        return;
    }

    TellOptionFaults();
    OptionsFile::PauseAutoWrite const pause(GetOptions());
    bool const inEngineMode = DecideEngineMode();
    if (inEngineMode) {
        wxCommandEvent nothing;
        m_window->OnEngineMode(nothing);
    } else {
        _StartComponent(k_ComponentEngine, k_StartNotSet);
        _StartComponent(k_ComponentMaster, k_StartNotSet);
    }
    for (int const tool : {k_ComponentBrakka, k_ComponentMerrow, k_ComponentPanvale})
        _StartComponent(tool, k_StartNotSet);

    k_OptionVersion.Set(k_VorlanVersion);
    LoadRepeatFile();
    if (inEngineMode && event.commandLine)
        event.commandLine->AddSwitch("DisableMessenger");
}

void VorlanGui::TellOptionFaults() {
    // They were read before there was a log.
    if (String const trouble = GetOptions().Trouble(); !trouble.Empty())
        OnGuiThread([trouble](MainWindow&) { ShowError(_("Options"), trouble); });
    OptionTable known = LocalOptions();
    OptionTable const controls = wxvOptionTable();
    known.insert(known.end(), controls.begin(), controls.end());
    for (String const& fault : CheckOptions(GetOptions(), known))
        LogWarning(fault);
}

bool VorlanGui::DecideEngineMode() {
    bool const stored = k_OptionInEngineMode.Get();
    if (stored || !m_window->IsFirstRun() || !LooksLikeRenderNode(Outside::Get().ComputerName()))
        return stored;
    // Into the current section, whichever that is: nobody has chosen one yet.
    GetOptions().SetValue(k_OptionInEngineMode.Key(), true);
    return true;
}

void VorlanGui::LoadRepeatFile() {
    {
        SetExceptionLevel const level(m_repeatFile, FaultSource::k_Fatal);
        m_repeatFile.Load(File::GetUserDir() / "RepeatJobs.ini", false, true);
    }
    m_repeatFile.SetRepeatCount(k_OptionRepeatCount.Get());
}

} // namespace vorlan
