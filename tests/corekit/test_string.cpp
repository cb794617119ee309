#include "test.h"

#include <corekit/optionmap.h>

using namespace corekit;

// Initialised before main, maybe before the library's own statics.
static String const s_early = String::Null + k_Yes + k_NL + String::From(false);

TEST(String, CanBeUsedWhileStaticsAreMade) { EXPECT_EQ(s_early, "Yes\nNo"); }

TEST(String, OrderIsByUnsignedBytes) {
    EXPECT_LT(String("z"), String("\xC3\xA4"));
    EXPECT_LT(String(std::string_view("a\0", 2)), String("ab"));
    EXPECT_LT(String("a").CompareNoCase("B"), 0);
    EXPECT_GT(String("ab").CompareNoCase("A"), 0);
    // '_' lies between the cases: the fold must be to lower, as ciless keys rely on it.
    EXPECT_LT(String("_").CompareNoCase("A"), 0);
    char const* none = nullptr;
    EXPECT_TRUE(String(none) == "" && String() == none && String("a") + none == "a");
    OptionMap options{{"Name", "1"}};
    options["NAME"] = "2";
    EXPECT_EQ(options.size(), 1u);
    EXPECT_EQ(options.find(std::string_view("name"))->second, "2");
}

TEST(String, Finds) {
    String const text = "Frame.0001.EXR";
    EXPECT_EQ(text.Find(".", 6), 10u);
    EXPECT_EQ(text.FindNoCase("exr"), 11u);
    EXPECT_EQ(text.FindNoCase("FRAME", 1), String::npos);
    EXPECT_EQ(text.FindNoCase("", 3), 3u);
    EXPECT_EQ(text.FindNoCase("a", 99), String::npos);
    EXPECT_EQ(String("aaab").FindNoCase("AAB"), 1u);
    EXPECT_EQ(text.FindOneOf("0123456789"), 6u);
    EXPECT_EQ(text.FindOneNotOf("Frame"), 5u);
}

TEST(String, Replaces) {
    Rows<char const*, char const*, char const*, bool, size_t, char const*> const cases = {
        {"aXbXc", "X", "--", true, 2, "a--b--c"},   {"aaa", "a", "aa", true, 3, "aaaaaa"},
        {"aaa", "aa", "b", true, 1, "ba"},          {"abc", "", "x", true, 0, "abc"},
        {"Job JOB job", "job", "", false, 3, "  "}, {"Job", "job", "x", true, 0, "Job"}};
    for (auto const& [before, from, to, caseSensitive, count, result] : cases) {
        String text = before;
        EXPECT_EQ(text.Replace(from, to, caseSensitive), count) << before;
        EXPECT_EQ(text, result);
    }
    String self = "ab";
    EXPECT_EQ(self.Replace(self, self + self), 1u);
    EXPECT_EQ(self, "abab");
}

TEST(String, TakesPartsBySeparator) {
    Rows<String, char const*> const cases = {
        {"a-b-c", "a|b-c|a-b|c"}, {"abc", "abc|abc|abc|abc"}, {"-", "|||"}, {"a-", "a||a|"}, {"", "|||"}};
    for (auto const& [text, parts] : cases)
        EXPECT_EQ(text.LeftFirst("-") + "|" + text.RightFirst("-") + "|" + text.LeftLast("-") + "|" +
                      text.RightLast("-"),
                  parts);
    EXPECT_EQ(String("10::20").RightFirst("::"), "20");
    EXPECT_EQ(String(" \t a b\r\n").Trim(), "a b");
    EXPECT_EQ(String(" \n ").Trim(), "");
    EXPECT_EQ(String("abc").Mid(1), "bc");
    EXPECT_EQ(String("abc").Mid(1, 1), "b");
    EXPECT_EQ(String("abc").Mid(4), "");
}

TEST(String, ReadsNumbersAndFallsBack) {
    constexpr int64_t lowest = std::numeric_limits<int64_t>::min();
    Rows<String, int64_t, uint64_t, double> const cases = {{"42", 42, 42, 42},
                                                           {" +7 frames", 7, 7, 7},
                                                           {"-3.5", -3, 77, -3.5},
                                                           {"", 77, 77, 77},
                                                           {"abc", 77, 77, 77},
                                                           {"+-5", 77, 77, 77},
                                                           {"1e3", 1, 1, 1000},
                                                           {"-9223372036854775808", lowest, 77, -9223372036854775808.0},
                                                           {"18446744073709551616", 77, 77, 18446744073709551616.0},
                                                           {"nan", 77, 77, 77},
                                                           {"1e999", 1, 1, 77},
                                                           {"inf", 77, 77, 77},
                                                           {"- 5", 77, 77, 77}};
    for (auto const& [text, asInt, asUint, asFloat] : cases) {
        EXPECT_EQ(text.Int(77), asInt) << text;
        EXPECT_EQ(text.Uint(77), asUint) << text;
        EXPECT_EQ(text.Float(77), asFloat) << text;
    }
    for (char const* yes : {"Yes", "TRUE", "on", "1", " yes "})
        EXPECT_TRUE(String(yes).Bool(false)) << yes;
    for (char const* no : {"No", "false", "OFF", "0"})
        EXPECT_FALSE(String(no).Bool(true)) << no;
    for (char const* neither : {"", "2", "yess", "nope"})
        EXPECT_TRUE(String(neither).Bool(true) && !String(neither).Bool(false)) << neither;
}

TEST(String, DoublesReadBackAsTheSameNumber) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; ++i) {
        double const value = std::bit_cast<double>(random());
        if (std::isfinite(value)) {
            ASSERT_EQ(String::From(value).Float(), value);
        }
    }
    EXPECT_EQ(String::From(0.1), "0.1");
    EXPECT_EQ(String::From(0.1f), "0.1");
    EXPECT_EQ(String::From(-5), "-5");
    EXPECT_EQ(String::From(std::numeric_limits<uint64_t>::max()), "18446744073709551615");
}

TEST(String, Wraps) {
    Rows<char const*, size_t, char const*> const cases = {
        {"one two three", 7, "one two|three"},
        {"one two three", 3, "one|two|thr|ee"},
        {"abcdefgh", 3, "abc|def|gh"},
        {"a b", 0, "a b"},
        {"", 5, ""},
        {"one\ntwo  three", 5, "one|two|three"},
        {"\n", 5, "|"},
        // Four letters of two bytes each: characters count, and none is cut.
        {"\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4", 3, "\xC3\xA4\xC3\xA4\xC3\xA4|\xC3\xA4"}};
    for (auto const& [text, width, result] : cases)
        EXPECT_EQ(String(text).Wrap(width, "|"), result) << text;
}

TEST(SFormat, WritesTextOfAnyLength) {
    for (int const length : {0, 1, 510, 511, 512, 513, 5000})
        EXPECT_EQ(SFormat("%s%d", std::string(static_cast<size_t>(length), 'x').c_str(), 7),
                  String(static_cast<size_t>(length), 'x') + "7");
}
