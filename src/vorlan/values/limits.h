#pragma once

// Numbers of values as the types of the interfaces, at their limits beyond them.

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vorlan {

inline int ToInt(int64_t value) {
    return static_cast<int>(
        std::clamp<int64_t>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

inline unsigned ToUnsigned(int64_t value) {
    return static_cast<unsigned>(std::clamp<int64_t>(value, 0, std::numeric_limits<unsigned>::max()));
}

} // namespace vorlan
