#pragma once

// Frame ranges: the text of a Job's frames and the arithmetic on it.

#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace vorlan {

// The frames of a Job in the order in which they are handed out.
//
// A plain value; whoever holds it owns it, one thread. Text such as "1-100" or
// "1-10,20,30-50x2"; numbers may be negative ("-10--5") and run down ("10-1"). No
// frame is in it twice: of doubled ones the first stays.
class FrameRange {
public:
    static constexpr uint64_t k_MaxFrames = 10'000'000;
    static constexpr size_t k_MaxTextLength = 65'536;
    // Frame numbers lie between this and its negative.
    static constexpr int k_MaxFrame = 1'000'000'000;

    // Frames first, first + step, ... `count` of them; step may be negative.
    struct Part {
        int first;
        int step;
        uint32_t count;
        int64_t At(uint64_t index) const { return first + static_cast<int64_t>(index) * step; }
        int Last() const { return static_cast<int>(At(count - 1)); }
        bool Contains(int frame) const;
        bool operator==(Part const&) const = default;
    };

    FrameRange() = default;

    // Throws ArgumentException with a text for people.
    explicit FrameRange(String const& text);

    // False with a text for people that says where and what to write instead; `range`
    // is unchanged then. An empty text is the empty range.
    static bool Parse(std::string_view text, FrameRange& range, String* error = nullptr);

    // The frames in the order given, doubled ones once.
    static FrameRange FromFrames(std::vector<int> const& frames);

    bool Empty() const { return m_parts.empty(); }
    uint64_t Count() const { return m_count; }
    // `index` below Count().
    int At(uint64_t index) const;
    bool Contains(int frame) const;
    std::vector<Part> const& Parts() const { return m_parts; }

    template <class Function>
    void ForEach(Function function) const {
        for (Part const& part : m_parts) {
            for (uint32_t i = 0; i < part.count; ++i)
                function(static_cast<int>(part.At(i)));
        }
    }
    std::vector<int> Frames() const;

    // `count` consecutive frames of the range from the position `from`; fewer at the end.
    FrameRange Slice(uint64_t from, uint64_t count) const;

    // Packets of `size` frames; the last may be smaller.
    uint64_t PacketCount(uint64_t size) const;
    FrameRange Packet(uint64_t number, uint64_t size) const { return Slice(number * size, size); }
    std::vector<String> Packets(uint64_t size) const;

    // The frames of this range that are not in the other, in order.
    FrameRange Subtract(FrameRange const& other) const;

    // The shortest usual text: "1-10", "5", "2-20x2".
    String Text() const;

    bool operator==(FrameRange const& other) const = default;

private:
    friend class RangeFolder;
    bool MayOverlap() const;

    std::vector<Part> m_parts;
    uint64_t m_count = 0;
};

} // namespace vorlan
