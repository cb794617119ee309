#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace corekit {

class String;

// Text that is not a String itself and can be seen as one: literals, character
// pointers, standard strings and views.
template <class T>
concept ForeignText = std::convertible_to<T const&, std::string_view> && !std::derived_from<T, String>;

// The system's text: 8-bit characters, UTF-8 by convention, any byte allowed.
// A value type without an owner; as safe between threads as a standard string.
// Case-insensitive operations fold the letters A to Z only and leave every other
// byte as it is, so they never depend on a locale.
class String {
public:
    static constexpr size_t npos = std::string::npos;
    // Safe to use while other files initialise their statics.
    static String const Null;

    constexpr String() = default;
    // A null pointer counts as empty text.
    String(char const* text) : m_text(text ? text : "") {}
    String(char const* text, size_t length) : m_text(text, length) {}
    String(std::string text) noexcept : m_text(std::move(text)) {}
    String(std::string_view text) : m_text(text) {}
    String(size_t count, char c) : m_text(count, c) {}

    operator std::string_view() const noexcept { return m_text; }
    std::string const& Str() const noexcept { return m_text; }
    char const* c_str() const noexcept { return m_text.c_str(); }
    char const* data() const noexcept { return m_text.data(); }
    char* data() noexcept { return m_text.data(); }
    size_t size() const noexcept { return m_text.size(); }
    bool Empty() const noexcept { return m_text.empty(); }
    auto begin() noexcept { return m_text.begin(); }
    auto end() noexcept { return m_text.end(); }
    auto begin() const noexcept { return m_text.begin(); }
    auto end() const noexcept { return m_text.end(); }
    char& operator[](size_t at) noexcept { return m_text[at]; }
    char const& operator[](size_t at) const noexcept { return m_text[at]; }
    char back() const noexcept { return m_text.back(); }
    char front() const noexcept { return m_text.front(); }

    void clear() noexcept { m_text.clear(); }
    void reserve(size_t bytes) { m_text.reserve(bytes); }
    void resize(size_t bytes, char fill = '\0') { m_text.resize(bytes, fill); }
    void pop_back() { m_text.pop_back(); }
    void push_back(char c) { m_text.push_back(c); }
    String& append(std::string_view text) { return Append(text); }
    String& append(size_t count, char c) {
        m_text.append(count, c);
        return *this;
    }
    String& append(char const* text, size_t length) { return Append({text, length}); }
    String& operator+=(char c) {
        m_text.push_back(c);
        return *this;
    }
    String& operator+=(String const& text) { return Append(text); }
    template <ForeignText T>
    String& operator+=(T const& text) {
        return Append(View(text));
    }

    // All searches give the offset of the first hit at or after `from`, or npos.
    size_t Find(std::string_view text, size_t from = 0) const noexcept { return m_text.find(text, from); }
    size_t Find(char c, size_t from = 0) const noexcept { return m_text.find(c, from); }
    size_t FindNoCase(std::string_view text, size_t from = 0) const noexcept;
    size_t FindOneOf(std::string_view characters, size_t from = 0) const noexcept;
    size_t FindOneNotOf(std::string_view characters, size_t from = 0) const noexcept;
    bool Contains(std::string_view text) const noexcept { return Find(text) != npos; }
    bool ContainsNoCase(std::string_view text) const noexcept { return FindNoCase(text) != npos; }
    bool StartsWith(std::string_view text) const noexcept { return m_text.starts_with(text); }
    bool EndsWith(std::string_view text) const noexcept { return m_text.ends_with(text); }

    // Replaces every occurrence from left to right, without looking into what it
    // has put in. Gives their number; an empty `from` replaces nothing.
    size_t Replace(std::string_view from, std::string_view to, bool caseSensitive = true);

