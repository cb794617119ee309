#pragma once

// One line of a text display: its bytes, what is seen of them, and where a term stands
// in it. Pure; any thread.

#include <corekit/string.h>
#include <cstdint>
#include <utility>
#include <vector>
#include <wx/string.h>
#include <wx/wxvcolors.h>

struct TextLine {
    // What is shown of a longer line, in bytes and in characters.
    static constexpr size_t k_MaxShownBytes = 16 * 1024;
    static constexpr size_t k_MaxShown = 4096;

    corekit::String text; // without its line end
    ColorName color = ColorName::Text;
    bool cut = false; // there is more of it where it comes from
};

// A line as it is drawn: escape sequences are turned into colours or left out; other
// control bytes, bytes that are no UTF-8 and characters that turn the writing round are
// marks; an ellipsis stands for what was cut.
struct ShownLine {
    struct Run {
        size_t from = 0; // character
        ColorName color = ColorName::Text;
    };

    wxString text;
    std::vector<Run> runs;      // until the next one; none: the line's own colour
    std::string plain;          // the bytes that are shown
    std::vector<size_t> starts; // for each character its first byte in `plain`
};
ShownLine ShowLine(TextLine const& line);

// Takes escape sequences out of a text of any number of lines. A sequence that the text
// ends in waits for the rest, unless the text is `whole`: gives the bytes that were used.
size_t StripEscapes(std::string_view text, bool whole, std::string& plain);

// From and to of the word at a character; equal where there is none.
std::pair<int, int> WordAt(wxString const& shown, int character);

// What is searched for. Any case knows the letters of ASCII.
class TextTerm {
public:
    TextTerm() = default;
    TextTerm(corekit::String text, bool matchCase);

    bool Empty() const { return m_wanted.empty(); }
    size_t size() const { return m_wanted.size(); }
    // Makes a text ready for Find.
    void Fold(std::string& text) const;
    // The place of the next hit in a text that Fold has seen; npos.
    size_t Find(std::string_view folded, size_t from = 0) const;
    bool operator==(TextTerm const&) const = default;

private:
    std::string m_wanted;
    bool m_matchCase = false;
};

// Where the term stands in a line, from and to in characters. Hits that stand in what
// is cut are left out.
std::vector<std::pair<int, int>> FindInLine(ShownLine const& line, TextTerm const& term);
