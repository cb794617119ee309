#pragma once

#include "model/listlist.h"
#include "overviewlayout.h"
#include "overviewrows.h"

#include <wx/window.h>
#include <wx/wxtimed.h>

namespace vorlan {

// OverviewPane shows the farm at a glance: how many Engines, Jobs and units there are,
// and the Jobs with their progress.
// Owner: the MainWindow. Works with: the three lists, as one of their controls.
// Thread: the GUI thread.
// Always: it looks at the lists only while it can be seen, and paints only when what
// it shows has changed.
class OverviewPane : public wxWindow, public ListView, private wxTimed {
public:
    explicit OverviewPane(wxWindow* parent);
    ~OverviewPane() override;

    void OnListCleared() override { SetDirty(); }

    // Takes what has changed from the lists; the tick calls it.
    void Collect();
    corekit::vector<OverviewRow> const& Rows() const { return m_rows; }

private:
    void OnTimer() override;
    void OnPaint(wxPaintEvent& event);
    void OnScroll(wxScrollWinEvent& event);
    void OnWheel(wxMouseEvent& event);
    void OnKey(wxKeyEvent& event);
    void ScrollTo(int row);
    void UpdateScrollbar();
    OverviewLayout Parts() const;

    OverviewCounts m_counts;
    corekit::vector<OverviewRow> m_rows;
    int m_first = 0; // the row at the top
    int m_wheel = 0; // what is left of wheel turns below a row
};

} // namespace vorlan
