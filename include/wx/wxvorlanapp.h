#pragma once

// The base of the application objects of the programs with windows.

#include <atomic>
#include <corekit/commandline.h>
#include <corekit/signal.h>
#include <memory>
#include <vorlan/vorlanapp.h>
#include <wx/app.h>
#include <wx/wxvopenmodals.h>

// The Messenger has a Master, or has none any more. Sent to the application object on
// the GUI thread, in the order in which it happened.
wxDECLARE_EVENT(wxVORLAN_CONNECT_EVENT, wxCommandEvent);
wxDECLARE_EVENT(wxVORLAN_DISCONNECT_EVENT, wxCommandEvent);

// Whether the program goes on or is on its way out. Static; any thread.
class Executable {
public:
    // False from the moment in which somebody other than the user asked for the end:
    // nobody is asked any question then.
    static bool Running() { return s_running.load(std::memory_order_acquire); }
    static void SetRunning(bool running) { s_running.store(running, std::memory_order_release); }

private:
    inline static std::atomic<bool> s_running{true};
};

// wxVorlanApp joins the toolkit's application object with the system's own.
// Owner: the toolkit. One exists.
// Works with: the Messenger, whose events it passes to the GUI thread; wxTimed.
// Thread: the GUI thread.
// Always: Cleanup runs once after a Startup that was begun. A ShutdownMsg closes the
// top window without a question.
class wxVorlanApp : public wxApp, public vorlan::VorlanClientApp {
public:
    explicit wxVorlanApp(Signals signals = Signals::Handle);
    ~wxVorlanApp() override;

    // Received messages reach nobody from now on. The first step of the end.
    static void DisableMessageProcessing();

    // Asks the program to end as soon as it can; any thread.
    static void RequestEnd();

    // The toolkit's steps, which call those of Application.
    bool OnInit() override;
    int OnRun() override;
    int OnExit() override;
    bool OnExceptionInMainLoop() override;

    // The main loop.
    int Execute() override;

private:
    class Bridge;
    class EndTimer;

    // Ends the open dialogs and menus, and closes the top window when their callers,
    // which stand on it, have returned.
    void End();

    // Does the step; an exception goes to OnException, whose answer is the result then.
    template <class Step>
    bool Guarded(Step step);

    std::unique_ptr<corekit::CommandLine> m_commandLine;
    std::unique_ptr<Bridge> m_bridge;
    wxvOpenModals m_modals;
    std::unique_ptr<EndTimer> m_endTimer; // while dialogs and menus are ending
    bool m_startupBegun = false;
};
