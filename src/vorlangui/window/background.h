#pragma once

// Work that waits for something, away from the GUI thread.

#include <corekit/string.h>

#include <functional>
#include <vorlan/fwd.h>
#include <wx/string.h>

namespace vorlan {

class MainWindow;

// Does the work on a thread of the pool. An exception of it becomes a message in a box
// with this title; without one `done` is called, on the GUI thread. Neither comes any
// more when the main window is gone. GUI thread only.
void InBackground(wxString const& title, std::function<void()> work, std::function<void(MainWindow&)> done = {});

// Calls it on the GUI thread, unless the main window is gone by then. Any thread.
void OnGuiThread(std::function<void(MainWindow&)> call);

// A box with an error, over the main window. GUI thread only.
void ShowError(wxString const& title, String const& text);

} // namespace vorlan
