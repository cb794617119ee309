#pragma once

#include "rowlistctrl.h"

namespace vorlan {

// EngineListCtrl shows Engines. Owner: its parent window. Works with: EngineList, in whose
// Lists it registers. Thread: the GUI thread.
class EngineListCtrl : public RowListCtrl<EngineRows> {
public:
    // The Engines' lists of views have this id plus the view's position.
    static constexpr int k_BaseID = 2500;

    EngineListCtrl(wxWindow* parent, int id, String section);
    ~EngineListCtrl() override;

    // Every slot may leave an Engine out.
    FilterSignal& FilterEngine;

protected:
    wxString NothingText() const override;
    int ActivateCommand() const override;
    int TimeColumnType() const override { return EngineColumns::Uptime; }
};

// _EngineListCtrl is the Engine list of a view. `position` is the view's.
class _EngineListCtrl final : public EngineListCtrl {
public:
    _EngineListCtrl(wxWindow* parent, int position);
};

} // namespace vorlan
