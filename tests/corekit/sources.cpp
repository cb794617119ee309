#include "sources.h"

namespace house {

namespace fs = std::filesystem;
using std::string;

fs::path const& Root() {
    static fs::path const root = vorlan::k_SourceDir;
    return root;
}

string ReadText(fs::path const& path) { return corekit::File::Read(path).Str(); }

std::vector<fs::path> FilesUnder(fs::path const& folder) {
    std::vector<fs::path> files;
    if (fs::is_regular_file(folder))
        files.push_back(folder);
    if (!fs::is_directory(folder))
        return files;
    for (auto const& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    return files;
}

std::vector<fs::path> Sources(std::vector<string> const& folders) {
    std::vector<fs::path> files;
    for (string const& folder : folders) {
        for (auto const& path : FilesUnder(Root() / folder)) {
            if (path.extension() == ".h" || path.extension() == ".cpp")
                files.push_back(path);
        }
    }
    return files;
}

string Relative(fs::path const& path) { return path.lexically_relative(Root()).generic_string(); }

string LibraryOf(fs::path const& path) {
    fs::path const relative = path.lexically_relative(Root());
    std::vector<string> parts;
    for (auto const& part : relative)
        parts.push_back(part.string());
    if (parts.size() < 3)
        return "";
    if (parts[0] == "include" && parts[1] == "wx") {
        fs::path const source = Root() / "src/wxvorlanapp" / path.filename().replace_extension(".cpp");
        return fs::exists(source) ? "wxvorlanapp" : "wxvorlan";
    }
    if (parts[1] == "master" && parts[2] == "core")
        return "master/core";
    if (parts[1] == "vorlangui" && std::set<string>{"client", "model", "outside", "rows"}.contains(parts[2]))
        return "vorlanclient";
    if (parts[1] == "tools")
        return "tools/" + parts[2];
    return parts[1];
}

string const& At(Tokens const& tokens, size_t at) {
    static string const nothing;
    return at < tokens.size() ? tokens[at].text : nothing;
}

size_t Closing(Tokens const& tokens, size_t open) {
    static std::map<string, string> const pairs = {{"(", ")"}, {"{", "}"}, {"[", "]"}, {"<", ">"}};
    string const& opens = tokens[open].text;
    string const& closes = pairs.at(opens);
    size_t depth = 0;
    for (size_t at = open; at < tokens.size(); ++at) {
        depth += tokens[at].text == opens;
        depth -= tokens[at].text == closes;
        if (depth == 0)
            return at;
    }
    return tokens.size();
}

namespace {

bool IsWord(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Where a text in quotes that begins at `start` ends; raw texts and escaped quotes too.
size_t EndOfQuotes(std::string_view text, size_t start, bool isRaw) {
    if (isRaw) {
        size_t const open = text.find('(', start);
        string const close = ")" + string(text.substr(start + 1, open - start - 1)) + "\"";
        return std::min(text.find(close, open), text.size() - close.size()) + close.size();
    }
    size_t at = start + 1;
    while (at < text.size() && text[at] != text[start])
        at += text[at] == '\\' ? 2 : 1;
    return at + 1;
}

// The end of a line; of a directive that goes on after a backslash, the end of the last.
size_t EndOfLine(std::string_view text, size_t at) {
    do
        at = text.find('\n', at + 1);
    while (at < text.size() && text[at - 1] == '\\');
    return std::min(at, text.size());
}

} // namespace

Code ReadCode(std::string_view text) {
    Code code;
    size_t line = 1;
    bool isLineStart = true;
    for (size_t at = 0, end = 0; at < text.size(); at = end) {
        char const c = text[at];
        std::string_view const rest = text.substr(at);
        end = at + 1;
        if (c == '\n' || c == ' ') {
            isLineStart = isLineStart || c == '\n';
            line += c == '\n';
            continue;
        }
        if (rest.starts_with("//") || rest.starts_with("/*")) {
            end = rest[1] == '/' ? std::min(text.find('\n', at), text.size()) : text.find("*/", at + 2) + 2;
            code.comments.push_back({string(text.substr(at, end - at)), line});
        } else if (c == '#' && isLineStart) {
            end = EndOfLine(text, at);
        } else if (c == '"' || c == '\'') {
            bool const isRaw =
                c == '"' && !code.tokens.empty() && code.tokens.back().text == "R" && text[at - 1] == 'R';
            end = EndOfQuotes(text, at, isRaw);
            if (isRaw)
                code.tokens.pop_back();
            code.tokens.push_back({"\"", line});
        } else if (IsWord(c)) {
            // A number keeps the marks between its digits.
            bool const isNumber = std::isdigit(static_cast<unsigned char>(c));
            while (end < text.size() && (IsWord(text[end]) || (isNumber && text[end] == '\'')))
                ++end;
            code.tokens.push_back({string(text.substr(at, end - at)), line});
        } else {
            end += rest.starts_with("::");
            code.tokens.push_back({string(text.substr(at, end - at)), line});
        }
        isLineStart = false;
        line += static_cast<size_t>(
            std::count(text.begin() + static_cast<ptrdiff_t>(at), text.begin() + static_cast<ptrdiff_t>(end), '\n'));
    }
    return code;
}

} // namespace house
