#pragma once

// Paths that are called otherwise on other platforms.

#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <map>
#include <vector>

namespace vorlan {

// For each folder its path, by the number of the platform (Platform::PlatformNumber) as text.
using PathNames = std::vector<std::map<String, String>>;

// The text with each path that begins in one of the folders, as another platform calls it, called as `platform` does:
// whole values, words of a command line and entries of a list.
String TranslatePaths(String const& text, PathNames const& names, int platform);

} // namespace vorlan
