#pragma once

#include <wx/wxvsplitterwindow.h>

namespace vorlan {

// _MainSplitter divides the main area: the views to the left, the info pane to the
// right. Where the sash stands is kept as a part of the width.
// Owner: the MainWindow. Thread: the GUI thread.
// Always: with the size of the window the sash moves from where it was last put, so that
// a width without room for both panes moves it no further than for as long as it lasts.
class _MainSplitter : public wxvSplitterWindow {
public:
    static constexpr int k_SmallestPane = 150;

    explicit _MainSplitter(wxWindow* parent);

    // Its windows, its children; `showInfo`: the second one, too.
    void Fill(wxWindow* views, wxWindow* info, bool showInfo);
    // Stores nothing.
    void ShowInfo(bool show);
    bool IsInfoShown() const { return IsSplit(); }

private:
    static double StoredPart();
    void OnDragSash(wxSplitterEvent& event);
    void OnMoveSash(wxSplitterEvent& event);
    void OnResize(wxSizeEvent& event);
    // Remembers where the sash was put.
    void NotePlace(int sash);

    wxWindow* m_views = nullptr;
    wxWindow* m_info = nullptr;
    bool m_placed = false;  // the sash has found its place at the first true size
    int m_putAt = 0;        // pixels from the left
    int m_putWidth = 0;     // of the splitter then
    bool m_dragged = false; // by the user, since the sash last came to rest
};

} // namespace vorlan
