#pragma once

// The filter box above a list: which items stay.

#include <corekit/string.h>
#include <initializer_list>
#include <span>

// Every term must be found in one of the item's texts, in any case; a term behind "!"
// or "-" must be in none. "\!" and "\-" begin a term that is meant as it stands. A term
// without a letter, half typed, keeps every item. Any thread.
bool ListItemPassesFilter(std::span<corekit::String const> itemTexts, std::span<corekit::String const> terms);

inline bool ListItemPassesFilter(std::initializer_list<corekit::String> itemTexts,
                                 std::span<corekit::String const> terms) {
    return ListItemPassesFilter(std::span(itemTexts.begin(), itemTexts.size()), terms);
}
