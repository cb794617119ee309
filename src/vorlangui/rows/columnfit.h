#pragma once

// How wide the columns of a list become while nobody has chosen a width. Pure.

#include <span>
#include <vector>

namespace vorlan {

// What one column asks for, in pixels.
struct ColumnNeed {
    int start;   // what columns of its type begin with
    int content; // what its title and the cells in sight want, and some room for others
    int least;   // nothing takes it below that, unless its content wants less
};

// Each as wide as its content wants, no less than its start and no more than `most` unless
// it starts with more. Where `room` is too little for all of them they give up what they
// do not fill, and then what is above their least.
std::vector<int> FittedWidths(std::span<ColumnNeed const> needs, int room, int most);

} // namespace vorlan
