#pragma once

// Frames of a Job's range by their position, and back.

#include "master/core/spanset.h"

#include <corekit/string.h>
#include <vorlan/range.h>

#include <map>
#include <optional>
#include <vector>

namespace farm {

// The range of a Job with its frames numbered in the order in which they are handed
// out: 0 is the first frame of the range's text.
//
// Owned by its Job's entry. A plain value, one thread. Positions are what all sets of
// a Job's frames hold, because a range such as "1-1000000x3" is one span of them.
class FrameMap {
public:
    FrameMap() = default;
    explicit FrameMap(vorlan::FrameRange range);

    uint32_t Count() const { return static_cast<uint32_t>(m_range.Count()); }
    vorlan::FrameRange const& Range() const { return m_range; }

    int FrameAt(uint32_t position) const;
    std::optional<uint32_t> PositionOf(int frame) const;

    // The range text of some positions, the sub-range of a unit.
    corekit::String TextOf(Spans const& spans) const;

    // The positions of those frames of a sub-range that are in the range.
    Spans PositionsOf(vorlan::FrameRange const& frames) const;

    // The end of the evenly spaced frames that `position` is among.
    uint32_t EvenEnd(uint32_t position) const;

private:
    struct Piece {
        vorlan::FrameRange::Part part;
        uint32_t position;
    };
    Piece const& PieceAt(uint32_t position) const;

    vorlan::FrameRange m_range;
    std::vector<Piece> m_pieces;      // in order of position
    std::map<int, size_t> m_byLowest; // lowest frame of a piece to the piece
    bool m_overlapping = false;       // pieces cross each other, such as 1-9x2,2-8x2
};

} // namespace farm
