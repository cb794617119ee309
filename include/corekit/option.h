#pragma once

#include <corekit/inifile.h>

#include <type_traits>
#include <variant>
#include <vector>

namespace corekit {

// A colour as a text, such as "#26282B". What holds without it is chosen elsewhere.
struct ColorText {};

// OptionInfo is one line in a table of options: where an option stands in an INI file,
// of what type it is, what holds without it and what it is for.
// Owner: it is a constant of the program. Thread: any, with a file that allows it.
class OptionInfo {
public:
    using AnyDefault = std::variant<bool, int, unsigned, unsigned short, double, char const*, ColorText>;

    // `section` null: each of those that keep it has a section of its own. A '*' in
    // `key` stands for a name. The texts outlive it.
    constexpr OptionInfo(char const* section, char const* key, AnyDefault missing, char const* about)
        : m_section(section), m_key(key), m_missing(missing), m_about(about) {}

    constexpr char const* Section() const { return m_section; }
    constexpr char const* Key() const { return m_key; }
    constexpr char const* About() const { return m_about; }

    // That is its place. Case does not count.
    bool IsAt(String const& section, String const& key) const;
    // The text is of its type.
    bool CanBe(String const& text) const;
    // What it can be, in words: "Yes or No".
    char const* Expected() const;

    // As texts, in the form in which they are written. For those with a section only.
    String DefaultText() const;
    // What holds: the default in place of a text that is missing or not of its type.
    String GetText(IniFile const& file) const;
    void SetText(IniFile& file, String const& text) const { file.SetValue(m_section, m_key, text); }
    bool Has(IniFile const& file) const { return file.HasKey(m_section, m_key); }
    void Clear(IniFile& file) const { file.ClearKey(m_section, m_key); }

protected:
    constexpr AnyDefault const& Missing() const { return m_missing; }
    // Its key when `name` stands for the '*'.
    String KeyOf(String const& name) const;

private:
    char const* m_section;
    char const* m_key;
    AnyDefault m_missing;
    char const* m_about;
};

// An option with a value of type T: bool, int, unsigned, unsigned short, double, String.
template <class T>
class TypedOption : public OptionInfo {
public:
    // As a constant of the program keeps it.
    using Constant = std::conditional_t<std::is_same_v<T, String>, char const*, T>;

    constexpr TypedOption(char const* section, char const* key, Constant missing, char const* about)
        : OptionInfo(section, key, AnyDefault(std::in_place_type<Constant>, missing), about) {}

    constexpr Constant Default() const { return std::get<Constant>(Missing()); }
};

// The handle of one option: nobody who uses it states its place or its default again.
template <class T>
class Option : public TypedOption<T> {
public:
    using TypedOption<T>::TypedOption;

    T Get(IniFile const& file) const { return file.GetValue(this->Section(), this->Key(), this->Default()); }
    void Set(IniFile& file, T const& value) const { file.SetValue(this->Section(), this->Key(), value); }
};

// The handle of a row of options in one section, a name for each.
template <class T>
class OptionFamily : public TypedOption<T> {
public:
    using TypedOption<T>::TypedOption;

    T Get(IniFile const& file, String const& name) const {
        return file.GetValue(this->Section(), this->KeyOf(name), this->Default());
    }
    void Set(IniFile& file, String const& name, T const& value) const {
        file.SetValue(this->Section(), this->KeyOf(name), value);
    }
};

// The handle of an option that several keep, each in a section of its own.
template <class T>
class SectionOption : public TypedOption<T> {
public:
    constexpr SectionOption(char const* key, typename TypedOption<T>::Constant missing, char const* about)
        : TypedOption<T>(nullptr, key, missing, about) {}

    T Get(IniFile const& file, String const& section) const {
        return file.GetValue(section, this->Key(), this->Default());
    }
    void Set(IniFile& file, String const& section, T const& value) const { file.SetValue(section, this->Key(), value); }
};

using OptionTable = std::vector<OptionInfo const*>;

// What is wrong in the sections that the table names, a line each: keys that nobody
// reads, and values that are not of their type.
std::vector<String> CheckOptions(IniFile const& file, OptionTable const& table);

} // namespace corekit
