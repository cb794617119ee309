#include "textline.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr wchar_t k_CutMark = 0x2026;
constexpr wchar_t k_Mark = 0xFFFD;
constexpr char k_Escape = '\x1b';
// A longer sequence is none.
constexpr size_t k_MaxSequence = 512;

bool IsWithin(char c, int first, int last) {
    int const byte = static_cast<unsigned char>(c);
    return byte >= first && byte <= last;
}

// Behind the sequence that begins at `at`. It never reaches over a line's end.
size_t EscapeEnd(std::string_view text, size_t at) {
    size_t const limit = std::min(text.size(), at + k_MaxSequence);
    size_t end = at + 1;
    if (end < limit && text[end] == ']') {
        for (++end; end < limit && text[end] != '\n'; ++end) {
            if (text[end] == '\a')
                return end + 1;
            if (text[end] == k_Escape)
                return end + 1 < limit && text[end + 1] == '\\' ? end + 2 : end;
        }
        return end;
    }
    bool const hasParameters = end < limit && text[end] == '[';
    if (hasParameters) {
        ++end;
        while (end < limit && IsWithin(text[end], 0x30, 0x3F))
            ++end;
    }
    while (end < limit && IsWithin(text[end], 0x20, 0x2F))
        ++end;
    return end < limit && IsWithin(text[end], hasParameters ? 0x40 : 0x30, 0x7E) ? end + 1 : end;
}

// The number of a character and of its bytes; no bytes where there is no UTF-8.
std::pair<char32_t, size_t> ReadCharacter(std::string_view text, size_t at) {
    auto const lead = static_cast<unsigned char>(text[at]);
    size_t const bytes = lead < 0x80 ? 1 : lead >= 0xF0 && lead < 0xF5 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead >= 0xF5 || (lead >= 0x80 && lead < 0xC2) || text.size() - at < bytes)
        return {0, 0};
    static constexpr unsigned char k_LeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    auto number = static_cast<char32_t>(lead & k_LeadBits[bytes]);
    for (size_t i = 1; i < bytes; ++i) {
        auto const next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80)
            return {0, 0};
        number = number << 6 | (next & 0x3FU);
    }
    static constexpr char32_t k_Least[] = {0, 0, 0x80, 0x800, 0x10000};
    bool const isSurrogate = number >= 0xD800 && number < 0xE000;
    return number < k_Least[bytes] || number > 0x10FFFF || isSurrogate ? std::pair<char32_t, size_t>{0, 0}
                                                                       : std::pair{number, bytes};
}

// What would end the line or turn its order round, or is seen as nothing at all.
bool IsHarmful(char32_t c) {
    return (c < 0x20 && c != '\t') || (c >= 0x7F && c < 0xA0) || (c >= 0x2028 && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069) || c == 0xFEFF;
}

// The colours of a terminal, 30 to 37.
constexpr ColorName k_AnsiColors[] = {ColorName::TextGrey,   ColorName::TextRed,  ColorName::TextGreen,
                                      ColorName::TextYellow, ColorName::TextBlue, ColorName::TextViolet,
                                      ColorName::TextCyan,   ColorName::Text};

// What the numbers of a colour sequence leave: the last one that says something.
ColorName ColorAfter(std::string_view numbers, ColorName color, ColorName own) {
    int number = 0;
    int skip = 0; // numbers that belong to one before
    bool extended = false;
    auto const apply = [&] {
        if (extended) {
            skip = number == 5 ? 1 : number == 2 ? 3 : 0;
            extended = false;
        } else if (skip > 0) {
            --skip;
        } else if (number == 0 || number == 39) {
            color = own;
        } else if ((number >= 30 && number < 38) || (number >= 90 && number < 98)) {
            color = k_AnsiColors[number % 10];
        } else {
            extended = number == 38 || number == 48;
        }
        number = 0;
    };
    for (char const c : numbers) {
        if (c == ';' || c == ':')
            apply();
        else if (c >= '0' && c <= '9')
            number = std::min(number * 10 + (c - '0'), 1000);
    }
    apply();
    return color;
}

