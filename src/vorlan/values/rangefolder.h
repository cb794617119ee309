#pragma once

// Folds frames into the parts of a range.

#include <vorlan/range.h>

#include <cstdint>
#include <utility>

namespace vorlan {

// Takes frames and parts in order and builds the shortest usual list of parts of
// them. Lives on the stack of whoever builds a FrameRange. Steps other than 1 need
// three frames to be worth a part. Frames must not come twice.
class RangeFolder {
public:
    void Push(int frame) {
        ++m_range.m_count;
        int64_t const distance = m_open.count == 0 ? 0 : static_cast<int64_t>(frame) - m_open.Last();
        bool const isFar = distance == 0 || distance != static_cast<int>(distance); // a frame named again is no step
        if (m_open.count == 0 || isFar) {
            Flush();
            m_open = {frame, 1, 1};
        } else if (m_open.count == 1) {
            m_open = {m_open.first, static_cast<int>(distance), 2};
        } else if (distance == m_open.step) {
            ++m_open.count;
        } else if (m_open.count == 2 && !IsWorthPair()) {
            int const last = m_open.Last();
            m_range.m_parts.push_back({m_open.first, 1, 1});
            m_open = {last, static_cast<int>(distance), 2};
        } else {
            m_range.m_parts.push_back(m_open);
            m_open = {frame, 1, 1};
        }
    }

    // As each of its frames, but in one step once they continue what is open.
    void Push(FrameRange::Part const& part) {
        for (uint32_t i = 0; i < part.count; ++i) {
            if (m_open.count >= 2 && m_open.step == part.step && m_open.At(m_open.count) == part.At(i)) {
                m_open.count += part.count - i;
                m_range.m_count += part.count - i;
                return;
            }
            Push(static_cast<int>(part.At(i)));
        }
    }

    FrameRange Finish() {
        Flush();
        return std::move(m_range);
    }

private:
    bool IsWorthPair() const { return m_open.step == 1 || m_open.step == -1; }

    void Flush() {
        if (m_open.count == 2 && !IsWorthPair()) {
            m_range.m_parts.push_back({m_open.first, 1, 1});
            m_range.m_parts.push_back({m_open.Last(), 1, 1});
        } else if (m_open.count > 0) {
            m_range.m_parts.push_back(m_open);
        }
        m_open.count = 0;
    }

    FrameRange m_range;
    FrameRange::Part m_open{0, 1, 0};
};

} // namespace vorlan
