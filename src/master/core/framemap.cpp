#include "master/core/framemap.h"

#include <algorithm>

namespace farm {

using vorlan::FrameRange;

namespace {

int LowestOf(FrameRange::Part const& part) { return std::min(part.first, part.Last()); }
int HighestOf(FrameRange::Part const& part) { return std::max(part.first, part.Last()); }

} // namespace

FrameMap::FrameMap(FrameRange range) : m_range(std::move(range)) {
    uint32_t position = 0;
    for (FrameRange::Part const& part : m_range.Parts()) {
        m_byLowest.emplace(LowestOf(part), m_pieces.size());
        m_pieces.push_back({part, position});
        position += part.count;
    }
    int64_t highest = INT64_MIN;
    for (auto const& [lowest, index] : m_byLowest) {
        m_overlapping = m_overlapping || lowest <= highest;
        highest = std::max<int64_t>(highest, HighestOf(m_pieces[index].part));
    }
    m_overlapping = m_overlapping || m_byLowest.size() != m_pieces.size();
}

FrameMap::Piece const& FrameMap::PieceAt(uint32_t position) const {
    auto const after = std::upper_bound(m_pieces.begin(), m_pieces.end(), position,
                                        [](uint32_t p, Piece const& piece) { return p < piece.position; });
    return *std::prev(after);
}

int FrameMap::FrameAt(uint32_t position) const {
    Piece const& piece = PieceAt(position);
    return static_cast<int>(piece.part.At(position - piece.position));
}

std::optional<uint32_t> FrameMap::PositionOf(int frame) const {
    auto const positionIn = [frame](Piece const& piece) -> std::optional<uint32_t> {
        if (!piece.part.Contains(frame))
            return std::nullopt;
        int64_t const distance = static_cast<int64_t>(frame) - piece.part.first;
        return piece.position + (piece.part.step == 0 ? 0 : static_cast<uint32_t>(distance / piece.part.step));
    };
    if (!m_overlapping) {
        auto const after = m_byLowest.upper_bound(frame);
        return after == m_byLowest.begin() ? std::nullopt : positionIn(m_pieces[std::prev(after)->second]);
    }
    for (Piece const& piece : m_pieces) {
        if (auto const position = positionIn(piece))
            return position;
    }
    return std::nullopt;
}

corekit::String FrameMap::TextOf(Spans const& spans) const {
    if (spans.size() == 1)
        return m_range.Slice(spans[0].first, spans[0].Count()).Text();
    std::vector<int> frames;
    for (Span const& span : spans) {
        for (uint32_t position = span.first; position < span.end; ++position)
            frames.push_back(FrameAt(position));
    }
    return FrameRange::FromFrames(frames).Text();
}

Spans FrameMap::PositionsOf(FrameRange const& frames) const {
    SpanSet found;
    frames.ForEach([&](int frame) {
        if (auto const position = PositionOf(frame))
            found.Insert(Span{*position, *position + 1});
    });
    return found.All();
}

uint32_t FrameMap::EvenEnd(uint32_t position) const {
    Piece const& piece = PieceAt(position);
    return piece.position + piece.part.count;
}

} // namespace farm
