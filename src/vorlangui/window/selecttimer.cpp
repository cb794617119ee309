#include "selecttimer.h"

#include "enginemode.h"
#include "lists/listctrlbase.h"
#include "mainwindow.h"

#include <wx/listctrl.h>

namespace vorlan {

std::unique_ptr<_SelectTimer>& _SelectTimer::Timer() {
    static std::unique_ptr<_SelectTimer> s_timer;
    return s_timer;
}

_SelectTimer::_SelectTimer(MainWindow& window) : wxTimer(&window) {}

void _SelectTimer::Start(MainWindow& window, wxListEvent const& event, bool selected) {
    auto const* const list = dynamic_cast<ListCtrlBase const*>(event.GetEventObject());
    UID const id = list ? list->GetRowID(static_cast<int>(event.GetIndex())) : UID::Null;
    if (id.IsNull())
        return;
    auto& timer = Timer();
    if (!timer)
        timer.reset(new _SelectTimer(window));
    if (timer->m_pending.Note(event.GetId(), id, selected))
        timer->StartOnce(k_RestMs);
}

void _SelectTimer::StopCurrent() {
    if (auto& timer = Timer())
        timer->Stop();
}

void _SelectTimer::Reset() {
    StopCurrent();
    _EngineModeTimeout::ResetCurrent();
}

void _SelectTimer::Cleanup() { Timer().reset(); }

PendingSelection const& _SelectTimer::Pending() {
    static PendingSelection const s_none;
    return Timer() ? Timer()->m_pending : s_none;
}

} // namespace vorlan
