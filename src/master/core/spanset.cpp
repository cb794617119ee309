#include "master/core/spanset.h"

#include <algorithm>

namespace farm {

uint64_t CountOf(Spans const& spans) {
    uint64_t count = 0;
    for (Span const& span : spans)
        count += span.Count();
    return count;
}

void SpanSet::Clear() {
    m_spans.clear();
    m_count = 0;
}

void SpanSet::Insert(Span span) {
    if (span.first >= span.end)
        return;
    auto at = m_spans.upper_bound(span.first);
    if (at != m_spans.begin()) {
        auto const before = std::prev(at);
        if (before->second >= span.first)
            at = before;
    }
    while (at != m_spans.end() && at->first <= span.end) {
        span.first = std::min(span.first, at->first);
        span.end = std::max(span.end, at->second);
        m_count -= at->second - at->first;
        at = m_spans.erase(at);
    }
    m_spans.emplace_hint(at, span.first, span.end);
    m_count += span.Count();
}

void SpanSet::Erase(Span span) {
    if (span.first >= span.end)
        return;
    auto at = m_spans.upper_bound(span.first);
    if (at != m_spans.begin() && std::prev(at)->second > span.first)
        --at;
    while (at != m_spans.end() && at->first < span.end) {
        Span const old{at->first, at->second};
        at = m_spans.erase(at);
        m_count -= old.Count();
        if (old.first < span.first) {
            m_spans.emplace(old.first, span.first);
            m_count += span.first - old.first;
        }
        if (old.end > span.end) {
            at = m_spans.emplace(span.end, old.end).first;
            m_count += old.end - span.end;
            return;
        }
    }
}

void SpanSet::Insert(Spans const& spans) {
    for (Span const& span : spans)
        Insert(span);
}

void SpanSet::Erase(Spans const& spans) {
    for (Span const& span : spans)
        Erase(span);
}

void SpanSet::Insert(SpanSet const& other) {
    for (auto const& [first, end] : other.m_spans)
        Insert(Span{first, end});
}

bool SpanSet::ContainsAll(Span span) const {
    if (span.first >= span.end)
        return true;
    auto const at = m_spans.upper_bound(span.first);
    return at != m_spans.begin() && std::prev(at)->second >= span.end;
}

bool SpanSet::ContainsAll(Spans const& spans) const {
    return std::all_of(spans.begin(), spans.end(), [this](Span const& span) { return ContainsAll(span); });
}

bool SpanSet::Intersects(Span span) const {
    Span const from = From(span.first);
    return from.Count() > 0 && from.first < span.end;
}

bool SpanSet::Intersects(Spans const& spans) const {
    return std::any_of(spans.begin(), spans.end(), [this](Span const& span) { return Intersects(span); });
}

Spans SpanSet::Within(Span span) const {
    Spans found;
    for (Span at = From(span.first); at.Count() > 0 && at.first < span.end; at = From(at.end))
        found.push_back({std::max(at.first, span.first), std::min(at.end, span.end)});
    return found;
}

Span SpanSet::From(uint32_t position) const {
    auto at = m_spans.upper_bound(position);
    if (at != m_spans.begin() && std::prev(at)->second > position)
        --at;
    return at == m_spans.end() ? Span{} : Span{at->first, at->second};
}

Spans SpanSet::All() const {
    Spans all;
    all.reserve(m_spans.size());
    for (auto const& [first, end] : m_spans)
        all.push_back({first, end});
    return all;
}

} // namespace farm
