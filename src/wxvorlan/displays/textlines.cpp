#include "textlines.h"

#include <algorithm>
#include <wx/wxvtext.h>

namespace {

constexpr wchar_t k_Ellipsis = 0x2026;
constexpr wchar_t k_Replacement = 0xFFFD;
constexpr size_t k_MaxHits = 1000;
// The most bytes that k_MaxShown characters have.
constexpr size_t k_MaxShownBytes = 4 * TextLines::k_MaxShown;

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// The beginning of a text, cut where a character ends.
corekit::String Beginning(corekit::String const& text) {
    if (text.size() <= k_MaxShownBytes)
        return text;
    size_t end = k_MaxShownBytes;
    while (end > 0 && IsContinuation(text[end]))
        --end;
    return text.Mid(0, end);
}

bool IsWordCharacter(wxUniChar c) { return wxIsalnum(c) || c == '_' || c == '-' || c == '.'; }

// Characters in the first `bytes` of a text that reads as `characters` in all.
int CharactersIn(corekit::String const& text, size_t bytes, size_t characters) {
    if (characters == text.size())
        return static_cast<int>(bytes);
    return static_cast<int>(bytes - static_cast<size_t>(std::count_if(
                                        text.begin(), text.begin() + static_cast<ptrdiff_t>(bytes), IsContinuation)));
}

} // namespace

void TextLines::Insert(int line, corekit::String text, ColorName color) {
    m_lines.insert(m_lines.begin() + std::clamp(line, 0, Count()), {std::move(text), color});
}

int TextLines::SortedPlace(corekit::String const& text) const {
    auto const place =
        std::upper_bound(m_lines.begin(), m_lines.end(), text, [](corekit::String const& value, Line const& line) {
            return value.CompareNoCase(line.text) < 0;
        });
    return static_cast<int>(place - m_lines.begin());
}

wxString TextLines::Shown(int line) const {
    corekit::String const& text = At(line).text;
    wxString shown = wxvText(Beginning(text));
    for (auto c = shown.begin(); c != shown.end(); ++c) {
        if (*c < 0x20 && *c != '\t')
            *c = wxUniChar(k_Replacement);
    }
    if (shown.length() > k_MaxShown || text.size() > k_MaxShownBytes) {
        shown.Truncate(std::min(shown.length(), k_MaxShown - 1));
        shown += wxUniChar(k_Ellipsis);
    }
    return shown;
}

int TextLines::Length(int line) const { return static_cast<int>(Shown(line).length()); }

TextPosition TextLines::End() const {
    int const last = Count() - 1;
    return last < 0 ? TextPosition() : TextPosition{last, Length(last)};
}

TextPosition TextLines::Clamped(TextPosition position) const {
    if (Count() == 0 || position.line < 0)
        return {};
    if (position.line >= Count())
        return End();
    return {position.line, std::clamp(position.character, 0, Length(position.line))};
}

wxString TextLines::Between(TextPosition from, TextPosition to) const {
    from = Clamped(from);
    to = Clamped(to);
    wxString result;
    if (!(from < to))
        return result;
    for (int line = from.line; line <= to.line; ++line) {
        auto const begin = static_cast<size_t>(line == from.line ? from.character : 0);
        if (line > from.line)
            result += '\n';
        if (begin == 0 && (line < to.line || to.character == Length(line)))
            result += wxvText(At(line).text);
        else
            result += line < to.line ? Shown(line).Mid(begin)
                                     : Shown(line).Mid(begin, static_cast<size_t>(to.character) - begin);
    }
    return result;
}

std::pair<int, int> TextLines::WordAt(TextPosition position) const {
    if (!Has(position.line))
        return {};
    // An iteration over the characters: access by index is slow in UTF-8 builds.
    std::wstring const shown = Shown(position.line).ToStdWstring();
    int const length = static_cast<int>(shown.size());
    int from = std::clamp(position.character, 0, length);
    int to = from;
    while (from > 0 && IsWordCharacter(shown[static_cast<size_t>(from) - 1]))
        --from;
    while (to < length && IsWordCharacter(shown[static_cast<size_t>(to)]))
        ++to;
    return {from, to};
}

std::vector<std::pair<int, int>> TextLines::Hits(int line, corekit::String const& term) const {
    std::vector<std::pair<int, int>> hits;
    corekit::String const& text = At(line).text;
    size_t at = term.Empty() ? corekit::String::npos : text.FindNoCase(term);
    if (at == corekit::String::npos)
        return hits;
    corekit::String const begin = Beginning(text);
    size_t const characters = wxvText(begin).length();
    for (; at < begin.size() && hits.size() < k_MaxHits; at = text.FindNoCase(term, at + term.size())) {
        int const from = CharactersIn(begin, at, characters);
        int const to = CharactersIn(begin, std::min(at + term.size(), begin.size()), characters);
        if (from >= static_cast<int>(k_MaxShown))
            break;
        hits.emplace_back(from, std::min(to, static_cast<int>(k_MaxShown)));
    }
    return hits;
}

void TextSearch::Begin(corekit::String term, TextPosition from, TextDirection direction) {
    m_state = term.Empty() ? State::Missing : State::Searching;
    m_term = std::move(term);
    m_from = from;
    m_direction = direction;
    m_line = from.line;
    m_seen = 0;
}

// The line of the beginning is looked at twice: from the place on, and at the end, when
// all others had no hit, as a whole.
bool TextSearch::LookAt(TextLines const& lines, bool first, bool again) {
    if (!lines.At(m_line).text.ContainsNoCase(m_term))
        return false;
    auto hits = lines.Hits(m_line, m_term);
    bool const forward = m_direction == TextDirection::Forward;
    if (!forward)
        std::reverse(hits.begin(), hits.end());
    auto const found = std::find_if(hits.begin(), hits.end(), [&](std::pair<int, int> const& hit) {
        if (!first || again)
            return true;
        return forward ? hit.first >= m_from.character : hit.second <= m_from.character;
    });
    if (found == hits.end())
        return false;
    m_hit = *found;
    return true;
}

TextSearch::State TextSearch::Step(TextLines const& lines, int count) {
    int const all = lines.Count();
    for (; m_state == State::Searching && count > 0; --count) {
        if (all == 0 || m_seen > all) {
            m_state = State::Missing;
            break;
        }
        m_line = (m_line % all + all) % all;
        if (LookAt(lines, m_seen == 0, m_seen == all)) {
            m_state = State::Found;
            break;
        }
        ++m_seen;
        m_line += m_direction == TextDirection::Forward ? 1 : -1;
    }
    return m_state;
}
