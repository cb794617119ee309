#pragma once

#include <wx/dnd.h>

namespace vorlan {

class MainWindow;

// JobDropTarget takes Job files that are dropped on the window; other files are of no
// interest to it.
// Owner: the MainWindow. Thread: the GUI thread.
class JobDropTarget : public wxFileDropTarget {
public:
    explicit JobDropTarget(MainWindow& window) : m_window(window) {}

    bool OnDropFiles(wxCoord x, wxCoord y, wxArrayString const& files) override;

private:
    MainWindow& m_window;
};

} // namespace vorlan
