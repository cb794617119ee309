#include "worklistctrl.h"

#include "commands/ids.h"
#include "model/worklist.h"

#include <wx/intl.h>

namespace vorlan {

WorkListCtrl::WorkListCtrl(wxWindow* parent, int id, String section)
    : RowListCtrl(parent, id, std::move(section)), FilterWork(TheFilter()) {
    LoadColumnInfo();
    WorkList::Get().Lists().Add(this);
}

WorkListCtrl::~WorkListCtrl() { WorkList::Get().Lists().Remove(this); }

wxString WorkListCtrl::NothingText() const { return _("No work is running."); }

int WorkListCtrl::ActivateCommand() const { return k_IdViewOutput; }

_WorkListCtrl::_WorkListCtrl(wxWindow* parent, int position) : WorkListCtrl(parent, k_BaseID + position, String()) {
    Update();
}

} // namespace vorlan
