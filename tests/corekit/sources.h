#pragma once

#include "test.h"

// The project's own sources, as the rules of the house read them.
namespace house {

std::filesystem::path const& Root();
std::string ReadText(std::filesystem::path const& path);
// The file itself, or all that stand below a folder; nothing of what is not there.
std::vector<std::filesystem::path> FilesUnder(std::filesystem::path const& folder);
// The headers and .cpp files below these folders of the root.
std::vector<std::filesystem::path> Sources(std::vector<std::string> const& folders);
std::string Relative(std::filesystem::path const& path);
// The library that a file of the project belongs to. A public header of the GUI
// belongs to the library that holds its source.
std::string LibraryOf(std::filesystem::path const& path);

// A word, a number, "::" or a single character of code, and the line it stands in.
struct Token {
    std::string text;
    size_t line;

    bool IsName() const {
        return text[0] == '_' || (text[0] >= 'A' && text[0] <= 'Z') || (text[0] >= 'a' && text[0] <= 'z');
    }
};

using Tokens = std::vector<Token>;
// The text of a token; empty behind the last one.
std::string const& At(Tokens const& tokens, size_t at);
// The bracket that closes the one at `open`; the number of tokens when none does.
size_t Closing(Tokens const& tokens, size_t open);

// A source taken apart. Texts in quotes are one token `"`.
struct Code {
    Tokens tokens;
    // Each as it stands, with its mark.
    Tokens comments;
};
Code ReadCode(std::string_view text);

} // namespace house
