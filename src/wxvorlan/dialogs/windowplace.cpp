#include "windowplace.h"

#include <algorithm>
#include <wx/display.h>
#include <wx/region.h>

namespace {

// No desktop is larger; beyond it the sums of places and sizes would run over.
constexpr int k_MostPixels = 1 << 20;

int64_t AreaOf(wxRect const& rect) { return int64_t{rect.width} * rect.height; }

} // namespace

wxRect wxvPlaceWithin(wxRect wanted, wxSize const& smallest, std::vector<wxRect> const& screens) {
    if (screens.empty())
        return wanted;
    wanted.x = std::clamp(wanted.x, -k_MostPixels, k_MostPixels);
    wanted.y = std::clamp(wanted.y, -k_MostPixels, k_MostPixels);
    wanted.width = std::max(std::min(wanted.width, k_MostPixels), smallest.x);
    wanted.height = std::max(std::min(wanted.height, k_MostPixels), smallest.y);
    wxRect best = screens.front();
    int64_t most = 0;
    wxRegion all; // screens that show the same lie over each other
    for (wxRect const& screen : screens) {
        all.Union(screen);
        int64_t const part = AreaOf(screen.Intersect(wanted));
        if (part > most) {
            most = part;
            best = screen;
        }
    }
    if (all.Contains(wanted) == wxInRegion)
        return wanted;
    wanted.width = std::min(wanted.width, best.width);
    wanted.height = std::min(wanted.height, best.height);
    wanted.x = std::clamp(wanted.x, best.x, best.x + best.width - wanted.width);
    wanted.y = std::clamp(wanted.y, best.y, best.y + best.height - wanted.height);
    return wanted;
}

std::vector<wxRect> wxvScreens() {
    std::vector<wxRect> screens;
    for (unsigned i = 0; i < wxDisplay::GetCount(); ++i) {
        wxDisplay const screen(i);
        screens.insert(screen.IsPrimary() ? screens.begin() : screens.end(), screen.GetClientArea());
    }
    return screens;
}
