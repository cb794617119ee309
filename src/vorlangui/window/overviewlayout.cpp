#include "overviewlayout.h"

#include <algorithm>
#include <cmath>

namespace vorlan {

namespace {

// Plain widths; the name takes what is left.
constexpr std::array<int, k_OverviewColumns> k_Widths{0, 140, 80, 130, 170};
// Who goes first when there is too little room.
constexpr OverviewColumn k_FirstToGo[] = {OverviewColumn::Product, OverviewColumn::Priority, OverviewColumn::Status};

} // namespace

OverviewLayout LayOutOverview(wxSize size, OverviewMetrics const& metrics, double scale) {
    OverviewLayout layout{metrics, size};
    int others = 0;
    for (int i = 1; i < k_OverviewColumns; ++i) {
        layout.width[i] = static_cast<int>(std::lround(k_Widths[i] * scale));
        others += layout.width[i];
    }
    for (OverviewColumn const column : k_FirstToGo) {
        if (size.x - others >= metrics.narrowest)
            break;
        others -= std::exchange(layout.width[static_cast<int>(column)], 0);
    }
    layout.width[0] = std::max(size.x - others, 0);
    int x = 0;
    for (int i = 0; i < k_OverviewColumns; ++i) {
        layout.left[i] = x;
        x += layout.width[i];
    }
    return layout;
}

wxRect OverviewLayout::Figure(int index) const {
    constexpr int k_Figures = 3;
    int const width = std::clamp((size.x - metrics.margin) / k_Figures, 0, metrics.figureWidth);
    return {metrics.margin + index * width, 0, width, metrics.figures};
}

wxRect OverviewLayout::HeaderCell(OverviewColumn column) const {
    int const i = static_cast<int>(column);
    return {left[i], metrics.figures, width[i], metrics.header};
}

wxRect OverviewLayout::List() const {
    int const top = metrics.figures + metrics.header;
    return {0, top, size.x, std::max(size.y - top, 0)};
}

wxRect OverviewLayout::Row(int index) const { return {0, List().y + index * metrics.row, size.x, metrics.row}; }

wxRect OverviewLayout::Cell(int index, OverviewColumn column) const {
    int const i = static_cast<int>(column);
    return {left[i], Row(index).y, width[i], metrics.row};
}

int OverviewLayout::RowsInSight() const { return std::max(List().height / metrics.row, 1); }

} // namespace vorlan
