#pragma once

#include "overviewlayout.h"
#include "overviewrows.h"

#include <span>
#include <wx/dc.h>

namespace vorlan {

// OverviewPainter draws the overview in the scheme's colours.
// Owner: a paint handler's stack. Thread: the GUI thread.
class OverviewPainter {
public:
    OverviewPainter(wxDC& dc, OverviewLayout const& layout) : m_dc(dc), m_layout(layout) {}

    void PaintFigures(OverviewCounts const& counts);
    void PaintHeader();
    // `rows` begins with the first row in sight, which is row `first` of all.
    void PaintRows(std::span<OverviewRow const> rows, int first);
    // A list without rows says why.
    void PaintEmpty(wxString const& why);

private:
    void PaintFigure(int index, size_t figure, wxString const& caption, wxString const& detail);
    void PaintRow(int index, OverviewRow const& row, bool odd);
    void PaintProgress(wxRect const& cell, float percent);
    void PaintText(wxString const& text, wxRect const& cell);

    wxDC& m_dc;
    OverviewLayout const& m_layout;
};

// The colour of a row's text on its background.
wxColour OverviewTextColor(OverviewRow const& row, wxColour const& background);
// The background of a row; failed ones are tinted.
wxColour OverviewRowColor(OverviewRow const& row, bool odd);
// The filled part of a progress bar, and the text on a surface of it.
wxColour ProgressColor();
wxColour ProgressTextColor(wxColour const& surface);

} // namespace vorlan
