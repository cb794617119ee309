// Texts of frame ranges.

#include <vorlan/range.h>

#include <cstdint>
#include <cstdlib>

using namespace vorlan;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    FrameRange range;
    String error;
    if (!FrameRange::Parse(text, range, &error)) {
        if (error.empty() || !range.Empty())
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
