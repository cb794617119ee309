#include "viewsarea.h"

#include "overviewpane.h"

#include <wx/intl.h>

namespace vorlan {

ViewsArea::ViewsArea(wxWindow* parent) : wxvNotebook(parent, k_Id, "ViewManager") {
    AddPage(new OverviewPane(this), _("Overview"), true);
}

} // namespace vorlan
