#include "windowicon.h"

#include <memory>
#include <wx/bitmap.h>
#include <wx/dcmemory.h>
#include <wx/graphics.h>
#include <wx/icon.h>
#include <wx/image.h>
#include <wx/wxvcolors.h>

namespace vorlan {

namespace {

// Two strokes that meet, on a 24-unit grid.
wxIcon IconOf(int size) {
    wxImage blank(size, size);
    blank.InitAlpha();
    std::fill_n(blank.GetAlpha(), size * size, static_cast<unsigned char>(wxALPHA_TRANSPARENT));
    wxBitmap bitmap(blank);
    {
        wxMemoryDC dc(bitmap);
        std::unique_ptr<wxGraphicsContext> const graphics(wxGraphicsContext::Create(dc));
        graphics->SetAntialiasMode(wxANTIALIAS_DEFAULT);
        graphics->Scale(size / 24.0, size / 24.0);
        graphics->SetPen(*wxTRANSPARENT_PEN);
        graphics->SetBrush(wxBrush(wxvGetColor(ColorScheme::Dark, ColorName::Selected)));
        graphics->DrawRoundedRectangle(1, 1, 22, 22, 5);
        wxGraphicsPath path = graphics->CreatePath();
        path.MoveToPoint(6.5, 7.5);
        path.AddLineToPoint(12, 17);
        path.AddLineToPoint(17.5, 7.5);
        graphics->SetPen(graphics->CreatePen(wxGraphicsPenInfo(wxvGetColor(ColorScheme::Dark, ColorName::TextBlue), 2.6)
                                                 .Cap(wxCAP_ROUND)
                                                 .Join(wxJOIN_ROUND)));
        graphics->StrokePath(path);
    }
    wxIcon icon;
    icon.CopyFromBitmap(bitmap);
    return icon;
}

} // namespace

wxIconBundle WindowIcons() {
    wxIconBundle bundle;
    for (int const size : {16, 32, 48, 128})
        bundle.AddIcon(IconOf(size));
    return bundle;
}

} // namespace vorlan
