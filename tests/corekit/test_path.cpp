#include "test.h"

using namespace corekit;

TEST(Path, Parts) {
    // Branch, leaf, stem and extension; absolute or not.
    Rows<char const*, char const*, bool> const cases = {
        {"/shots/a.tar.gz", "/shots|a.tar.gz|a.tar|.gz", true},
        {"/a", "/|a|a|", true},
        {"a.vj", "|a.vj|a|.vj", false},
        {"x/.hidden", "x|.hidden|.hidden|", false},
        {"/shots/seq/", "/shots|seq|seq|", true},
        {"/", "/|||", true},
        {"", "|||", false},
        {"a/..", "a|..|..|", false},
        {"a//b", "a|b|b|", false},
        // A backslash is an ordinary letter here, and a separator in a path of Windows.
        {"/a\\b.c", "/|a\\b.c|a\\b|.c", true},
        {"C:\\jobs\\a.ma", "C:\\jobs|a.ma|a|.ma", true},
        {"C:\\a", "C:\\|a|a|", true},
        {"\\\\host\\share\\a", "\\\\host\\share|a|a|", true},
        {"C:", "C:|||", true},
        {"\\\\", "\\\\|||", true}};
    for (auto const& [text, parts, absolute] : cases) {
        Path const path = text;
        EXPECT_EQ(path.Branch() + "|" + path.Leaf() + "|" + path.Stem() + "|" + path.Extension(), parts) << text;
        EXPECT_EQ(path.IsAbsolute(), absolute) << text;
    }
}

TEST(Path, JoinsAndQuotes) {
    char const* const joined[][3] = {{"/a", "b", "/a/b"},     {"/a/", "b", "/a/b"},  {"/a", "/b", "/b"},
                                     {"", "b", "b"},          {"/a", "", "/a"},      {"C:\\a", "b", "C:\\a\\b"},
                                     {"C:/a", "b", "C:/a/b"}, {"C:\\", "b", "C:\\b"}};
    for (auto const& [left, right, both] : joined)
        EXPECT_EQ(Path(left) / right, both);
    // Quotes go round once and come off once.
    EXPECT_EQ(Path::Enquote("a b"), "\"a b\"");
    EXPECT_EQ(Path::Enquote("\"a b\""), "\"a b\"");
    EXPECT_EQ(Path::Enquote(""), "");
    for (char const* text : {"a", "a\"b", "\"", "\"a", "a\"", "C:\\dir\\", " x "})
        EXPECT_EQ(Path::Dequote(Path::Enquote(text)), text);
}
