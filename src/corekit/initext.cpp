#include "initext.h"

#include <corekit/exception.h>
#include <corekit/inifile.h>

#include <algorithm>
#include <vector>

namespace corekit {

namespace {

// Stands behind the last line while parsing, so that the comments there belong
// to something. No name is written with this byte in it.
constexpr char k_EndSection[] = "\x01";
constexpr std::string_view k_Signature = "\xEF\xBB\xBF";
constexpr std::string_view k_LineBlanks = " \t";

enum class Place { Section, Key, Value };

// Characters that would end the name, or begin something else.
bool NeedsEscape(std::string_view text, size_t at, Place place) {
    auto const c = static_cast<unsigned char>(text[at]);
    bool const outer = at == 0 || at + 1 == text.size();
    if (c < 0x20 || c == 0x7F || (c == ' ' && outer))
        return true;
    if (c == '\\')
        return at + 1 < text.size() && text[at + 1] == '{';
    if (place == Place::Section)
        return c == ']';
    if (place == Place::Key)
        return c == '=' || (at == 0 && (c == ';' || c == '#' || c == '[' || c == 0xEF));
    return false;
}

String Escape(std::string_view text, Place place) {
    constexpr char digits[] = "0123456789ABCDEF";
    if (text.empty() && place == Place::Key)
        return "\\{}";
    String result;
    result.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        if (!NeedsEscape(text, at, place)) {
            result += text[at];
            continue;
        }
        auto const byte = static_cast<unsigned char>(text[at]);
        char const escaped[] = {'\\', '{', digits[byte >> 4], digits[byte & 15], '}'};
        result.append({escaped, sizeof escaped});
    }
    return result;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    c = String::FoldCase(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// What is no whole escape stands for itself, so that paths typed by hand survive.
String Unescape(std::string_view text) {
    if (text == "\\{}")
        return {};
    String result;
    result.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        std::string_view const rest = text.substr(at);
        if (rest.size() >= 5 && rest.starts_with("\\{") && rest[4] == '}' && HexDigit(rest[2]) >= 0 &&
            HexDigit(rest[3]) >= 0) {
            result += static_cast<char>(HexDigit(rest[2]) * 16 + HexDigit(rest[3]));
            at += 4;
        } else {
            result += text[at];
        }
    }
    return result;
}

bool IsComment(std::string_view line) { return line.starts_with(';') || line.starts_with('#'); }

// A line that the parser would skip without a word.
bool IsStray(std::string_view line) {
    size_t const start = line.find_first_not_of(k_LineBlanks);
    if (start == std::string_view::npos)
        return false;
    line.remove_prefix(start);
    if (IsComment(line))
        return false;
    return line.starts_with('[') ? line.find(']') == std::string_view::npos
                                 : line.starts_with('=') || line.find('=') == std::string_view::npos;
}

// Takes the next line off the text; a line ends as the parser thinks it does.
std::string_view NextLine(std::string_view& text) {
    size_t const end = text.find_first_of("\r\n");
    std::string_view const line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

void CheckText(String const& text) {
    if (text.size() > IniFile::k_MaxTextBytes)
        throw ParseException("The file is too large to be a file of options.");
    if (text.Contains(std::string_view("\0", 1)))
        throw ParseException("The file is damaged: it is not text. Restore it from a copy, or delete it.");
}

char const* CommentOrNull(String const& comment) { return comment.Empty() ? nullptr : comment.c_str(); }

String CommentOf(CSimpleIniA::Entry const& entry) { return String(entry.pComment); }

} // namespace

IniText::IniText() : m_ini(true, false, false) {}

IniText::IniText(String const& text) : IniText() {
    CheckText(text);
    std::string_view rest = text;
    if (rest.starts_with(k_Signature))
        rest.remove_prefix(k_Signature.size());
    while (IsComment(rest))
        m_headComment += String(NextLine(rest)) + k_NL;
    // The parser takes comments at its very beginning for itself.
    String body = k_NL;
    body.reserve(rest.size() + 16);
    while (!rest.empty()) {
        std::string_view const line = NextLine(rest);
        if (IsStray(line))
            body += "; ";
        body += line;
        body += k_NL;
    }
    body += String("[") + k_EndSection + "]\n";
    if (m_ini.LoadData(body.Str()) < 0)
        throw ParseException("The file cannot be read as options: there is not enough memory.");
    CSimpleIniA::TNamesDepend sections;
    m_ini.GetAllSections(sections);
    for (auto const& section : sections) {
        if (std::string_view(section.pItem) == k_EndSection && section.pComment)
            m_endComment = String(section.pComment).Trim() + k_NL;
    }
}

void IniText::ForEachSection(SectionVisitor const& visit) const {
    CSimpleIniA::TNamesDepend sections;
    m_ini.GetAllSections(sections);
    sections.sort(CSimpleIniA::Entry::LoadOrder());
    for (auto const& section : sections) {
        if (std::string_view(section.pItem) != k_EndSection)
            visit(Unescape(section.pItem), CommentOf(section));
    }
}

void IniText::ForEachValue(ValueVisitor const& visit) const {
    CSimpleIniA::TNamesDepend sections;
    m_ini.GetAllSections(sections);
    for (auto const& section : sections) {
        CSimpleIniA::TKeyVal const* values = m_ini.GetSection(section.pItem);
        std::vector<std::pair<CSimpleIniA::Entry const*, char const*>> inOrder;
        for (auto const& [key, value] : *values)
            inOrder.emplace_back(&key, value);
        std::ranges::sort(inOrder, {}, [](auto const& item) { return item.first->nOrder; });
        for (auto const& [key, value] : inOrder)
            visit(Unescape(section.pItem), Unescape(key->pItem), Unescape(value), CommentOf(*key));
    }
}

void IniText::AddSection(String const& name, String const& comment) {
    m_ini.SetValue(Escape(name, Place::Section).c_str(), nullptr, nullptr, CommentOrNull(comment));
}

void IniText::AddValue(String const& section, String const& key, String const& value, String const& comment) {
    m_ini.SetValue(Escape(section, Place::Section).c_str(), Escape(key, Place::Key).c_str(),
                   Escape(value, Place::Value).c_str(), CommentOrNull(comment));
}

String IniText::Text(String const& headComment, String const& endComment) const {
    std::string body;
    m_ini.Save(body);
    String text = headComment;
    if (!headComment.Empty())
        text += k_NL;
    text += body;
    if (!endComment.Empty())
        text += k_NL + endComment;
    return text;
}

} // namespace corekit
