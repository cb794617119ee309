#pragma once

#include <atomic>
#include <cstdint>

namespace vorlan {

// What the status bar must count anew; bits.
enum class StatusFlag : uint32_t { Engines = 1, Jobs = 2, Work = 4 };

// StatusFlags is where the lists leave word for the status bar.
// Owner: none, static. Works with: the lists, which mark; FarmClient, which takes what
// was marked on the 250 ms tick. Thread: any.
class StatusFlags {
public:
    static void Mark(StatusFlag flag) {
        uint32_t const bit = static_cast<uint32_t>(flag);
        // Most changes find it marked: then nobody's cache line moves.
        if ((s_flags.load(std::memory_order_acquire) & bit) == 0)
            s_flags.fetch_or(bit, std::memory_order_acq_rel);
    }
    // The bits that were marked since the last time.
    static uint32_t TakeMarked() { return s_flags.exchange(0, std::memory_order_acq_rel); }

private:
    inline static std::atomic<uint32_t> s_flags{0};
};

} // namespace vorlan
