#include "test.h"

using namespace corekit;

TEST(Path, Parts) {
    struct Case {
        char const* path;
        char const* branch;
        char const* leaf;
        char const* stem;
        char const* extension;
        bool absolute;
    };
    for (Case const& c :
         {Case{"/shots/a.tar.gz", "/shots", "a.tar.gz", "a.tar", ".gz", true}, Case{"/a", "/", "a", "a", "", true},
          Case{"a.vj", "", "a.vj", "a", ".vj", false}, Case{"x/.hidden", "x", ".hidden", ".hidden", "", false},
          Case{"/shots/seq/", "/shots", "seq", "seq", "", true}, Case{"/", "/", "", "", "", true},
          Case{"", "", "", "", "", false}, Case{"a/..", "a", "..", "..", "", false},
          Case{"a//b", "a", "b", "b", "", false},
          // A backslash is an ordinary letter here, and a separator in a path of Windows.
          Case{"/a\\b.c", "/", "a\\b.c", "a\\b", ".c", true},
          Case{"C:\\jobs\\a.ma", "C:\\jobs", "a.ma", "a", ".ma", true}, Case{"C:\\a", "C:\\", "a", "a", "", true},
          Case{"\\\\host\\share\\a", "\\\\host\\share", "a", "a", "", true}, Case{"C:", "C:", "", "", "", true},
          Case{"\\\\", "\\\\", "", "", "", true}}) {
        Path const path = c.path;
        EXPECT_EQ(path.Branch(), c.branch) << c.path;
        EXPECT_EQ(path.Leaf(), c.leaf) << c.path;
        EXPECT_EQ(path.Stem(), c.stem) << c.path;
        EXPECT_EQ(path.Extension(), c.extension) << c.path;
        EXPECT_EQ(path.IsAbsolute(), c.absolute) << c.path;
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
