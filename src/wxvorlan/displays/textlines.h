#pragma once

// The lines of a text display, what is selected in them, and the search through them.

#include <compare>
#include <corekit/string.h>
#include <deque>
#include <utility>
#include <vector>
#include <wx/string.h>
#include <wx/wxvcolors.h>

// A place between two characters of a line, as they are shown.
struct TextPosition {
    int line = 0;
    int character = 0;
    auto operator<=>(TextPosition const&) const = default;
};

// TextLines holds lines and shows them as characters.
// Owner: a text display. Thread: the GUI thread.
// Always: a line shows at most k_MaxShown characters; the text behind them is kept.
class TextLines {
public:
    static constexpr size_t k_MaxShown = 4096;

    struct Line {
        corekit::String text;
        ColorName color = ColorName::Text;
    };

    int Count() const { return static_cast<int>(m_lines.size()); }
    bool Has(int line) const { return line >= 0 && line < Count(); }
    Line const& At(int line) const { return m_lines[static_cast<size_t>(line)]; }
    Line& At(int line) { return m_lines[static_cast<size_t>(line)]; }

    void Append(corekit::String text, ColorName color) { m_lines.push_back({std::move(text), color}); }
    void Insert(int line, corekit::String text, ColorName color);
    void Remove(int line) { m_lines.erase(m_lines.begin() + line); }
    void RemoveFront(int count) { m_lines.erase(m_lines.begin(), m_lines.begin() + count); }
    void Clear() { m_lines.clear(); }
    // Where the text goes among lines that are in order, any case; behind its equals.
    int SortedPlace(corekit::String const& text) const;

    // As it is drawn: control characters replaced, an ellipsis where it was cut.
    wxString Shown(int line) const;
    // Characters that Shown has.
    int Length(int line) const;
    TextPosition End() const;
    TextPosition Clamped(TextPosition position) const;

    // The text between two places; lines that lie wholly within come uncut.
    wxString Between(TextPosition from, TextPosition to) const;
    // From and to of the word at a place; equal where there is none.
    std::pair<int, int> WordAt(TextPosition position) const;

    // Where `term` stands in the line as it is shown, any case: from and to.
    std::vector<std::pair<int, int>> Hits(int line, corekit::String const& term) const;

private:
    std::deque<Line> m_lines;
};

enum class TextDirection { Forward, Backward };

// TextSearch looks for a term from a place on, round all lines and back to it, some
// lines at a time.
// Owner: a text display. Thread: the GUI thread.
// Always: lines that are appended meanwhile are searched too; when lines go, the search
// must be begun anew.
class TextSearch {
public:
    enum class State { Idle, Searching, Found, Missing };

    void Begin(corekit::String term, TextPosition from, TextDirection direction);
    void Stop() { m_state = State::Idle; }
    // Looks at some lines more.
    State Step(TextLines const& lines, int count);

    State GetState() const { return m_state; }
    // After Found: the hit's line, from and to.
    int Line() const { return m_line; }
    std::pair<int, int> Hit() const { return m_hit; }

private:
    bool LookAt(TextLines const& lines, bool first, bool again);

    corekit::String m_term;
    TextPosition m_from;
    TextDirection m_direction = TextDirection::Forward;
    State m_state = State::Idle;
    int m_line = 0;
    int m_seen = 0;
    std::pair<int, int> m_hit;
};
