#pragma once

// The value names that every program knows, so that NameTable holds them first and
// in the spelling of keys.h.

#include <span>

namespace vorlan {

std::span<char const* const> KnownNames();

} // namespace vorlan
