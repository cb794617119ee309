#include <corekit/path.h>

#include <system_error>

namespace corekit {

namespace {

bool IsDriveLetter(char c) {
    c = String::FoldCase(c);
    return c >= 'a' && c <= 'z';
}

bool IsWindowsPath(std::string_view text) {
    return (text.size() >= 2 && IsDriveLetter(text[0]) && text[1] == ':') || text.starts_with("\\\\");
}

std::string_view Separators(std::string_view text) { return IsWindowsPath(text) ? "/\\" : "/"; }

// Bytes that no branch goes below: "/" or "C:\".
size_t RootLength(std::string_view text) {
    if (text.starts_with("\\\\"))
        return 2;
    if (IsWindowsPath(text))
        return text.size() > 2 && (text[2] == '\\' || text[2] == '/') ? 3 : 2;
    return text.starts_with('/') ? 1 : 0;
}

// Without separators at the end.
std::string_view Trimmed(std::string_view text) {
    std::string_view const separators = Separators(text);
    size_t const root = RootLength(text);
    while (text.size() > root && separators.find(text.back()) != std::string_view::npos)
        text.remove_suffix(1);
    return text;
}

size_t DotOffset(std::string_view leaf) {
    size_t const dot = leaf.rfind('.');
    return dot == 0 || leaf == ".." ? std::string_view::npos : dot;
}

} // namespace

size_t Path::LeafOffset() const noexcept {
    std::string_view const text = Trimmed(*this);
    size_t const at = text.find_last_of(Separators(text));
    return std::max(at == std::string_view::npos ? 0 : at + 1, RootLength(text));
}

Path Path::Leaf() const {
    std::string_view const text = Trimmed(*this);
    return Path(text.substr(std::min(LeafOffset(), text.size())));
}

Path Path::Branch() const { return Path(Trimmed(std::string_view(*this).substr(0, std::min(LeafOffset(), size())))); }

String Path::Extension() const {
    Path const leaf = Leaf();
    return leaf.Mid(DotOffset(leaf));
}

String Path::Stem() const {
    Path const leaf = Leaf();
    return leaf.Mid(0, DotOffset(leaf));
}

Path Path::Joined(Path const& leaf) const {
    if (Empty() || leaf.IsAbsolute())
        return leaf;
    if (leaf.Empty())
        return *this;
    bool const backslash = IsWindowsPath(*this) && Contains("\\");
    bool const ends = Separators(*this).find(back()) != std::string_view::npos;
    String text = *this;
    if (!ends)
        text += backslash ? '\\' : '/';
    text += leaf;
    return Path(std::move(text));
}

bool Path::IsAbsolute() const noexcept { return StartsWith("/") || IsWindowsPath(*this); }

bool Path::Exists() const noexcept {
    std::error_code error;
    return std::filesystem::exists(c_str(), error);
}

bool Path::IsFolder() const noexcept {
    std::error_code error;
    return std::filesystem::is_directory(c_str(), error);
}

String Path::Enquote(String const& text) {
    String const plain = Dequote(text);
    return plain.Empty() ? plain : '"' + plain + '"';
}

String Path::Dequote(String const& text) {
    bool const quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.Mid(1, text.size() - 2) : text;
}

} // namespace corekit
