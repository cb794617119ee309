#pragma once

#include "rowlistctrl.h"

namespace vorlan {

// JobListCtrl shows Jobs: cells, the progress bar, the colours of the rows.
// Owner: its parent window.
// Works with: JobList, in whose Lists it registers.
// Thread: the GUI thread.
class JobListCtrl : public RowListCtrl<JobRows> {
public:
    // The Jobs' lists of views have this id plus the view's position.
    static constexpr int k_BaseID = 2600;

    JobListCtrl(wxWindow* parent, int id, String section);
    ~JobListCtrl() override;

    // Every slot may leave a Job out.
    FilterSignal& FilterJob;

    void DrawCell(wxDC& dc, int row, int column, wxRect cell, bool selected) override;

protected:
    wxString NothingText() const override;
    int ActivateCommand() const override;
    uint64_t GetCellSignature(int row, int column) override;

private:
    bool IsProgress(int column) const;
};

// The colours of a progress bar: of its fill, at the top and the bottom, and of the line at
// the fill's end, which can be told from both and from the room beside it.
struct ProgressColors {
    wxColour top;
    wxColour bottom;
    wxColour edge;
};
ProgressColors ProgressColorsOf(bool selected);

// _JobListCtrl is the Job list of a view. `position` is the view's.
class _JobListCtrl final : public JobListCtrl {
public:
    _JobListCtrl(wxWindow* parent, int position);
};

} // namespace vorlan
