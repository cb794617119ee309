#include "textsearch.h"

#include <algorithm>
#include <corekit/callentry.h>
#include <corekit/exception.h>

using corekit::CommonMutex;

namespace {

// A part that is counted at once.
constexpr int64_t k_PartBytes = 4 * TextSnapshot::k_PieceBytes;
// Lines ahead that are looked through for a hit before all are counted.
constexpr int k_LinesAhead = 500'000;

// Finds the hits in pieces of text. What a line has said so far goes on in its next piece.
class PieceScanner {
public:
    explicit PieceScanner(TextTerm const& term) : m_term(term) {}

    bool Scan(TextSnapshot::Piece const& piece, std::function<bool(TextHit)> const& onHit) {
        m_raw.append(piece.bytes);
        m_raw.erase(0, StripEscapes(m_raw, !piece.goesOn, m_plain));
        m_term.Fold(m_plain);
        m_hit.line = std::max(m_hit.line, piece.line);
        size_t seen = 0; // line feeds up to here are counted
        size_t done = 0;
        for (size_t at = m_term.Find(m_plain); at != std::string::npos; at = m_term.Find(m_plain, done)) {
            CountLines(seen, at);
            seen = at;
            if (!onHit(m_hit))
                return false;
            ++m_hit.number;
            done = at + m_term.size();
        }
        CountLines(seen, m_plain.size());
        // The beginning of a hit may stand at the end of a piece.
        size_t const keep = piece.goesOn ? std::min(m_plain.size() - done, m_term.size() - 1) : 0;
        m_plain.erase(0, m_plain.size() - keep);
        return true;
    }

private:
    void CountLines(size_t from, size_t to) {
        std::string_view const between = std::string_view(m_plain).substr(from, to - from);
        auto const feeds = static_cast<int>(std::count(between.begin(), between.end(), '\n'));
        if (feeds > 0)
            m_hit.number = 0;
        m_hit.line += feeds;
    }

    TextTerm const& m_term;
    std::string m_raw;
    std::string m_plain;
    TextHit m_hit;
};

} // namespace

TextSearch::TextSearch(TextTerm term, std::shared_ptr<TextSnapshot const> text, std::function<void()> wake)
    : m_term(std::move(term)), m_wake(std::move(wake)), m_text(std::move(text)) {}

void TextSearch::Seek(TextHit from, TextDirection direction) {
    CommonMutex::Lock const lock(m_guard);
    m_wish = Wish{from, direction, false};
}

void TextSearch::Extend(std::shared_ptr<TextSnapshot const> text) {
    CommonMutex::Lock const lock(m_guard);
    m_next = std::move(text);
    m_state.isComplete = false;
}

bool TextSearch::TakeStart() {
    CommonMutex::Lock const lock(m_guard);
    bool const isNeeded = m_wish || m_next || !m_state.isComplete;
    return isNeeded && !std::exchange(m_state.isRunning, true);
}

TextSearch::State TextSearch::GetState() const {
    CommonMutex::Lock const lock(m_guard);
    return m_state;
}

std::optional<TextHit> TextSearch::TakeHit() {
    CommonMutex::Lock const lock(m_guard);
    return std::exchange(m_found, std::nullopt);
}

void TextSearch::Tell(std::function<void(State&)> const& change) {
    {
        CommonMutex::Lock const lock(m_guard);
        change(m_state);
    }
    if (!m_isStopped)
        m_wake();
}

void TextSearch::Run() {
    CALL_ENTRY();
    try {
        while (Step()) {
        }
    } catch (corekit::Exception const& exception) {
        Tell([&](State& state) {
            state.failure = exception.what();
            state.isRunning = false;
            state.isComplete = true;
        });
    }
}

// What was asked for comes before the counting, where it can be told without it.
bool TextSearch::TakeWork(std::optional<Wish>& wish) {
    std::shared_ptr<TextSnapshot const> next;
    bool const isCounted = m_counted >= m_text->Lines();
    CommonMutex::Lock const lock(m_guard);
    if (m_next) {
        m_text = std::exchange(m_next, nullptr);
        if (!m_parts.empty()) {
            auto const last = std::prev(m_parts.end());
            m_counted = last->first;
            m_hits -= last->second.hits;
            m_parts.erase(last);
        }
    } else if (m_wish && (isCounted || (m_wish->direction == TextDirection::Forward && !m_wish->waits))) {
        wish = std::exchange(m_wish, std::nullopt);
    } else if (isCounted) {
        m_state.isRunning = false;
        m_state.isComplete = true;
        m_state.done = 1;
        m_state.hits = m_hits;
        return false;
    }
    return true;
}

