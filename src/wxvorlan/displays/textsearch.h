#pragma once

#include "textsource.h"

#include <corekit/commonmutex.h>
#include <deque>
#include <map>
#include <optional>

enum class TextDirection { Forward, Backward };

// The hit of this number in a line, both from 0. Hits do not overlap.
struct TextHit {
    int line = 0;
    int number = 0;
    auto operator<=>(TextHit const&) const = default;
};

// TextSearch counts the hits of a term in a snapshot and goes from one to another. It
// keeps one count for a megabyte of text.
// Owner: shared by the display that asks and the thread that searches.
// Thread: Run on a thread of the pool, one at a time; the rest on any.
class TextSearch {
public:
    struct State {
        bool isRunning = false;
        bool isComplete = false; // `hits` are all
        double done = 0;         // of the text, 0 to 1
        int64_t hits = 0;
        int64_t rank = -1; // of the current hit among all, from 0; -1: none or not known
        corekit::String failure;
    };

    TextSearch(TextTerm term, std::shared_ptr<TextSnapshot const> text, std::function<void()> wake);

    // Finds the first hit from `from` on (forward), or the last before it, going round.
    void Seek(TextHit from, TextDirection direction);
    // The text has more lines now; the last one of before may have got longer.
    void Extend(std::shared_ptr<TextSnapshot const> text);
    void Stop() { m_isStopped = true; }
    // True: the caller has to queue Run; it returns when all is done.
    bool TakeStart();
    void Run();

    State GetState() const;
    // What a Seek has found since the last call.
    std::optional<TextHit> TakeHit();
    TextTerm const& Term() const { return m_term; }

private:
    struct Part {
        int end = 0;
        int64_t hits = 0;
    };
    struct Wish {
        TextHit from;
        TextDirection direction = TextDirection::Forward;
        bool waits = false; // until all hits are counted
    };
    using OnHit = std::function<bool(TextHit)>;

    // One thing; false when nothing is left to do.
    bool Step();
    bool TakeWork(std::optional<Wish>& wish);
    void CountSome();
    void Serve(Wish const& wish);
    std::optional<TextHit> FindForward(TextHit from, int end);
    std::optional<TextHit> FindBackward(TextHit from);
    int64_t RankOf(TextHit hit);
    // Each hit in the lines, in order, until `onHit` says false.
    void ForEachHit(int first, int end, OnHit const& onHit);
    void Tell(std::function<void(State&)> const& change);

    // Constant after construction.
    TextTerm const m_term;
    std::function<void()> const m_wake;

    std::atomic<bool> m_isStopped{false};
    mutable corekit::CommonMutex m_guard;
    State m_state CK_GUARDED_BY(m_guard);
    std::optional<Wish> m_wish CK_GUARDED_BY(m_guard);
    std::optional<TextHit> m_found CK_GUARDED_BY(m_guard);
    std::shared_ptr<TextSnapshot const> m_next CK_GUARDED_BY(m_guard);

    // The searching thread only.
    std::shared_ptr<TextSnapshot const> m_text;
    std::map<int, Part> m_parts; // that are counted, by their first line
    int m_counted = 0;           // lines up to here are
    int64_t m_hits = 0;
    std::optional<TextHit> m_current;
};
