#pragma once

#include "rowlistctrl.h"

namespace vorlan {

// WorkListCtrl shows the units that run. Owner: its parent window. Works with: WorkList,
// in whose Lists it registers. Thread: the GUI thread.
class WorkListCtrl : public RowListCtrl<WorkRows> {
public:
    // The work lists of views have this id plus the view's position.
    static constexpr int k_BaseID = 2700;

    WorkListCtrl(wxWindow* parent, int id, String section);
    ~WorkListCtrl() override;

    // Every slot may leave a unit out.
    FilterSignal& FilterWork;

protected:
    wxString NothingText() const override;
    int ActivateCommand() const override;
    int TimeColumnType() const override { return WorkColumns::Elapsed; }
};

// _WorkListCtrl is the work list of a view. `position` is the view's.
class _WorkListCtrl final : public WorkListCtrl {
public:
    _WorkListCtrl(wxWindow* parent, int position);
};

// InfoWorkCtrl is the work list of an information panel, which filters it and asks for
// its first rows when it has something to show.
class InfoWorkCtrl final : public WorkListCtrl {
public:
    // In the panel of a Job, and in that of an Engine.
    static constexpr int k_JobPanelID = 8001;
    static constexpr int k_EnginePanelID = 8002;

    InfoWorkCtrl(wxWindow* parent, int id) : WorkListCtrl(parent, id, String()) {}
};

} // namespace vorlan
