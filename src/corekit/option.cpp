#include <corekit/option.h>

#include <algorithm>
#include <charconv>
#include <set>

namespace corekit {

namespace {

template <class T>
bool IsNumber(std::string_view text) {
    T value{};
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

// What the types can be.
struct TextCheck {
    String const& text;

    bool operator()(bool) const { return text.Bool(true) == text.Bool(false); }
    template <std::integral T>
    bool operator()(T) const {
        return IsNumber<T>(text);
    }
    bool operator()(double) const { return IsNumber<double>(text); }
    bool operator()(char const*) const { return true; }
    bool operator()(ColorText) const {
        constexpr size_t k_Length = 7;
        return text.size() == k_Length && text.front() == '#' &&
               std::string_view(text).find_first_not_of("0123456789ABCDEFabcdef", 1) == std::string_view::npos;
    }
};

struct TypeWords {
    char const* operator()(bool) const { return "Yes or No"; }
    char const* operator()(int) const { return "a whole number"; }
    char const* operator()(unsigned) const { return "a whole number that is not below zero"; }
    char const* operator()(unsigned short) const { return "a whole number from 0 to 65535"; }
    char const* operator()(double) const { return "a number"; }
    char const* operator()(char const*) const { return "a text"; }
    char const* operator()(ColorText) const { return "a colour such as #26282B"; }
};

struct WrittenText {
    String operator()(char const* value) const { return value; }
    String operator()(String const& value) const { return value; }
    String operator()(ColorText) const { return {}; }
    template <class T>
    String operator()(T value) const {
        return String::From(value);
    }
};

} // namespace

bool OptionInfo::IsAt(String const& section, String const& key) const {
    if (m_section && section.CompareNoCase(m_section) != 0)
        return false;
    String const pattern(m_key);
    size_t const star = pattern.Find('*');
    if (star == String::npos)
        return key.CompareNoCase(pattern) == 0;
    size_t const behind = pattern.size() - star - 1;
    return key.size() >= star + behind && key.Mid(0, star).CompareNoCase(pattern.Mid(0, star)) == 0 &&
           key.Mid(key.size() - behind).CompareNoCase(pattern.Mid(star + 1)) == 0;
}

bool OptionInfo::CanBe(String const& text) const { return std::visit(TextCheck{text}, m_missing); }

char const* OptionInfo::Expected() const { return std::visit(TypeWords(), m_missing); }

String OptionInfo::DefaultText() const { return std::visit(WrittenText(), m_missing); }

String OptionInfo::GetText(IniFile const& file) const {
    return std::visit(
        [&](auto missing) {
            if constexpr (std::is_same_v<decltype(missing), ColorText>)
                return file.GetValue(m_section, m_key, "");
            else
                return WrittenText()(file.GetValue(m_section, m_key, missing));
        },
        m_missing);
}

String OptionInfo::KeyOf(String const& name) const {
    String key(m_key);
    key.Replace("*", name);
    return key;
}

std::vector<String> CheckOptions(IniFile const& file, OptionTable const& table) {
    std::set<String, String::ciless> sections;
    for (OptionInfo const* const option : table) {
        if (option->Section())
            sections.insert(option->Section());
    }
    std::vector<String> faults;
    for (String const& section : sections) {
        for (String const& key : file.Keys(section)) {
            String const place = "Option \"" + key + "\" in section \"" + section + "\"";
            String const value = file.GetValue(section, key, "");
            auto const option = std::find_if(table.begin(), table.end(),
                                             [&](OptionInfo const* known) { return known->IsAt(section, key); });
            if (option == table.end())
                faults.push_back(place + " is not known: check its spelling.");
            else if (!value.Empty() && !(*option)->CanBe(value))
                faults.push_back(place + " is \"" + value + "\" and should be " + (*option)->Expected() +
                                 ": it is not used.");
        }
    }
    return faults;
}

} // namespace corekit
