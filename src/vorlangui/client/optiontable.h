#pragma once

#include <corekit/option.h>
#include <vorlan/fwd.h>

namespace vorlan {

// All options of options.h, for CheckOptions. Any thread.
OptionTable const& LocalOptions();

} // namespace vorlan
