#include <vorlan/pathtranslation.h>

#include <cctype>

namespace vorlan {

namespace {

constexpr int k_Windows = 1;
constexpr std::string_view k_BeforePath = " \t\r\n\"'=;,";

bool IsSlash(char c) { return c == '/' || c == '\\'; }

String WithoutLastSlash(String root) {
    while (root.size() > 1 && IsSlash(root.back()))
        root.pop_back();
    return root;
}

// A path of Windows, in which case does not count.
bool IsOfWindows(std::string_view root) { return root.find('\\') != root.npos || (root.size() > 1 && root[1] == ':'); }

bool BeginsIn(std::string_view text, std::string_view root) {
    if (root.empty() || text.size() < root.size())
        return false;
    bool const anyCase = IsOfWindows(root);
    for (size_t i = 0; i < root.size(); ++i) {
        auto const a = static_cast<unsigned char>(text[i]);
        auto const b = static_cast<unsigned char>(root[i]);
        if (a != b && !(IsSlash(text[i]) && IsSlash(root[i])) && !(anyCase && std::tolower(a) == std::tolower(b)))
            return false;
    }
    std::string_view const rest = text.substr(root.size());
    return rest.empty() || IsSlash(rest[0]) || k_BeforePath.find(rest[0]) != k_BeforePath.npos;
}

// Where a path that begins a text ends.
size_t PathEnd(std::string_view text, char before) {
    if (before == '"' || before == '\'')
        return std::min(text.find(before), text.size());
    bool const isWhole = before == '\0'; // blanks may be in it
    return std::min(text.find_first_of(isWhole ? "\"'\r\n;" : " \t\r\n\"';,"), text.size());
}

// The folder's own name that the longest fitting one of another platform stands for.
struct RootMatch {
    size_t length = 0;
    String own;
};

RootMatch FindRoot(std::string_view text, PathNames const& names, String const& platform) {
    RootMatch match;
    for (auto const& folder : names) {
        auto const own = folder.find(platform);
        if (own == folder.end() || own->second.Trim().Empty())
            continue;
        for (auto const& [other, path] : folder) {
            String const root = WithoutLastSlash(path.Trim());
            if (other != platform && root.size() > match.length && BeginsIn(text, root))
                match = {root.size(), WithoutLastSlash(own->second.Trim())};
        }
    }
    return match;
}

} // namespace

String TranslatePaths(String const& text, PathNames const& names, int platform) {
    if (names.empty())
        return text;
    String const own = String::From(platform);
    String translated;
    std::string_view const all = text;
    for (size_t i = 0; i < all.size();) {
        char const before = i == 0 ? '\0' : all[i - 1];
        bool const mayBegin = i == 0 || k_BeforePath.find(before) != k_BeforePath.npos;
        RootMatch const match = mayBegin ? FindRoot(all.substr(i), names, own) : RootMatch();
        if (match.length == 0) {
            translated += all[i++];
            continue;
        }
        size_t const end = i + std::max(PathEnd(all.substr(i), before), match.length);
        translated += match.own;
        for (i += match.length; i < end; ++i)
            translated += IsSlash(all[i]) ? (platform == k_Windows ? '\\' : '/') : all[i];
    }
    return translated;
}

} // namespace vorlan
