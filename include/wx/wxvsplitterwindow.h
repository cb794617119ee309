#pragma once

#include <wx/splitter.h>

// What a double click on the sash does.
enum class SashDoubleClick { Nothing, Unsplit };

// wxvSplitterWindow divides its area between two windows by a thin flat sash.
// Owner: its parent window. Thread: the GUI thread.
// Always: a pane that is dragged small stops at the minimum; only a double click (where
// it may) or the program takes it away.
class wxvSplitterWindow : public wxSplitterWindow {
public:
    static constexpr int k_SashWidth = 4;

    explicit wxvSplitterWindow(wxWindow* parent, SashDoubleClick doubleClick = SashDoubleClick::Nothing,
                               wxWindowID id = wxID_ANY);

    // Takes the second pane away, where it may, unless a handler of
    // wxEVT_SPLITTER_DOUBLECLICKED vetoes it; sends wxEVT_SPLITTER_UNSPLIT then.
    void OnDoubleClickSash(int x, int y) override;

private:
    SashDoubleClick const m_doubleClick;
};