void AddRun(ShownLine& line, size_t from, ColorName color) {
    if (!line.runs.empty() && line.runs.back().from == from)
        line.runs.back().color = color;
    else
        line.runs.push_back({from, color});
}

bool IsWordCharacter(wchar_t c) { return wxIsalnum(c) || c == '_' || c == '-' || c == '.'; }

} // namespace

size_t StripEscapes(std::string_view text, bool whole, std::string& plain) {
    size_t at = 0;
    while (at < text.size()) {
        size_t const escape = std::min(text.find(k_Escape, at), text.size());
        plain.append(text, at, escape - at);
        if (escape == text.size())
            return escape;
        at = EscapeEnd(text, escape);
        if (at == text.size() && !whole && at - escape < k_MaxSequence)
            return escape;
    }
    return at;
}

ShownLine ShowLine(TextLine const& line) {
    ShownLine shown;
    std::string_view const text(line.text.data(), std::min(line.text.size(), TextLine::k_MaxShownBytes));
    std::wstring characters;
    characters.reserve(std::min(text.size(), TextLine::k_MaxShown));
    ColorName color = line.color;
    size_t at = 0;
    while (at < text.size() && characters.size() < TextLine::k_MaxShown) {
        if (text[at] == k_Escape) {
            size_t const end = EscapeEnd(text, at);
            if (end - at > 2 && text[at + 1] == '[' && text[end - 1] == 'm') {
                color = ColorAfter(text.substr(at + 2, end - at - 3), color, line.color);
                AddRun(shown, characters.size(), color);
            }
            at = end;
            continue;
        }
        auto const [number, bytes] = ReadCharacter(text, at);
        shown.starts.push_back(shown.plain.size());
        shown.plain.append(text, at, std::max<size_t>(bytes, 1));
        characters += bytes == 0 || IsHarmful(number) ? k_Mark : static_cast<wchar_t>(number);
        at += std::max<size_t>(bytes, 1);
    }
    if (line.cut || at < line.text.size()) {
        // A character may have lost its end where the bytes were cut.
        size_t const keep = std::min(characters.size(), TextLine::k_MaxShown - 1);
        if (keep < characters.size())
            shown.plain.resize(shown.starts[keep]);
        characters.resize(keep);
        shown.starts.resize(keep);
        characters += k_CutMark;
        shown.starts.push_back(shown.plain.size());
    }
    shown.text = wxString(characters);
    return shown;
}

std::pair<int, int> WordAt(wxString const& shown, int character) {
    std::wstring const text = shown.ToStdWstring();
    int const length = static_cast<int>(text.size());
    int from = std::clamp(character, 0, length);
    int to = from;
    while (from > 0 && IsWordCharacter(text[static_cast<size_t>(from) - 1]))
        --from;
    while (to < length && IsWordCharacter(text[static_cast<size_t>(to)]))
        ++to;
    return {from, to};
}

TextTerm::TextTerm(corekit::String text, bool matchCase) : m_matchCase(matchCase) {
    m_wanted = text.Str();
    Fold(m_wanted);
}

void TextTerm::Fold(std::string& text) const {
    if (m_matchCase)
        return;
    for (char& c : text)
        c = corekit::String::FoldCase(c);
}

size_t TextTerm::Find(std::string_view folded, size_t from) const {
    if (from >= folded.size() || m_wanted.empty())
        return std::string::npos;
    void const* const hit = ::memmem(folded.data() + from, folded.size() - from, m_wanted.data(), m_wanted.size());
    return hit ? static_cast<size_t>(static_cast<char const*>(hit) - folded.data()) : std::string::npos;
}

std::vector<std::pair<int, int>> FindInLine(ShownLine const& line, TextTerm const& term) {
    std::vector<std::pair<int, int>> hits;
    std::string folded = line.plain;
    term.Fold(folded);
    auto const characterAt = [&](size_t byte) {
        return static_cast<int>(std::upper_bound(line.starts.begin(), line.starts.end(), byte) - line.starts.begin());
    };
    for (size_t at = term.Find(folded); at != std::string::npos; at = term.Find(folded, at + term.size()))
        hits.emplace_back(characterAt(at) - 1, characterAt(at + term.size() - 1));
    return hits;
}
