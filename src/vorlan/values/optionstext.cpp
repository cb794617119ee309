#include <vorlan/optionstext.h>

#include <corekit/stringtokenizer.h>

#include <algorithm>
#include <cctype>

namespace vorlan {

namespace {

constexpr char k_HexDigits[] = "0123456789ABCDEF";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Names that need no quotes.
bool IsPlainName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '.' ||
               c == '-';
    });
}

// In quotes; no brace, line feed or other control character is left in it.
void AppendQuoted(String& out, std::string_view text) {
    out += '"';
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        switch (c) {
        case '"':
        case '\\':
            out += '\\';
            out += c;
            break;
        case '{':
            out += "\\(";
            break;
        case '}':
            out += "\\)";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (byte < 0x20 || byte == 0x7F) {
                out += "\\x";
                out += k_HexDigits[byte >> 4];
                out += k_HexDigits[byte & 15];
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

void AppendName(String& out, std::string_view name) {
    if (IsPlainName(name))
        out.append(name);
    else
        AppendQuoted(out, name);
}

int HexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    char const folded = String::FoldCase(c);
    return folded >= 'a' && folded <= 'f' ? folded - 'a' + 10 : -1;
}

// Walks over one options text.
class OptionsReader {
public:
    explicit OptionsReader(std::string_view text) : m_text(text) {}

    // False if there is no whole options text at the front.
    bool Read(OptionMap& options, UID& type, UID& id) {
        SkipBlanks();
        if (!TakeCharacter('{'))
            return false;
        while (true) {
            SkipBlanks();
            if (TakeCharacter('}'))
                return true;
            if (TakeCharacter('#') ? !ReadUID(type) : TakeCharacter('@') ? !ReadUID(id) : !ReadOption(options))
                return false;
        }
    }

    size_t Position() const { return m_at; }

private:
    bool AtEnd() const { return m_at >= m_text.size(); }
    bool TakeCharacter(char c) {
        if (AtEnd() || m_text[m_at] != c)
            return false;
        ++m_at;
        return true;
    }
    void SkipBlanks() {
        while (!AtEnd() && (IsBlank(m_text[m_at]) || m_text[m_at] == ','))
            ++m_at;
    }

    bool ReadUID(UID& uid) { return UID::FromString(Word(), uid); }

    bool ReadOption(OptionMap& options) {
        String name;
        if (!ReadText(name) || !TakeCharacter('='))
            return false;
        String value;
        if (!ReadText(value))
            return false;
        options[name] = std::move(value);
        return true;
    }

    // A text in quotes, or a word.
    bool ReadText(String& text) {
        if (!TakeCharacter('"')) {
            text = Word();
            return !text.Empty();
        }
        while (!AtEnd()) {
            char const c = m_text[m_at++];
            if (c == '"')
                return true;
            if (c != '\\')
                text += c;
            else if (!ReadEscape(text))
                return false;
        }
        return false;
    }

    bool ReadEscape(String& text) {
        if (AtEnd())
            return false;
        char const c = m_text[m_at++];
        switch (c) {
        case '(':
            text += '{';
            return true;
        case ')':
            text += '}';
            return true;
        case 'n':
            text += '\n';
            return true;
        case 'r':
            text += '\r';
            return true;
        case 't':
            text += '\t';
            return true;
        case 'x': {
            if (m_text.size() - m_at < 2)
                return false;
            int const high = HexValue(m_text[m_at]);
            int const low = HexValue(m_text[m_at + 1]);
            m_at += 2;
            text += static_cast<char>((high << 4) | low);
            return high >= 0 && low >= 0;
        }
        default:
            text += c;
            return true;
        }
    }

    // Up to the next character that ends a word without quotes.
    std::string_view Word() {
        size_t const from = m_at;
        while (!AtEnd() && !IsBlank(m_text[m_at]) &&
               std::string_view("={},\"").find(m_text[m_at]) == std::string_view::npos)
            ++m_at;
        return m_text.substr(from, m_at - from);
    }

    std::string_view const m_text;
    size_t m_at = 0;
};

bool IsListBlank(char c) { return IsBlank(c) || c == ',' || c == ';'; }

template <class Container>
String JoinUIDs(Container const& ids) {
    String text;
    for (UID const& id : ids) {
        if (!text.Empty())
            text += ',';
        text += id.ToString();
    }
    return text;
}

} // namespace

String OptionsToString(OptionMap const& options, OptionsToStringMode mode, UID const& type, UID const& id) {
    bool const lines = mode == OptionsToStringMode::Lines;
    char const* const between = lines ? "\n  " : " ";
    String text = "{";
    auto const separate = [&] {
        if (lines || text.size() > 1)
            text += between;
    };
    if (!type.IsNull()) {
        separate();
        text += '#' + type.ToString();
    }
    if (!id.IsNull()) {
        separate();
        text += '@' + id.ToString();
    }
    for (auto const& [name, value] : options) {
        if (mode == OptionsToStringMode::Brief && value.Empty())
            continue;
        separate();
        AppendName(text, name);
        text += '=';
        AppendQuoted(text, value);
    }
    text += lines ? "\n}\n" : "}";
    return text;
}

size_t ParseOptions(std::string_view text, OptionMap& options, UID* type, UID* id) {
    if (text.size() > k_MaxOptionsText)
        return 0;
    OptionMap found;
    UID foundType;
    UID foundID;
    OptionsReader reader(text);
    if (!reader.Read(found, foundType, foundID))
        return 0;
    options = std::move(found);
    if (type)
        *type = foundType;
    if (id)
        *id = foundID;
    return reader.Position();
}

OptionMap StringToOptions(String text, UID* type, UID* id) {
    OptionMap options;
    if (type)
        *type = UID::Null;
    if (id)
        *id = UID::Null;
    size_t const taken = ParseOptions(text, options, type, id);
    if (std::all_of(text.begin() + static_cast<ptrdiff_t>(taken), text.end(), IsBlank))
        return options;
    if (type)
        *type = UID::Null;
    if (id)
        *id = UID::Null;
    return {};
}

String StringsToString(std::vector<String> const& strings, char separator, char escape) {
    String text;
    for (size_t i = 0; i < strings.size(); ++i) {
        if (i > 0)
            text += separator;
        for (char const c : strings[i]) {
            if (c == separator || c == escape)
                text += escape;
            text += c;
        }
    }
    // The reader takes a separator at the end as the end of the last text.
    if (!strings.empty() && strings.back().Empty())
        text += separator;
    return text;
}

std::vector<String> StringToStrings(String const& text, char separator, char escape) {
    std::vector<String> strings;
    String current;
    bool open = false; // a text has begun and not ended
    for (size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        bool const escapes = c == escape && i + 1 < text.size() && (text[i + 1] == separator || text[i + 1] == escape);
        if (escapes) {
            current += text[++i];
        } else if (c == separator) {
            strings.push_back(std::exchange(current, String()));
            open = false;
            continue;
        } else {
            current += c;
        }
        open = true;
    }
    if (open)
        strings.push_back(std::move(current));
    return strings;
}

String UIDsToString(std::vector<UID> const& ids) { return JoinUIDs(ids); }

String UIDsToString(std::set<UID> const& ids) { return JoinUIDs(ids); }

std::vector<UID> StringToUIDs(std::string_view text) {
    std::vector<UID> ids;
    size_t at = 0;
    while (at < text.size()) {
        size_t const from = at;
        while (at < text.size() && !IsListBlank(text[at]))
            ++at;
        UID id;
        if (at > from && UID::FromString(text.substr(from, at - from), id))
            ids.push_back(id);
        ++at;
    }
    return ids;
}

String NamesToUIDs(String const& text, std::function<bool(String const& name, UID& id)> const& find) {
    String list;
    auto const add = [&list](String const& item) { list += (list.Empty() ? "" : ", ") + item; };
    StringTokenizer parts(text, ",;");
    String part;
    while (parts.Next(part)) {
        UID id;
        if (part.Trim().Empty())
            continue;
        if (find(part.Trim(), id)) {
            add(id.ToString());
            continue;
        }
        StringTokenizer words(part, " \t\r\n");
        String word;
        while (words.Next(word))
            add(find(word, id) ? id.ToString() : word);
    }
    return list;
}

} // namespace vorlan
