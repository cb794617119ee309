#pragma once

#include <wx/statusbr.h>

// wxvStatusBar is a status bar in the scheme's colours: one quiet line above it, texts
// that end in an ellipsis where they do not fit.
// Owner: its frame. Thread: the GUI thread.
class wxvStatusBar : public wxStatusBar {
public:
    static constexpr int k_Height = 26;
    static constexpr int k_Padding = 10;

    explicit wxvStatusBar(wxWindow* parent);

protected:
    void DoUpdateStatusText(int field) override;

private:
    void OnPaint(wxPaintEvent& event);
};
