#pragma once

// The queued frames of one Job, handed out packet by packet.

#include "master/core/framemap.h"

#include <functional>
#include <list>

namespace farm {

// What is still to be handed out of a Job, as spans of positions and as packets that
// came back.
//
// Owned by its Job's entry. One thread. A packet that was handed out once and came
// back stays as it was, so that its tries count for the same unit, until Redivide
// puts everything together again. Always: no position is in two places.
class UnitQueue {
public:
    enum class Place { Front, Back };

    uint64_t Count() const { return m_fresh.Count() + m_againCount; }
    bool Empty() const { return Count() == 0; }
    SpanSet Positions() const;
    bool Intersects(Spans const& spans) const;
    bool ContainsAll(Spans const& spans) const;

    void AddFresh(Span span) { m_fresh.Insert(span); }
    void AddFresh(Spans const& spans) { m_fresh.Insert(spans); }
    void PutBack(Spans packet, Place place);
    void Remove(Spans const& spans);
    void Clear();

    // Makes one mass of everything, divided anew from here on.
    void Redivide();

    // Whether a position may be handed out now; an empty function says yes to all.
    using Allowed = std::function<bool(uint32_t position)>;

    // Takes the next packet: at most `size` consecutive positions, evenly spaced frames
    // only where `frames` is not null. Empty when nothing may be handed out.
    Spans TakeSpans(uint32_t size, FrameMap const* evenFrames, Allowed const& allowed);

    // Whether TakeSpans would give something.
    bool HasNext(uint32_t size, FrameMap const* evenFrames, Allowed const& allowed) const;

private:
    enum class From { Front, Fresh, Back, Nowhere };
    struct Found {
        From from = From::Nowhere;
        std::list<Spans>::const_iterator at; // the packet that came back
        Spans packet;
    };
    Found Find(uint32_t size, FrameMap const* evenFrames, Allowed const& allowed) const;
    Found FindFresh(uint32_t size, FrameMap const* evenFrames, Allowed const& allowed) const;

    SpanSet m_fresh;
    // Lists, because an empty one takes next to nothing: most Jobs have none.
    std::list<Spans> m_front;
    std::list<Spans> m_back;
    uint64_t m_againCount = 0; // positions in m_front and m_back
};

} // namespace farm
