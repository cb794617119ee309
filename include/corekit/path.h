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
    Path(const char* text) : String(text) {}
    Path(std::string text) noexcept : String(std::move(text)) {}
    Path(std::string_view text) : String(text) {}
    Path(String text) noexcept : String(std::move(text)) {}
    Path(const std::filesystem::path& path) : String(path.native()) {}

    const String& Text() const noexcept { return *this; }
    std::filesystem::path Native() const { return std::filesystem::path(Str()); }

    // "/shots/a.tar.gz": leaf "a.tar.gz", branch "/shots", extension ".gz", stem
    // "a.tar". A leaf that begins with its only dot has no extension.
    Path Leaf() const;
    // Empty when the path is a bare leaf; "/" for a leaf in the root.
    Path Branch() const;
    String Extension() const;
    String Stem() const;
    // An absolute right side is the result itself, an empty one changes nothing.
    friend Path operator/(const Path& folder, const Path& leaf) { return folder.Joined(leaf); }

    bool IsAbsolute() const noexcept;
    // Both ask the disk. False also when it cannot be told.
    bool Exists() const noexcept;
    bool IsFolder() const noexcept;

    // One pair of double quotes around the text; text that has them keeps them,
    // and empty text stays empty.
    static String Enquote(const String& text);
    // Takes one outer pair of double quotes away, if there is one.
    static String Dequote(const String& text);

private:
    Path Joined(const Path& leaf) const;
    size_t LeafOffset() const noexcept;
};

} // namespace corekit

template <>
struct std::hash<corekit::Path> {
    size_t operator()(const corekit::Path& path) const noexcept { return hash_value(path); }
};
