#pragma once

// Where a command writes to.

#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <iosfwd>
#include <string_view>

namespace vorlan::cli {

enum class Colour { Plain, Green, Yellow, Red, Blue, Grey };

// Terminal is the standard input, output and error, and what they can do.
// Owner: main, or a test. Thread: the main thread.
struct Terminal {
    Terminal(std::ostream& output, std::ostream& errors, std::istream& input) : out(output), err(errors), in(input) {}

    std::ostream& out;
    std::ostream& err;
    std::istream& in;
    bool outIsTerminal = false;
    bool errIsTerminal = false;
    bool colours = false; // on `out`
    size_t width = 0;     // columns of `out`; 0: no end

    // This process's own. NO_COLOR in the environment turns colours off.
    static Terminal Standard();

    // A line that the next one takes the place of, on the standard error output. Only
    // while errIsTerminal.
    void ShowStatus(String const& line);
    // Removes that line, before anything else is written.
    void ClearStatus();
    bool HasStatus() const { return m_status; }

private:
    bool m_status = false;
};

// Columns that the text takes on a terminal.
size_t DisplayWidth(std::string_view text);
// The text, cut with an ellipsis where it is wider than `width` columns.
String FitWidth(String const& text, size_t width);
// The text without characters that would drive a terminal; they become "?".
// `keepLines` leaves line feeds and tabs.
String Printable(String const& text, bool keepLines = false);
// The text in a colour; as it is for Plain.
String Coloured(String const& text, Colour colour);

} // namespace vorlan::cli
