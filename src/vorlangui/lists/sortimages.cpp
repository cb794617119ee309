// The marks in the headers of the sort columns.
#include "listctrlbase.h"

#include <wx/dcmemory.h>
#include <wx/imaglist.h>
#include <wx/wxvcolors.h>

#include <array>

namespace vorlan {

namespace {

constexpr int k_Side = 12;
constexpr double k_Readable = 4.5;

enum class Points { Up, Down };

struct MarkColors {
    wxColour fill;
    wxColour edge;
};

// The marks are dark where that reads on the header.
MarkColors FirstColors() {
    wxColour const dark("#000000");
    if (wxvContrast(dark, wxvGetColor(ColorName::Header)) >= k_Readable)
        return {dark, wxColour("#222222")};
    return {wxvGetColor(ColorName::Text), wxvGetColor(ColorName::Text)};
}

MarkColors SecondColors() { return {wxColour("#DEA33E"), wxColour("#7D5940")}; }

wxBitmap Triangle(Points points, MarkColors const& colors) {
    wxBitmap bitmap(k_Side, k_Side, 24);
    {
        wxMemoryDC dc(bitmap);
        // A colour that no mark has; the mask takes it out.
        dc.SetBackground(*wxGREEN_BRUSH);
        dc.Clear();
        dc.SetPen(wxPen(colors.edge));
        dc.SetBrush(wxBrush(colors.fill));
        std::array<wxPoint, 3> corners{wxPoint(1, 9), wxPoint(11, 9), wxPoint(6, 3)};
        if (points == Points::Down) {
            for (wxPoint& corner : corners)
                corner.y = k_Side - corner.y;
        }
        dc.DrawPolygon(static_cast<int>(corners.size()), corners.data());
    }
    bitmap.SetMask(new wxMask(bitmap, *wxGREEN));
    return bitmap;
}

std::array<wxBitmap, 4> Pictures() {
    return {Triangle(Points::Up, FirstColors()), Triangle(Points::Down, FirstColors()),
            Triangle(Points::Up, SecondColors()), Triangle(Points::Down, SecondColors())};
}

// Follows the scheme.
class Images : public HasSlots<ThreadPolicy::SingleThreaded> {
public:
    Images() : m_list(new wxImageList(k_Side, k_Side, true, 4)) {
        for (wxBitmap const& picture : Pictures())
            m_list->Add(picture);
        wxvColorsChanged().Connect(this, &Images::OnColors);
    }
    wxImageList* List() { return m_list; }

private:
    void OnColors() {
        int index = 0;
        for (wxBitmap const& picture : Pictures())
            m_list->Replace(index++, picture);
    }

    wxImageList* const m_list; // never freed: lists may draw to the last
};

} // namespace

wxImageList* SortImages() {
    static Images* const s_images = new Images;
    return s_images->List();
}

} // namespace vorlan
