#include "enginelistctrl.h"

#include "commands/ids.h"
#include "model/enginelist.h"

#include <wx/intl.h>

namespace vorlan {

EngineListCtrl::EngineListCtrl(wxWindow* parent, int id, String section)
    : RowListCtrl(parent, id, std::move(section)), FilterEngine(TheFilter()) {
    LoadColumnInfo();
    EngineList::Get().Lists().Add(this);
}

EngineListCtrl::~EngineListCtrl() { EngineList::Get().Lists().Remove(this); }

wxString EngineListCtrl::NothingText() const { return _("No Engines yet. Each machine that runs one appears here."); }

int EngineListCtrl::ActivateCommand() const { return k_IdEditEngine; }

_EngineListCtrl::_EngineListCtrl(wxWindow* parent, int position)
    : EngineListCtrl(parent, k_BaseID + position, String()) {
    Update();
}

} // namespace vorlan
