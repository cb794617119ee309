#pragma once

#include <corekit/string.h>

#include <cstdarg>

namespace corekit {

// Text by a printf format. A format that the C library rejects gives empty text.
String SFormat(char const* format, ...) __attribute__((format(printf, 1, 2)));
String SFormatV(char const* format, va_list arguments) __attribute__((format(printf, 1, 0)));

} // namespace corekit
