#pragma once

// The version of this program family.

#include <corekit/string.h>

namespace vorlan {

// 10000 times the major, 100 times the minor and the patch number: 30000 is 3.0.0.
inline constexpr unsigned k_VorlanVersion = 30000;

// The same for people.
inline constexpr char const* k_VorlanVersionText = "3.0.0";

// "3.0.0" of 30000.
corekit::String VersionText(unsigned version);

// The day of the release, ISO form.
inline constexpr char const* k_VorlanReleaseDate = "2026-11-20";

} // namespace vorlan