bool TextSearch::Step() {
    if (m_isStopped)
        return false;
    std::optional<Wish> wish;
    if (!TakeWork(wish)) {
        m_wake();
        return false;
    }
    if (wish)
        Serve(*wish);
    else if (m_counted < m_text->Lines())
        CountSome();
    return true;
}

void TextSearch::CountSome() {
    int const first = m_counted;
    Part part{first, 0};
    PieceScanner scanner(m_term);
    int64_t bytes = 0;
    bool isAll = true;
    m_text->Read(first, m_text->Lines(), [&](TextSnapshot::Piece const& piece) {
        bytes += static_cast<int64_t>(piece.bytes.size());
        scanner.Scan(piece, [&](TextHit) {
            ++part.hits;
            return !m_isStopped;
        });
        auto const feeds = std::count(piece.bytes.begin(), piece.bytes.end(), '\n');
        part.end = piece.line + static_cast<int>(feeds);
        isAll = !m_isStopped && (piece.goesOn || bytes < k_PartBytes);
        return isAll;
    });
    // The last line may have no end.
    if (isAll)
        part.end = m_text->Lines();
    m_parts[first] = part;
    m_counted = part.end;
    m_hits += part.hits;
    bool const isCounted = m_counted >= m_text->Lines();
    int64_t const rank = isCounted && m_current ? RankOf(*m_current) : -1;
    Tell([&](State& state) {
        state.hits = m_hits;
        state.done = static_cast<double>(m_counted) / std::max(m_text->Lines(), 1);
        state.rank = rank;
    });
}

void TextSearch::ForEachHit(int first, int end, OnHit const& onHit) {
    PieceScanner scanner(m_term);
    m_text->Read(first, end,
                 [&](TextSnapshot::Piece const& piece) { return !m_isStopped && scanner.Scan(piece, onHit); });
}

std::optional<TextHit> TextSearch::FindForward(TextHit from, int end) {
    std::optional<TextHit> found;
    for (int line = from.line; line < end && !found && !m_isStopped;) {
        auto part = m_parts.upper_bound(line);
        int to = part == m_parts.end() ? end : std::min(part->first, end);
        if (part != m_parts.begin() && (--part)->second.end > line) {
            to = std::min(part->second.end, end);
            if (part->second.hits == 0) {
                line = to;
                continue;
            }
        }
        ForEachHit(line, to, [&](TextHit hit) {
            if (hit < from)
                return true;
            found = hit;
            return false;
        });
        line = to;
    }
    return found;
}

std::optional<TextHit> TextSearch::FindBackward(TextHit from) {
    std::optional<TextHit> found;
    for (auto part = m_parts.upper_bound(from.line); part != m_parts.begin() && !found;) {
        --part;
        if (part->second.hits == 0)
            continue;
        ForEachHit(part->first, part->second.end, [&](TextHit hit) {
            if (hit >= from)
                return false;
            found = hit;
            return true;
        });
    }
    return found;
}

int64_t TextSearch::RankOf(TextHit hit) {
    int64_t rank = 0;
    for (auto const& [first, part] : m_parts) {
        if (part.end <= hit.line) {
            rank += part.hits;
            continue;
        }
        ForEachHit(first, part.end, [&](TextHit each) {
            rank += each < hit ? 1 : 0;
            return each < hit;
        });
        break;
    }
    return rank;
}

void TextSearch::Serve(Wish const& wish) {
    int const lines = m_text->Lines();
    bool const isForward = wish.direction == TextDirection::Forward;
    bool const isCounted = m_counted >= lines;
    int const ahead = isCounted ? lines : std::min(lines, wish.from.line + k_LinesAhead);
    std::optional<TextHit> hit = isForward ? FindForward(wish.from, ahead) : FindBackward(wish.from);
    if (!hit && !isCounted) {
        CommonMutex::Lock const lock(m_guard);
        if (!m_wish)
            m_wish = Wish{wish.from, wish.direction, true};
        return;
    }
    if (!hit) // round
        hit = isForward ? FindForward({}, std::min(wish.from.line + 1, lines)) : FindBackward({lines, 0});
    m_current = hit;
    int64_t const rank = hit && isCounted ? RankOf(*hit) : -1;
    {
        CommonMutex::Lock const lock(m_guard);
        m_found = hit;
    }
    Tell([rank](State& state) { state.rank = rank; });
}
