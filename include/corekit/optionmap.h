#pragma once

#include <corekit/containers.h>
#include <corekit/string.h>

namespace corekit {

// Named text values; the names compare without regard to case.
using OptionMap = map<String, String, String::ciless>;

} // namespace corekit
