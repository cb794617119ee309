#pragma once

#include "selecthistory.h"

#include <memory>
#include <wx/timer.h>

class wxListEvent;

namespace vorlan {

class MainWindow;

// _SelectTimer lets a storm of row events pass and then tells the MainWindow once, by
// a timer event.
// Owner: a static pointer, from the first event to Cleanup.
// Thread: the GUI thread.
class _SelectTimer : public wxTimer {
public:
    static constexpr int k_RestMs = 100;

    // A row of a ListCtrlBase has been selected, or taken out of the selection.
    static void Start(MainWindow& window, wxListEvent const& event, bool selected);
    static void StopCurrent();
    // Stops, and notes that somebody is at work. What was gathered stays until the
    // next event.
    static void Reset();
    static void Cleanup();

    // Empty without a timer.
    static PendingSelection const& Pending();

private:
    explicit _SelectTimer(MainWindow& window);

    static std::unique_ptr<_SelectTimer>& Timer();

    PendingSelection m_pending;
};

} // namespace vorlan
