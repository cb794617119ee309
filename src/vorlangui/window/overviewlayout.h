// Where the parts of the overview are. Sizes in, rectangles out.
#pragma once

#include <array>
#include <wx/gdicmn.h>

namespace vorlan {

enum class OverviewColumn { Name, Product, Priority, Progress, Status };
inline constexpr int k_OverviewColumns = 5;

struct OverviewMetrics {
    int figures = 76; // height of the strip above the list
    int header = 25;
    int row = 22;
    int padding = 8;
    int margin = 16; // left of the figures
    int figureWidth = 200;
    int narrowest = 130; // of the name

    // The same for a resolution: `scale` gives a length in its pixels.
    template <class Scale>
    OverviewMetrics Scaled(Scale scale) const {
        return {scale(figures), scale(header),      scale(row),      scale(padding),
                scale(margin),  scale(figureWidth), scale(narrowest)};
    }
};

struct OverviewLayout {
    OverviewMetrics metrics;
    wxSize size;
    // Of the window; a column of width 0 has no room.
    std::array<int, k_OverviewColumns> left{};
    std::array<int, k_OverviewColumns> width{};

    wxRect Figure(int index) const;
    wxRect HeaderCell(OverviewColumn column) const;
    // `index` counts from the first row in sight.
    wxRect Row(int index) const;
    wxRect Cell(int index, OverviewColumn column) const;
    wxRect List() const;
    // Whole rows that fit, at least one.
    int RowsInSight() const;
};

// `scale` turns the plain widths of the columns into pixels.
OverviewLayout LayOutOverview(wxSize size, OverviewMetrics const& metrics, double scale);

} // namespace vorlan
