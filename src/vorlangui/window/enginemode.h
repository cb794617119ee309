#pragma once

#include <atomic>
#include <corekit/namedpipe.h>
#include <corekit/signal.h>
#include <corekit/time.h>
#include <memory>
#include <vorlan/fwd.h>
#include <wx/event.h>
#include <wx/modalhook.h>

namespace vorlan {

// How long the client may go without input, from the local option and the Master's
// word, both in minutes: -1 asks the Master, 0 is never. Zero: for ever.
Time IdleSpan(int localMinutes, int masterMinutes);

// _EngineModeTimeout notices when nobody has used the client for so long that it
// should only run the Engine. Menu commands and the end of dialogs count as use.
// Owner: the MainWindow, which pushes it on its event handlers.
// Thread: the GUI thread; ResetCurrent on any while the window stands.
class _EngineModeTimeout : public wxEvtHandler, public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    _EngineModeTimeout();
    ~_EngineModeTimeout() override;

    // Counts anew.
    void Reset();
    // A dialog is open: no time-out until its end.
    void Suspend() { m_suspended.store(true, std::memory_order_relaxed); }
    // True once, when the time is over and no modal dialog is open.
    bool HasExpired(Time const& now);
    // Hears nothing any more; its window is closing.
    void Retire();
    // It is over at that moment; zero: never.
    void ExpireAt(Time const& moment) { m_expires.store(moment.Milliseconds(), std::memory_order_relaxed); }
    // Zero for none.
    Time Expires() const { return Time(m_expires.load(std::memory_order_relaxed)); }

    // Resets the one of the window; nothing without one.
    static void ResetCurrent();

private:
    // Knows of every modal dialog, also of those of the toolkit.
    class ModalWatch : public wxModalDialogHook {
    public:
        explicit ModalWatch(_EngineModeTimeout& owner) : m_owner(owner) { Register(); }
        ~ModalWatch() override { Unregister(); }

    protected:
        int Enter(wxDialog* dialog) override;
        void Exit(wxDialog* dialog) override;

    private:
        _EngineModeTimeout& m_owner;
    };

    void OnMenu(wxCommandEvent& event);

    static std::atomic<_EngineModeTimeout*> s_current;

    // Written on the message thread too; one idle pass late is the worst outcome.
    std::atomic<int64_t> m_expires{0};
    std::atomic<bool> m_suspended{false};

    // GUI thread only.
    int m_openModals = 0;
    std::unique_ptr<ModalWatch> m_watch; // null once retired
};

// _EngineModeShutdownPipe lets another process end a client in Engine Mode.
// Owner: a global pointer, set in Engine Mode only.
// Thread: OnConnect on its own; it posts a message to self and touches no window.
class _EngineModeShutdownPipe : public NamedPipeServerThread {
public:
    static constexpr char k_PipeName[] = "VorlanGui-EngineMode";

    _EngineModeShutdownPipe();
    ~_EngineModeShutdownPipe() override;

protected:
    void OnConnect() override;
};

} // namespace vorlan
