#include <corekit/string.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ostream>

namespace corekit {

namespace {

constexpr std::string_view k_Blanks = " \t\r\n\v\f";

std::string_view SkipBlanks(std::string_view text) {
    size_t const start = text.find_first_not_of(k_Blanks);
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

// The sign that from_chars does not take.
std::string_view NumberStart(std::string_view text) {
    text = SkipBlanks(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    return text;
}

template <class T>
T ParseNumber(std::string_view text, T def) {
    text = NumberStart(text);
    T value{};
    auto const result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() ? value : def;
}

template <class T>
String NumberText(T value) {
    char buffer[40];
    auto const result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return String(buffer, static_cast<size_t>(result.ptr - buffer));
}

bool SameNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && String::CompareNoCase(a, b) == 0;
}

bool IsUtf8Tail(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Bytes of the first `characters` characters of the text.
size_t CharacterBytes(std::string_view text, size_t characters) {
    size_t at = 0;
    while (at < text.size()) {
        if (!IsUtf8Tail(text[at]) && characters-- == 0)
            break;
        ++at;
    }
    return at;
}

// One line without line feeds.
void WrapLine(std::string_view line, size_t width, std::string_view lineBreak, String& out) {
    for (;;) {
        size_t const room = CharacterBytes(line, width);
        if (room >= line.size())
            break;
        // The blank behind a full line is a good place too.
        size_t cut = line.rfind(' ', room);
        bool const atBlank = cut != std::string_view::npos && line.find_first_not_of(' ') < cut;
        if (!atBlank)
            cut = room;
        std::string_view piece = line.substr(0, cut);
        while (atBlank && piece.ends_with(' '))
            piece.remove_suffix(1);
        out += piece;
        out += lineBreak;
        line.remove_prefix(cut);
        while (atBlank && line.starts_with(' '))
            line.remove_prefix(1);
    }
    out += line;
}

} // namespace

// Before the statics of all other files, which may use it.
__attribute__((init_priority(101))) const String String::Null;

size_t String::FindNoCase(std::string_view text, size_t from) const noexcept {
    if (from > size() || text.size() > size() - from)
        return npos;
    auto const same = [](char a, char b) { return FoldCase(a) == FoldCase(b); };
    auto const start = m_text.begin() + static_cast<std::ptrdiff_t>(from);
    auto const hit = std::search(start, m_text.end(), text.begin(), text.end(), same);
    return hit == m_text.end() && !text.empty() ? npos : static_cast<size_t>(hit - m_text.begin());
}

size_t String::FindOneOf(std::string_view characters, size_t from) const noexcept {
    return m_text.find_first_of(characters, from);
}

size_t String::FindOneNotOf(std::string_view characters, size_t from) const noexcept {
    return m_text.find_first_not_of(characters, from);
}

size_t String::Replace(std::string_view from, std::string_view to, bool caseSensitive) {
    if (from.empty())
        return 0;
    auto const next = [&](size_t start) { return caseSensitive ? Find(from, start) : FindNoCase(from, start); };
    size_t hit = next(0);
    if (hit == npos)
        return 0;
    // Built aside: linear for any number of hits, and `from` or `to` may lie in
    // this very text.
    std::string result;
    size_t count = 0;
    size_t done = 0;
    for (; hit != npos; hit = next(done)) {
        result.append(m_text, done, hit - done).append(to);
        done = hit + from.size();
        ++count;
    }
    result.append(m_text, done);
    m_text = std::move(result);
    return count;
}

String String::Trim() const {
    std::string_view const text = SkipBlanks(m_text);
    return String(text.substr(0, text.find_last_not_of(k_Blanks) + 1));
}

String String::Mid(size_t position, size_t length) const {
    return position >= size() ? String() : String(m_text.substr(position, length));
}

String String::LeftFirst(std::string_view separator) const {
    size_t const at = m_text.find(separator);
    return at == npos ? *this : String(m_text.substr(0, at));
}

String String::RightFirst(std::string_view separator) const {
    size_t const at = m_text.find(separator);
    return at == npos ? *this : String(m_text.substr(at + separator.size()));
}

String String::LeftLast(std::string_view separator) const {
    size_t const at = m_text.rfind(separator);
    return at == npos ? *this : String(m_text.substr(0, at));
}

String String::RightLast(std::string_view separator) const {
    size_t const at = m_text.rfind(separator);
    return at == npos ? *this : String(m_text.substr(at + separator.size()));
}

String String::Lower() const {
    String result(*this);
    std::ranges::transform(result.m_text, result.m_text.begin(), FoldCase);
    return result;
}

String String::Upper() const {
    String result(*this);
    for (char& c : result.m_text) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 32);
    }
    return result;
}

String String::Wrap(size_t width, std::string_view lineBreak) const {
    String result;
    std::string_view rest = m_text;
    for (;;) {
        size_t const end = std::min(rest.find('\n'), rest.size());
        if (width == 0)
            result += rest.substr(0, end);
        else
            WrapLine(rest.substr(0, end), width, lineBreak, result);
        if (end == rest.size())
            return result;
        result += lineBreak;
        rest.remove_prefix(end + 1);
    }
}

int64_t String::Int(int64_t def) const noexcept { return ParseNumber(m_text, def); }

uint64_t String::Uint(uint64_t def) const noexcept { return ParseNumber(m_text, def); }

double String::Float(double def) const noexcept {
    double const value = ParseNumber(m_text, def);
    return std::isfinite(value) ? value : def;
}

bool String::Bool(bool def) const noexcept {
    std::string_view text = SkipBlanks(m_text);
    text = text.substr(0, text.find_last_not_of(k_Blanks) + 1);
    for (std::string_view const yes : {"yes", "true", "on", "1"}) {
        if (SameNoCase(text, yes))
            return true;
    }
    for (std::string_view const no : {"no", "false", "off", "0"}) {
        if (SameNoCase(text, no))
            return false;
    }
    return def;
}

int String::CompareNoCase(std::string_view a, std::string_view b) noexcept {
    size_t const common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; ++i) {
        auto const x = static_cast<unsigned char>(FoldCase(a[i]));
        auto const y = static_cast<unsigned char>(FoldCase(b[i]));
        if (x != y)
            return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

String String::From(bool value) { return value ? k_Yes : k_No; }
String String::From(double value) { return NumberText(value); }
String String::From(float value) { return NumberText(value); }
String String::FromSigned(int64_t value) { return NumberText(value); }
String String::FromUnsigned(uint64_t value) { return NumberText(value); }

String String::Joined(std::string_view a, std::string_view b) {
    String result;
    result.m_text.reserve(a.size() + b.size());
    result.m_text.append(a).append(b);
    return result;
}

std::ostream& String::Print(std::ostream& out, std::string_view text) { return out << text; }

void String::Quote(std::string_view text, std::ostream& out) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    out << '"';
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte >= 0x7F)
            out << "\\x" << digits[byte >> 4] << digits[byte & 15];
        else
            out << c;
    }
    out << '"';
}

} // namespace corekit
