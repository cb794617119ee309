#pragma once

#include <corekit/string.h>

#include <map>

namespace corekit {

// Named text values; the names compare without regard to case.
using OptionMap = std::map<String, String, String::ciless>;

} // namespace corekit
