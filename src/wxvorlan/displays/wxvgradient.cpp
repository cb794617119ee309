#include <cmath>
#include <utility>
#include <wx/dcclient.h>
#include <wx/graphics.h>
#include <wx/wxvcolors.h>
#include <wx/wxvgradient.h>

namespace {

// How far the gradient is at `place`, both 0 to 1.
double PartAt(double place, double factor) { return factor > 0 ? std::pow(place, factor) : 1.0; }

// Straight pieces that stand for the bent gradient; the eye sees no corner.
wxGraphicsGradientStops BentStops(wxColour const& from, wxColour const& to, double factor) {
    constexpr int k_Pieces = 6;
    wxGraphicsGradientStops stops(from, to);
    if (factor == 1.0)
        return stops;
    for (int i = 1; i < k_Pieces; ++i) {
        double const place = static_cast<double>(i) / k_Pieces;
        stops.Add(wxvMixColors(from, to, PartAt(place, factor)), static_cast<float>(place));
    }
    return stops;
}

// For a device context without a graphics context: a line of pixels at a time.
void DrawLines(wxDC& dc, wxRect const& rect, wxColour const& from, wxColour const& to, double factor, bool vertical,
               bool forward) {
    int const lines = vertical ? rect.height : rect.width;
    for (int i = 0; i < lines; ++i) {
        double const place = lines > 1 ? static_cast<double>(i) / (lines - 1) : 0.0;
        dc.SetBrush(wxvMixColors(from, to, PartAt(place, factor)));
        int const at = forward ? i : lines - 1 - i;
        if (vertical)
            dc.DrawRectangle(rect.x, rect.y + at, rect.width, 1);
        else
            dc.DrawRectangle(rect.x + at, rect.y, 1, rect.height);
    }
}

} // namespace

void DrawGradedRectangle(wxDC& dc, wxRect const& rect, wxColour const& from, wxColour const& to, double factor,
                         bool vertical, bool forward) {
    if (rect.width <= 0 || rect.height <= 0)
        return;
    wxPen const pen = dc.GetPen();
    wxBrush const brush = dc.GetBrush();
    if (wxGraphicsContext* const graphics = dc.GetGraphicsContext()) {
        wxPoint begin = rect.GetTopLeft();
        wxPoint end = begin + (vertical ? wxPoint(0, rect.height) : wxPoint(rect.width, 0));
        if (!forward)
            std::swap(begin, end);
        graphics->SetPen(wxNullGraphicsPen);
        graphics->SetBrush(
            graphics->CreateLinearGradientBrush(begin.x, begin.y, end.x, end.y, BentStops(from, to, factor)));
        graphics->DrawRectangle(rect.x, rect.y, rect.width, rect.height);
    } else {
        dc.SetPen(*wxTRANSPARENT_PEN);
        DrawLines(dc, rect, from, to, factor, vertical, forward);
    }
    dc.SetPen(pen);
    dc.SetBrush(brush);
}
