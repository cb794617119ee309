#pragma once

#include <corekit/string.h>

#include <string>
#include <string_view>

namespace farm {

// Any bytes as text of the base64 alphabet, padded.
std::string EncodeBase64(std::string_view bytes);

// The bytes again; throws StoreException where the text is no base64.
corekit::String DecodeBase64(std::string_view text);

} // namespace farm
