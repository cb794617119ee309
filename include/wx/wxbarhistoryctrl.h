#pragma once

#include <deque>
#include <functional>
#include <wx/wxdoublebufferedwindow.h>

// Where the parts of a bar history stand; pure, in client coordinates.
struct BarHistoryLayout {
    wxSize size;
    int labelWidth = 0; // 0: no room for labels
    int pitch = 4;      // from one bar to the next
    int gap = 1;        // between two bars

    wxRect Plot() const { return {labelWidth, 0, std::max(size.x - labelWidth, 0), size.y}; }
    // Bars that fit, the last one cut at the left edge.
    int BarCount() const { return (Plot().width + pitch - 1) / pitch; }
    // `fromEnd` 0 is the newest value, at the right edge.
    wxRect Bar(int fromEnd, double share) const;
    // The line at a share of the height, 0 at the bottom, 1 at the top; always in sight.
    int LineAt(double share) const;
};

// wxBarHistoryCtrl shows the course of a value as bars that move to the left, on a grid
// of quarters, with a line at one value that matters.
// Owner: its parent window. Thread: the GUI thread.
// Always: it keeps the newest k_MaxValues values and no more.
class wxBarHistoryCtrl : public wxDoubleBufferedWindow {
public:
    static constexpr size_t k_MaxValues = 4096;
    using Label = std::function<wxString(unsigned)>;

    explicit wxBarHistoryCtrl(wxWindow* parent, wxWindowID id = wxID_ANY);

    // Values outside are shown at the bound that they pass. `high` not above `low`
    // shows no bars.
    void SetBounds(unsigned low, unsigned high, bool redraw = true);
    // A line of its own; what stands above it is drawn stronger.
    void SetMidBound(unsigned value, bool redraw = true);
    // How a bound is written; the plain number without it.
    void SetLabel(Label label);

    void PushValue(unsigned value);
    // No values and no bounds.
    void Clear(bool redraw = true);

    std::deque<unsigned> const& Values() const { return m_values; }

protected:
    void DrawToBuffer() override;
    wxSize DoGetBestClientSize() const override;

private:
    bool HasBounds() const { return m_high > m_low; }
    double Share(unsigned value) const;
    wxString Text(unsigned value) const;
    BarHistoryLayout Parts(wxDC& dc) const;
    void DrawGrid(wxDC& dc, BarHistoryLayout const& layout) const;
    void DrawBars(wxDC& dc, BarHistoryLayout const& layout) const;
    void DrawLabels(wxDC& dc, BarHistoryLayout const& layout) const;
    void Changed(bool redraw);

    std::deque<unsigned> m_values; // oldest first
    unsigned m_low = 0;
    unsigned m_high = 0;
    unsigned m_mid = 0;
    Label m_label;
};
