#include "master/core/unitqueue.h"

#include <algorithm>

namespace farm {

namespace {

bool AllAllowed(Spans const& packet, UnitQueue::Allowed const& allowed) {
    if (!allowed)
        return true;
    for (Span const& span : packet) {
        for (uint32_t position = span.first; position < span.end; ++position) {
            if (!allowed(position))
                return false;
        }
    }
    return true;
}

} // namespace

SpanSet UnitQueue::Positions() const {
    SpanSet all = m_fresh;
    for (auto const* packets : {&m_front, &m_back}) {
        for (Spans const& packet : *packets)
            all.Insert(packet);
    }
    return all;
}

bool UnitQueue::Intersects(Spans const& spans) const {
    return m_fresh.Intersects(spans) || (m_againCount > 0 && Positions().Intersects(spans));
}

bool UnitQueue::ContainsAll(Spans const& spans) const {
    return m_fresh.ContainsAll(spans) || (m_againCount > 0 && Positions().ContainsAll(spans));
}

void UnitQueue::PutBack(Spans packet, Place place) {
    if (packet.empty())
        return; // its frames have left the range
    m_againCount += CountOf(packet);
    (place == Place::Front ? m_front : m_back).push_back(std::move(packet));
}

void UnitQueue::Remove(Spans const& spans) {
    m_fresh.Erase(spans);
    if (m_againCount == 0)
        return;
    for (auto* packets : {&m_front, &m_back}) {
        std::list<Spans> kept;
        for (Spans const& packet : *packets) {
            SpanSet left;
            left.Insert(packet);
            left.Erase(spans);
            m_againCount -= CountOf(packet) - left.Count();
            if (!left.Empty())
                kept.push_back(left.All());
        }
        packets->swap(kept);
    }
}

void UnitQueue::Clear() {
    m_fresh.Clear();
    m_front.clear();
    m_back.clear();
    m_againCount = 0;
}

void UnitQueue::Redivide() {
    m_fresh = Positions();
    m_front.clear();
    m_back.clear();
    m_againCount = 0;
}

UnitQueue::Found UnitQueue::FindFresh(uint32_t size, FrameMap const* evenFrames, Allowed const& allowed) const {
    for (Span span = m_fresh.First(); span.Count() > 0; span = m_fresh.From(span.end)) {
        for (uint32_t first = span.first; first < span.end;) {
            uint32_t end = std::min(span.end - first, size) + first;
            if (evenFrames)
                end = std::min(end, evenFrames->EvenEnd(first));
            Spans packet{{first, end}};
            if (AllAllowed(packet, allowed))
                return {From::Fresh, {}, std::move(packet)};
            first = end;
        }
    }
    return {};
}

UnitQueue::Found UnitQueue::Find(uint32_t size, FrameMap const* evenFrames, Allowed const& allowed) const {
    for (auto at = m_front.begin(); at != m_front.end(); ++at) {
        if (AllAllowed(*at, allowed))
            return {From::Front, at, *at};
    }
    Found fresh = FindFresh(std::max(size, 1U), evenFrames, allowed);
    if (fresh.from != From::Nowhere)
        return fresh;
    for (auto at = m_back.begin(); at != m_back.end(); ++at) {
        if (AllAllowed(*at, allowed))
            return {From::Back, at, *at};
    }
    return {};
}

Spans UnitQueue::TakeSpans(uint32_t size, FrameMap const* evenFrames, Allowed const& allowed) {
    Found found = Find(size, evenFrames, allowed);
    switch (found.from) {
    case From::Front:
        m_front.erase(found.at);
        m_againCount -= CountOf(found.packet);
        break;
    case From::Back:
        m_back.erase(found.at);
        m_againCount -= CountOf(found.packet);
        break;
    case From::Fresh:
        m_fresh.Erase(found.packet);
        break;
    case From::Nowhere:
        break;
    }
    return std::move(found.packet);
}

bool UnitQueue::HasNext(uint32_t size, FrameMap const* evenFrames, Allowed const& allowed) const {
    if (!allowed)
        return !Empty();
    return Find(size, evenFrames, allowed).from != From::Nowhere;
}

} // namespace farm
