// The marks in the headers of the sort columns.
#include "listctrlbase.h"

#include <wx/image.h>
#include <wx/imaglist.h>
#include <wx/wxvcolors.h>

#include <array>
#include <cmath>

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

// How much of a pixel, `pixel` wide, the triangle that points up covers.
struct Coverage {
    double whole; // with the edge
    double inner; // without it
};

Coverage CoverageAt(int x, int y, double pixel) {
    constexpr int k_Steps = 4; // samples of a pixel, each way
    constexpr double k_Top = 3.0;
    constexpr double k_Bottom = 9.0;
    constexpr double k_Edge = 1.0;
    auto inside = [&](double px, double py, double less) {
        double const half = (py - k_Top) * 0.9 - less * 1.35;
        return py >= k_Top && py <= k_Bottom - less && std::abs(px - k_Side / 2.0) <= half;
    };
    int whole = 0;
    int inner = 0;
    for (int sample = 0; sample < k_Steps * k_Steps; ++sample) {
        double const px = (x + (sample % k_Steps + 0.5) / k_Steps) * pixel;
        double const py = (y + (sample / k_Steps + 0.5) / k_Steps) * pixel;
        whole += inside(px, py, 0);
        inner += inside(px, py, k_Edge);
    }
    constexpr double k_All = k_Steps * k_Steps;
    return {whole / k_All, inner / k_All};
}

// The toolkit's own drawing would mix the edge with the colour of a mask.
wxBitmap Triangle(Points points, MarkColors const& colors, double scale) {
    int const side = static_cast<int>(std::lround(k_Side * scale));
    wxImage image(side, side);
    image.InitAlpha();
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            Coverage const coverage = CoverageAt(x, points == Points::Up ? y : side - 1 - y, 1 / scale);
            double const fill = coverage.whole > 0 ? coverage.inner / coverage.whole : 0;
            wxColour const colour = wxvMixColors(colors.edge, colors.fill, fill);
            image.SetRGB(x, y, colour.Red(), colour.Green(), colour.Blue());
            image.SetAlpha(x, y, static_cast<unsigned char>(std::lround(coverage.whole * 255)));
        }
    }
    return wxBitmap(image, wxBITMAP_SCREEN_DEPTH, scale);
}

std::array<wxBitmap, 4> Pictures(double scale) {
    return {Triangle(Points::Up, FirstColors(), scale), Triangle(Points::Down, FirstColors(), scale),
            Triangle(Points::Up, SecondColors(), scale), Triangle(Points::Down, SecondColors(), scale)};
}

// Follows the scheme.
class Images : public HasSlots<ThreadPolicy::SingleThreaded> {
public:
    explicit Images(double scale) : m_scale(scale), m_list(new wxImageList(k_Side, k_Side, false, 4)) {
        for (wxBitmap const& picture : Pictures(m_scale))
            m_list->Add(picture);
        wxvColorsChanged().Connect(this, &Images::OnColors);
    }
    wxImageList* List() { return m_list; }

private:
    void OnColors() {
        int index = 0;
        for (wxBitmap const& picture : Pictures(m_scale))
            m_list->Replace(index++, picture);
    }

    double const m_scale;
    wxImageList* const m_list; // never freed: lists may draw to the last
};

} // namespace

wxImageList* SortImages(wxWindow const& list) {
    static Images* const s_images = new Images(list.GetContentScaleFactor());
    return s_images->List();
}

} // namespace vorlan
