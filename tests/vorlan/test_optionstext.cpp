#include <gtest/gtest.h>
#include <vorlan/ippeer.h>
#include <vorlan/optionstext.h>

#include <random>

namespace vorlan {
namespace {

/// Text of all kinds of trouble, mostly the characters that the forms use themselves.
class WildText {
public:
    explicit WildText(unsigned seed) : m_random(seed) {}
    String Next(size_t maxLength, std::string_view favourites) {
        String text;
        for (size_t i = Below(maxLength + 1); i > 0; --i)
            text += Below(4) == 0 ? static_cast<char>(Below(256)) : favourites[Below(favourites.size())];
        return text;
    }
    size_t Below(size_t limit) { return m_random() % limit; }

private:
    std::mt19937 m_random;
};

int BraceDepth(String const& text, bool& wentBelow, size_t& commasAtZero) {
    int depth = 0;
    for (char const c : text) {
        depth += c == '{' ? 1 : c == '}' ? -1 : 0;
        wentBelow = wentBelow || depth < 0;
        if (c == ',' && depth == 0)
            ++commasAtZero;
    }
    return depth;
}

TEST(OptionsText, BringsAnyMapBack) {
    WildText wild(7);
    for (int round = 0; round < 3000; ++round) {
        OptionMap options;
        for (size_t i = wild.Below(5); i > 0; --i)
            options[wild.Next(6, "{}\"\\=, \n#@a")] = wild.Next(12, "{}\"\\=, \n#@xnrt()");
        UID const type = wild.Below(2) ? UID(true) : UID::Null;
        UID const id = wild.Below(2) ? UID(true) : UID::Null;
        auto const mode = wild.Below(2) ? OptionsToStringMode::OneLine : OptionsToStringMode::Lines;
        String const text = OptionsToString(options, mode, type, id);

        bool wentBelow = false;
        size_t commas = 0;
        ASSERT_EQ(BraceDepth(text, wentBelow, commas), 0) << text;
        ASSERT_FALSE(wentBelow) << text;
        ASSERT_EQ(commas, 0u) << text;
        if (mode == OptionsToStringMode::OneLine) {
            ASSERT_EQ(text.Find('\n'), String::npos);
        }
        UID readType = UID::Full;
        UID readID = UID::Full;
        ASSERT_EQ(StringToOptions(text, &readType, &readID), options) << text;
        ASSERT_EQ(readType, type);
        ASSERT_EQ(readID, id);

        // A text that was cut off is none.
        size_t const whole = text.Trim().size();
        String const cut = text.Mid(0, wild.Below(whole));
        ASSERT_TRUE(StringToOptions(cut).empty()) << cut;
    }
}

TEST(OptionsText, ReadsWhatPeopleWrite) {
    struct Case {
        char const* text;
        OptionMap expected;
    } const cases[] = {
        {"", {}},
        {"plain text", {}},
        {"{}", {}},
        {"{} and more", {}},
        {"{a=1 b=\"2\"}", {{"a", "1"}, {"b", "2"}}},
        {"  { a = 1 }", {}},
        {"{a=1,\n\tA=2 }\n", {{"a", "2"}}},
        {"{a=}", {}},
        {"{a=\"\"}", {{"a", ""}}},
        {"{a=\"raw { brace\"}", {{"a", "raw { brace"}}},
        {"{a=\"\\x4\"}", {}},
        {"{a=\"\\xZZ\"}", {}},
        {"{#not-a-uid a=1}", {}},
        {"{{a=1}}", {}},
        {"{\"a b\"=\"\\x41\\q\"}", {{"a b", "Aq"}}},
    };
    for (Case const& test : cases)
        EXPECT_EQ(StringToOptions(test.text), test.expected) << test.text;
    EXPECT_EQ(OptionsToString({{"a", ""}, {"b", "1"}}, OptionsToStringMode::Brief), "{b=\"1\"}");
}

TEST(StringLists, BringAnyListBack) {
    WildText wild(11);
    for (int round = 0; round < 5000; ++round) {
        corekit::vector<String> strings;
        for (size_t i = wild.Below(5); i > 0; --i)
            strings.push_back(wild.Next(4, ",,\\\\a"));
        String const text = StringsToString(strings, ',', '\\');
        ASSERT_EQ(StringToStrings(text, ',', '\\'), strings) << text;
    }
}

TEST(StringLists, SplitWhatPeopleType) {
    using List = corekit::vector<String>;
    struct Case {
        char const* text;
        char separator;
        List expected;
    } const cases[] = {
        {"", ',', {}},
        {"a", ',', {"a"}},
        {"a,b", ',', {"a", "b"}},
        {"a,", ',', {"a"}},
        {",", ',', {""}},
        {",a", ',', {"", "a"}},
        {"a\\,b", ',', {"a,b"}},
        {"a\\\\,b", ',', {"a\\", "b"}},
        {"C:\\temp\\x", ',', {"C:\\temp\\x"}},
        {"a\\", ',', {"a\\"}},
        {"\\!no yes", ' ', {"\\!no", "yes"}},
    };
    for (Case const& test : cases)
        EXPECT_EQ(StringToStrings(test.text, test.separator, '\\'), test.expected) << test.text;
}

TEST(IPPeer, ReadsAndWritesAddresses) {
    struct Case {
        char const* text;
        bool good;
        char const* host;
        int port;
        char const* written;
    } const cases[] = {
        {"render1:7466", true, "render1", 7466, "render1:7466"},
        {" 10.0.0.1:1 ", true, "10.0.0.1", 1, "10.0.0.1:1"},
        {"render1", true, "render1", 99, "render1:99"},
        {"[fe80::1]:80", true, "fe80::1", 80, "[fe80::1]:80"},
        {"[::1]", true, "::1", 99, "[::1]:99"},
        {"fe80::1", true, "fe80::1", 99, "[fe80::1]:99"},
        {"host:65535", true, "host", 65535, "host:65535"},
        {"", false, "", 0, ""},
        {":80", false, "", 0, ""},
        {"host:", false, "", 0, ""},
        {"host:65536", false, "", 0, ""},
        {"host:12x", false, "", 0, ""},
        {"host:-1", false, "", 0, ""},
        {"two hosts:80", false, "", 0, ""},
        {"[::1", false, "", 0, ""},
        {"[::1]80", false, "", 0, ""},
        {"[::1]:", false, "", 0, ""},
    };
    for (Case const& test : cases) {
        IPPeer peer("untouched", 5);
        EXPECT_EQ(IPPeer::FromString(test.text, peer, 99), test.good) << test.text;
        if (test.good) {
            EXPECT_EQ(peer, IPPeer(test.host, static_cast<unsigned short>(test.port))) << test.text;
            EXPECT_EQ(peer.ToString(), test.written);
        } else {
            EXPECT_EQ(peer, IPPeer("untouched", 5)) << test.text;
        }
    }
    EXPECT_EQ(IPPeer().ToString(), "");
}

} // namespace
} // namespace vorlan
