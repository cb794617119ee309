#pragma once

#include <corekit/tick.h>

// wxTimed is the base of whatever wants to be called on the shared tick.
// Owner: its derived object; the connection ends with it.
// Works with: the application, which starts and stops the tick.
// Thread: OnTimer on the GUI thread. An object may be made on any thread, and dies
// on the GUI thread or after the tick has been stopped.
// Always: there is one tick for all, so that what changed in between is shown at once.
class wxTimed {
public:
    using Tick = corekit::Tick::SignalType;

    // The tick itself, for those who want no base class.
    static constinit inline Tick& s_Timer0250 = corekit::Tick::s_Timer0250;
    static constexpr int k_PeriodMs = corekit::Tick::k_PeriodMs;

    // The application calls them around its main loop.
    static void StartTicks(int periodMs = k_PeriodMs);
    static void StopTicks();

    wxTimed();
    virtual ~wxTimed();
    wxTimed(wxTimed const&) = delete;
    wxTimed& operator=(wxTimed const&) = delete;

protected:
    virtual void OnTimer() = 0;

private:
    // The destination of the tick, an object of its own: a derived class may be the
    // destination of other signals itself.
    class Slot : public corekit::HasSlots<> {
    public:
        explicit Slot(wxTimed& owner);
        void End() { DisconnectAll(); }

    private:
        void OnTick() { m_owner.OnTimer(); }
        wxTimed& m_owner;
    };
    Slot m_slot;
};
