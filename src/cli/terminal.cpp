#include "cli/terminal.h"

#include <cstdlib>
#include <cwchar>
#include <iostream>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vorlan::cli {

namespace {

constexpr char k_Ellipsis[] = "…";
constexpr char k_ToLineStart[] = "\r\x1b[K";

// The C library knows how wide characters are, in a locale of UTF-8.
class Utf8Locale {
public:
    Utf8Locale() : m_former(uselocale(Shared())) {}
    ~Utf8Locale() { uselocale(m_former); }
    Utf8Locale(Utf8Locale const&) = delete;
    Utf8Locale& operator=(Utf8Locale const&) = delete;

private:
    static locale_t Shared() {
        static locale_t const s_locale = [] {
            locale_t const made = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
            return made ? made : LC_GLOBAL_LOCALE;
        }();
        return s_locale;
    }
    locale_t m_former;
};

struct Character {
    size_t bytes = 1;
    size_t columns = 1;
    bool controls = false;
};

// They turn the direction of what follows, so that it reads as what it is not.
bool TurnsDirection(wchar_t wide) {
    return (wide >= 0x202A && wide <= 0x202E) || (wide >= 0x2066 && wide <= 0x2069) || wide == 0x200E ||
           wide == 0x200F || wide == 0x061C;
}

// The first character of a text that is not empty.
Character FirstOf(std::string_view text) {
    wchar_t wide = 0;
    std::mbstate_t state{};
    size_t const length = std::mbrtowc(&wide, text.data(), text.size(), &state);
    if (length == 0)
        return {1, 0, true};
    if (length > text.size()) // no UTF-8
        return {1, 1, true};
    if (TurnsDirection(wide))
        return {length, 0, true};
    int const columns = wcwidth(wide);
    return {length, columns < 0 ? 0 : static_cast<size_t>(columns), columns < 0};
}

} // namespace

Terminal Terminal::Standard() {
    Terminal terminal(std::cout, std::cerr, std::cin);
    terminal.outIsTerminal = isatty(STDOUT_FILENO) == 1;
    terminal.errIsTerminal = isatty(STDERR_FILENO) == 1;
    char const* const noColour = std::getenv("NO_COLOR");
    terminal.colours = terminal.outIsTerminal && !(noColour && *noColour);
    winsize size{};
    if (terminal.outIsTerminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0)
        terminal.width = size.ws_col;
    return terminal;
}

void Terminal::ShowStatus(String const& line) {
    if (!errIsTerminal)
        return;
    // The last column stays free, or some terminals go on to the next line.
    err << k_ToLineStart << (width > 1 ? FitWidth(line, width - 1) : line) << std::flush;
    m_status = true;
}

void Terminal::ClearStatus() {
    if (m_status)
        err << k_ToLineStart << std::flush;
    m_status = false;
}

size_t DisplayWidth(std::string_view text) {
    Utf8Locale const locale;
    size_t columns = 0;
    while (!text.empty()) {
        Character const character = FirstOf(text);
        columns += character.columns;
        text.remove_prefix(character.bytes);
    }
    return columns;
}

String FitWidth(String const& text, size_t width) {
    if (width == 0 || DisplayWidth(text) <= width)
        return text;
    Utf8Locale const locale;
    std::string_view const view = text;
    size_t columns = 0;
    size_t bytes = 0;
    while (bytes < view.size()) {
        Character const character = FirstOf(view.substr(bytes));
        if (columns + character.columns > width - 1)
            break;
        columns += character.columns;
        bytes += character.bytes;
    }
    return text.Mid(0, bytes) + k_Ellipsis;
}

String Printable(String const& text, bool keepLines) {
    Utf8Locale const locale;
    String printable;
    printable.reserve(text.size());
    for (std::string_view rest = text; !rest.empty();) {
        Character const character = FirstOf(rest);
        bool const kept = !character.controls || (keepLines && (rest[0] == '\n' || rest[0] == '\t'));
        kept ? printable.append(rest.substr(0, character.bytes)) : printable.append("?");
        rest.remove_prefix(character.bytes);
    }
    return printable;
}

String Coloured(String const& text, Colour colour) {
    char const* code = nullptr;
    switch (colour) {
    case Colour::Plain:
        return text;
    case Colour::Green:
        code = "32";
        break;
    case Colour::Yellow:
        code = "33";
        break;
    case Colour::Red:
        code = "31";
        break;
    case Colour::Blue:
        code = "34";
        break;
    case Colour::Grey:
        code = "90";
        break;
    }
    return String("\x1b[") + code + "m" + text + "\x1b[0m";
}

} // namespace vorlan::cli
