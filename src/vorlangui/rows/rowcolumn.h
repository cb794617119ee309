#pragma once

#include "sortkey.h"

#include <corekit/string.h>
#include <corekit/time.h>
#include <vorlan/valueblock.h>

namespace vorlan {

// The colour of a row's text, by what the row stands for; Base is the list's own.
enum class RowColor : uint8_t { Base, Green, Cyan, Blue, Grey, Yellow, Indigo, DarkCyan, DarkViolet };

// What a column sorts by.
enum class KeyOf : uint8_t { Text, TextNoCase, Number };

// What a column's key can change with, beside the values of the row's own object.
enum class KeyNeeds : uint8_t {
    Values, // nothing
    Names,  // the names of Pools and Products
    Live,   // anything: running work, failures, the time
};

// The number of a custom column's type in each list.
inline constexpr int k_CustomType = 19;
// Fits the column to its content.
inline constexpr int k_FitWidth = -1;

// What columns are wide to begin with, by what they hold; in device-independent pixels.
struct ColumnWidth {
    static constexpr int Name = 220;
    static constexpr int Text = 180;
    static constexpr int Time = 130;
    static constexpr int Word = 100;
    static constexpr int Number = 64;

    // What such a column keeps where all of them have too little room: texts of any length
    // can be read in part.
    static constexpr int Least(int width) { return width == Name ? 180 : width == Text ? 80 : width; }
};

// RowColumn is a type of column of one kind of list. Tables of them are constant.
template <class Info>
struct RowColumn {
    int type;
    char const* title;
    // The cell. `custom` is the text of a custom column.
    String (*text)(Info const& info, String const& custom, Time now);
    KeyOf keyOf = KeyOf::Text;
    KeyNeeds needs = KeyNeeds::Values;
    // What it sorts by when that is no text.
    SortCode (*code)(Info const& info, Time now) = nullptr;
    // What it sorts by when that is a stored text, without a copy; else the cell's.
    std::string_view (*stored)(ValueBlock const& values) = nullptr;
    // Two classes of codes (their first byte) without an order between them: of two such
    // rows "less" holds both ways. By status, "Shot 7: Queued" (waiting) is less than
    // "Shot 9: Paused: 2 Active" (running and paused), and that less than "Shot 7: Queued":
    // the one that StableSort asks for first goes first. -1: none.
    int looseClass = -1;
    int otherLooseClass = -1;
    int width = ColumnWidth::Word;
    // In the menu of columns; null: its title.
    char const* menuTitle = nullptr;
};

// SortBy is one of the two columns that a list sorts by.
struct SortBy {
    // By the id alone.
    static constexpr int k_ByID = -2;
    int type = k_ByID;
    bool ascending = true;
    String custom;
    bool operator==(SortBy const&) const = default;
};

struct SortOrder {
    SortBy first;
    SortBy second;
    bool operator==(SortOrder const&) const = default;
};

} // namespace vorlan
