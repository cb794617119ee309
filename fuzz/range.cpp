// Texts of frame ranges.

#include <vorlan/range.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace vorlan;

namespace {

// Millions of frames that are there twice are looked at one by one, which takes a
// sanitizer's build many seconds.
bool MayTakeLong(std::string_view text) {
    size_t digits = 0;
    size_t mostDigits = 0;
    for (char const c : text) {
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        mostDigits = std::max(mostDigits, digits);
    }
    return mostDigits > 4 && mostDigits < 10 && text.find_first_of(",; \t\r\n") != text.npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    if (MayTakeLong(text))
        return 0;
    FrameRange range;
    String error;
    if (!FrameRange::Parse(text, range, &error)) {
        if (error.Empty() || !range.Empty())
            std::abort();
        return 0;
    }
    if (range.Count() > FrameRange::k_MaxFrames)
        std::abort();
    FrameRange again;
    if (!FrameRange::Parse(range.Text(), again) || again.Count() != range.Count())
        std::abort();
    if (range.Count() == 0)
        return 0;
    if (again.At(0) != range.At(0) || again.At(range.Count() - 1) != range.At(range.Count() - 1))
        std::abort();
    // The first packet and the rest make the whole.
    FrameRange const packet = range.Packet(0, 3);
    if (range.Count() <= 2000 && range.Subtract(packet).Count() + packet.Count() != range.Count())
        std::abort();
    return 0;
}
