#pragma once

// The lock on the commands that people should think twice about.

#include <corekit/string.h>

#include <cstdint>
#include <vorlan/fwd.h>

namespace vorlan {

// What stands for a password on the wire and in the options; 0 for an empty one. It
// keeps the text from sight and protects nothing. `password` is UTF-8; every character
// counts by its number, and bytes that are no UTF-8 each by theirs.
uint32_t PasswordValue(String const& password);

} // namespace vorlan
