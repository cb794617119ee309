#pragma once

// Sets of frame positions, kept as spans.

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace farm {

// Positions first <= p < end.
struct Span {
    uint32_t first = 0;
    uint32_t end = 0;
    uint32_t Count() const { return end - first; }
    bool operator==(Span const&) const = default;
};
using Spans = std::vector<Span>;

uint64_t CountOf(Spans const& spans);

// A set of positions in a Job's range, as few spans as possible.
//
// A plain value, one thread. A million consecutive positions cost one entry. Always:
// spans are not empty, do not overlap and do not touch.
class SpanSet {
public:
    bool Empty() const { return m_spans.empty(); }
    uint64_t Count() const { return m_count; }
    void Clear();

    void Insert(Span span);
    void Erase(Span span);
    void Insert(Spans const& spans);
    void Erase(Spans const& spans);
    void Insert(SpanSet const& other);

    bool Contains(uint32_t position) const { return ContainsAll({position, position + 1}); }
    bool ContainsAll(Span span) const;
    bool ContainsAll(Spans const& spans) const;
    bool Intersects(Span span) const;
    bool Intersects(Spans const& spans) const;

    // The positions of `span` that are in the set.
    Spans Within(Span span) const;

    // The first span that ends after `position`; an empty one if there is none.
    Span From(uint32_t position) const;
    Span First() const { return From(0); }
    Spans All() const;

    bool operator==(SpanSet const&) const = default;

private:
    std::map<uint32_t, uint32_t> m_spans; // first to end
    uint64_t m_count = 0;
};

} // namespace farm
