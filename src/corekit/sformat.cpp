#include <corekit/sformat.h>

#include <cstdio>

namespace corekit {

String SFormat(char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    String result = SFormatV(format, arguments);
    va_end(arguments);
    return result;
}

String SFormatV(char const* format, va_list arguments) {
    char buffer[512];
    va_list again;
    va_copy(again, arguments);
    int const length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    String result;
    if (length > 0 && static_cast<size_t>(length) < sizeof buffer) {
        result = String(buffer, static_cast<size_t>(length));
    } else if (length > 0) {
        // The C library writes its zero into the string's own last byte.
        result.resize(static_cast<size_t>(length));
        std::vsnprintf(result.data(), result.size() + 1, format, again);
    }
    va_end(again);
    return result;
}

} // namespace corekit
