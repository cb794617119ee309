#pragma once

// The texts of the status bar.

#include <corekit/string.h>

namespace vorlan {

corekit::String EngineStatusText(size_t all, size_t available, size_t active);
corekit::String JobStatusText(size_t all, size_t active, size_t finished);
corekit::String WorkStatusText(size_t all);

// The three parts as the bar shows them.
corekit::String JoinedStatus(corekit::String const& engines, corekit::String const& jobs, corekit::String const& work);

} // namespace vorlan
