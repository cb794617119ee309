#pragma once

#include <corekit/string.h>

namespace vorlan {

// Guesses from its name that a machine only renders: a digit beside one of the words
// of such names ("RENDER07"), or a name of digits and hyphens alone ("10-0-3-17").
bool LooksLikeRenderNode(corekit::String const& machineName);

} // namespace vorlan
