#pragma once

#include <corekit/string.h>

#include <filesystem>

namespace corekit {

// The text of a file path. A value type without an owner; asking the disk is done
// by the methods that say so and by nothing else. Folders are split at '/', and
// at '\' as well in a path that begins like one of Windows ("C:\" or "\\host"),
// since Jobs carry paths of other machines.
class Path : public String {
public:
    Path() = default;
    Path(char const* text) : String(text) {}
    Path(std::string text) noexcept : String(std::move(text)) {}
    Path(std::string_view text) : String(text) {}
    Path(String text) noexcept : String(std::move(text)) {}
    Path(std::filesystem::path const& path) : String(path.native()) {}

    String const& Text() const noexcept { return *this; }
    std::filesystem::path Native() const { return std::filesystem::path(Str()); }

    // "/shots/a.tar.gz": leaf "a.tar.gz", branch "/shots", extension ".gz", stem
    // "a.tar". A leaf that begins with its only dot has no extension.
    Path Leaf() const;
    // Empty when the path is a bare leaf; "/" for a leaf in the root.
    Path Branch() const;
    String Extension() const;
    String Stem() const;
    // An absolute right side is the result itself, an empty one changes nothing.
    friend Path operator/(Path const& folder, Path const& leaf) { return folder.Joined(leaf); }

    bool IsAbsolute() const noexcept;
    // Both ask the disk. False also when it cannot be told.
    bool Exists() const noexcept;
    bool IsFolder() const noexcept;

    // One pair of double quotes around the text; text that has them keeps them,
    // and empty text stays empty.
    static String Enquote(String const& text);
    // Takes one outer pair of double quotes away, if there is one.
    static String Dequote(String const& text);

private:
    Path Joined(Path const& leaf) const;
    size_t LeafOffset() const noexcept;
};

} // namespace corekit

template <>
struct std::hash<corekit::Path> {
    size_t operator()(corekit::Path const& path) const noexcept { return hash_value(path); }
};
