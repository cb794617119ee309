#pragma once

#include <functional>
#include <wx/statusbr.h>

// wxvStatusBar is a status bar in the scheme's colours: one quiet line above it, texts
// that lose what is in brackets where they do not fit, and then end in an ellipsis. They
// may reach into fields behind them that have no text.
// Owner: its frame. Thread: the GUI thread.
class wxvStatusBar : public wxStatusBar {
public:
    static constexpr int k_Height = 26;
    static constexpr int k_Padding = 10;

    explicit wxvStatusBar(wxWindow* parent);

    // The width in which a field's text is shown, in pixels.
    int RoomOf(int field) const;

protected:
    void DoUpdateStatusText(int field) override;

private:
    void OnPaint(wxPaintEvent& event);
};

// The text without as many of its remarks in brackets, from the left, as it takes for it to
// fit; without all of them if it does not.
wxString wxvWithFewerBrackets(wxString text, std::function<bool(wxString const&)> const& fits);
