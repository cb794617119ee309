#pragma once

#include <corekit/string.h>

namespace vorlan {

// The numbers that a value may be, both ends included; without a width any.
struct NumberBounds {
    double low = 0;
    double high = 0;
};

// What a text must be, "a whole number from 0 to 100" and the like; empty for one that is.
String WantedNumber(String const& text, bool whole, NumberBounds const& bounds);

} // namespace vorlan
