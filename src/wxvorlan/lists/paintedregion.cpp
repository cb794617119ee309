#include "paintedregion.h"

#include <cmath>
#include <memory>
#include <wx/dc.h>
#include <wx/region.h>
#include <wx/window.h>

#ifdef __WXGTK__

#include "theme/gtkheaders.h"

std::optional<wxRegion> PaintedRegion(wxWindow const&, wxDC& dc) {
    auto* const cairo = static_cast<cairo_t*>(dc.GetHandle());
    if (!cairo)
        return std::nullopt;
    std::unique_ptr<cairo_rectangle_list_t, decltype(&cairo_rectangle_list_destroy)> const pieces(
        cairo_copy_clip_rectangle_list(cairo), &cairo_rectangle_list_destroy);
    if (pieces->status != CAIRO_STATUS_SUCCESS)
        return std::nullopt;
    wxRegion region;
    for (int i = 0; i < pieces->num_rectangles; ++i) {
        cairo_rectangle_t const& piece = pieces->rectangles[i];
        // Finer pixels may be drawn in part.
        int const left = static_cast<int>(std::ceil(piece.x));
        int const top = static_cast<int>(std::ceil(piece.y));
        region.Union(left, top, static_cast<int>(std::floor(piece.x + piece.width)) - left,
                     static_cast<int>(std::floor(piece.y + piece.height)) - top);
    }
    return region;
}

#else

std::optional<wxRegion> PaintedRegion(wxWindow const& window, wxDC&) { return window.GetUpdateRegion(); }

#endif