    // Without blanks, tabs and line ends at both ends.
    String Trim() const;
    // Empty when `position` is past the end.
    String Mid(size_t position, size_t length = npos) const;
    // The whole text when the separator is not there.
    String LeftFirst(std::string_view separator) const;
    String RightFirst(std::string_view separator) const;
    String LeftLast(std::string_view separator) const;
    String RightLast(std::string_view separator) const;
    String Lower() const;
    String Upper() const;
    // Breaks lines longer than `width` characters (UTF-8, not bytes) at blanks,
    // a longer word where it must be; each break is `lineBreak`. Line feeds that
    // are there become `lineBreak` too. Width 0 breaks nothing.
    String Wrap(size_t width, std::string_view lineBreak = "\n") const;

    // The number at the start, blanks before it skipped, what follows ignored.
    // `def` when there is none or when it does not fit.
    int64_t Int(int64_t def = 0) const noexcept;
    uint64_t Uint(uint64_t def = 0) const noexcept;
    double Float(double def = 0) const noexcept;
    // yes, true, on, 1 and no, false, off, 0 in any case; `def` for other text.
    bool Bool(bool def = false) const noexcept;

    // Below, equal to or above zero; bytes compare unsigned.
    int Compare(std::string_view other) const noexcept { return m_text.compare(other); }
    int CompareNoCase(std::string_view other) const noexcept { return CompareNoCase(m_text, other); }
    static int CompareNoCase(std::string_view a, std::string_view b) noexcept;

    static String From(bool value);
    // The shortest text that reads back as the same number.
    static String From(double value);
    static String From(float value);
    template <std::integral T>
    requires(!std::same_as<T, bool> && !std::same_as<T, char>) static String From(T value) {
        if constexpr (std::is_signed_v<T>)
            return FromSigned(value);
        else
            return FromUnsigned(value);
    }

    static constexpr char FoldCase(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

    // Orders keys without regard to case; looks up views without a copy.
    struct ciless {
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const noexcept { return CompareNoCase(a, b) < 0; }
    };

    friend bool operator==(String const& a, String const& b) noexcept { return a.m_text == b.m_text; }
    friend std::strong_ordering operator<=>(String const& a, String const& b) noexcept {
        return a.m_text.compare(b.m_text) <=> 0;
    }
    template <ForeignText T>
    friend bool operator==(String const& a, T const& b) noexcept {
        return std::string_view(a.m_text) == View(b);
    }
    template <ForeignText T>
    friend std::strong_ordering operator<=>(String const& a, T const& b) noexcept {
        return a.m_text.compare(View(b)) <=> 0;
    }

    friend String operator+(String a, String const& b) { return std::move(a.Append(b)); }
    friend String operator+(String a, char b) { return std::move(a += b); }
    friend String operator+(char a, String const& b) { return Joined({&a, 1}, b); }
    template <ForeignText T>
    friend String operator+(String a, T const& b) {
        return std::move(a.Append(View(b)));
    }
    template <ForeignText T>
    friend String operator+(T const& a, String const& b) {
        return Joined(View(a), b);
    }

    friend std::ostream& operator<<(std::ostream& out, String const& text) { return Print(out, text); }
    friend void PrintTo(String const& text, std::ostream* out) { Quote(text, *out); }
    friend size_t hash_value(String const& text) noexcept { return std::hash<std::string>()(text.m_text); }

private:
    template <class T>
    static std::string_view View(T const& text) noexcept {
        if constexpr (std::is_pointer_v<T>)
            return text ? std::string_view(text) : std::string_view();
        else
            return text;
    }
    String& Append(std::string_view text) {
        m_text.append(text);
        return *this;
    }
    static String Joined(std::string_view a, std::string_view b);
    static String FromSigned(int64_t value);
    static String FromUnsigned(uint64_t value);
    static std::ostream& Print(std::ostream& out, std::string_view text);
    static void Quote(std::string_view text, std::ostream& out);

    std::string m_text;
};

inline constexpr char k_Empty[] = "";
inline constexpr char k_NL[] = "\n";
inline constexpr char k_Yes[] = "Yes";
inline constexpr char k_No[] = "No";

} // namespace corekit

template <>
struct std::hash<corekit::String> {
    size_t operator()(corekit::String const& text) const noexcept { return hash_value(text); }
};
