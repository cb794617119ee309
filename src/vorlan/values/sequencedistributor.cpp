#include "rangefolder.h"

#include <vorlan/sequencedistributor.h>

#include <algorithm>

namespace vorlan {

unsigned SequenceDistributor::Items::insert(int from, int to) {
    if (from > to)
        std::swap(from, to);
    if (from < -FrameRange::k_MaxFrame || to > FrameRange::k_MaxFrame)
        return 0;
    int64_t const asked = static_cast<int64_t>(to) - from + 1;
    int first = from;
    int last = to;
    int64_t known = 0;
    // The spans that the new one touches or meets become part of it.
    auto begin = m_spans.upper_bound(from);
    if (begin != m_spans.begin() && static_cast<int64_t>(std::prev(begin)->second) + 1 >= from)
        --begin;
    auto end = begin;
    for (; end != m_spans.end() && end->first <= static_cast<int64_t>(to) + 1; ++end) {
        int64_t const shared = std::min<int64_t>(end->second, to) - std::max<int64_t>(end->first, from) + 1;
        known += std::max<int64_t>(shared, 0);
        first = std::min(first, end->first);
        last = std::max(last, end->second);
    }
    auto const added = static_cast<uint64_t>(asked - known);
    if (m_size + added > FrameRange::k_MaxFrames)
        return 0;
    m_spans.erase(begin, end);
    m_spans[first] = last;
    m_size += added;
    return static_cast<unsigned>(added);
}

void SequenceDistributor::Items::clear() {
    m_spans.clear();
    m_size = 0;
}

String SequenceDistributor::CalculateRange(Items const& items) {
    RangeFolder folder;
    for (auto const& [first, last] : items.Spans())
        folder.Push(FrameRange::Part{first, 1, static_cast<uint32_t>(static_cast<int64_t>(last) - first + 1)});
    return folder.Finish().Text();
}

} // namespace vorlan
