#include "columnfit.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace vorlan {

namespace {

// Takes what there is too much from the columns, each in the part that it can give.
void Shrink(std::vector<int>& widths, std::vector<int> const& gifts, int room) {
    int64_t tooMuch = std::reduce(widths.begin(), widths.end(), int64_t{0}) - room;
    int64_t total = std::reduce(gifts.begin(), gifts.end(), int64_t{0});
    for (size_t i = 0; i < widths.size() && tooMuch > 0 && total > 0; ++i) {
        int64_t const part = std::min<int64_t>(gifts[i], (tooMuch * gifts[i] + total - 1) / total);
        widths[i] -= static_cast<int>(part);
        tooMuch -= part;
        total -= gifts[i];
    }
}

} // namespace

std::vector<int> FittedWidths(std::span<ColumnNeed const> needs, int room, int most) {
    std::vector<int> widths;
    for (ColumnNeed const& need : needs)
        widths.push_back(std::clamp(need.content, need.start, std::max(need.start, most)));
    for (bool const keepsContent : {true, false}) {
        std::vector<int> gifts;
        for (size_t i = 0; i < needs.size(); ++i) {
            int const kept = keepsContent ? needs[i].content : std::min(needs[i].content, needs[i].least);
            gifts.push_back(std::max(0, widths[i] - kept));
        }
        Shrink(widths, gifts, room);
    }
    return widths;
}

} // namespace vorlan
