#include <corekit/callentry.h>
#include <memory>
#include <wx/timer.h>
#include <wx/wxtimed.h>

namespace {

class TickTimer : public wxTimer {
public:
    void Notify() override {
        CALL_ENTRY();
        wxTimed::s_Timer0250.Emit();
    }
};

std::unique_ptr<TickTimer>& TheTimer() {
    static std::unique_ptr<TickTimer> s_timer;
    return s_timer;
}

} // namespace

void wxTimed::StartTicks(int periodMs) {
    TheTimer() = std::make_unique<TickTimer>();
    TheTimer()->Start(periodMs);
}

void wxTimed::StopTicks() { TheTimer().reset(); }

wxTimed::wxTimed() : m_slot(*this) {}

wxTimed::~wxTimed() { m_slot.End(); }

wxTimed::Slot::Slot(wxTimed& owner) : m_owner(owner) { s_Timer0250.Connect(this, &Slot::OnTick); }
