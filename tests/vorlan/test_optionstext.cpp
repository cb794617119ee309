#include "test.h"

#include <vorlan/ippeer.h>
#include <vorlan/optionstext.h>

namespace vorlan::test_optionstext {

// Text of all kinds of trouble, mostly the characters that the forms use themselves.
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

// Braces open before they close, no comma stands outside of them, and the line feeds are
// the only control characters.
bool IsOnePiece(String const& text) {
    int depth = 0;
    for (char const c : text) {
        depth += c == '{' ? 1 : c == '}' ? -1 : 0;
        if (depth < 0 || (c == ',' && depth == 0) || (static_cast<unsigned char>(c) < 0x20 && c != '\n'))
            return false;
    }
    return depth == 0;
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

        ASSERT_TRUE(IsOnePiece(text)) << text;
        ASSERT_FALSE(mode == OptionsToStringMode::OneLine && text.Contains("\n")) << text;
        UID readType = UID::Full;
        UID readID = UID::Full;
        ASSERT_EQ(StringToOptions(text, &readType, &readID), options) << text;
        ASSERT_EQ(std::pair(readType, readID), std::pair(type, id));

        // A text that was cut off is none.
        size_t const whole = text.Trim().size();
        String const cut = text.Mid(0, wild.Below(whole));
        ASSERT_TRUE(StringToOptions(cut).empty()) << cut;
    }
}

TEST(OptionsText, ReadsWhatPeopleWrite) {
    Rows<char const*, OptionMap> const cases = {{"", {}},
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
                                                {"{\"a b\"=\"\\x41\\q\"}", {{"a b", "Aq"}}}};
    for (auto const& [text, expected] : cases)
        EXPECT_EQ(StringToOptions(text), expected) << text;
    EXPECT_EQ(OptionsToString({{"a", ""}, {"b", "1"}}, OptionsToStringMode::Brief), "{b=\"1\"}");
}

TEST(StringLists, BringAnyListBack) {
    WildText wild(11);
    for (int round = 0; round < 5000; ++round) {
        std::vector<String> strings;
        for (size_t i = wild.Below(5); i > 0; --i)
            strings.push_back(wild.Next(4, ",,\\\\a"));
        String const text = StringsToString(strings, ',', '\\');
        ASSERT_EQ(StringToStrings(text, ',', '\\'), strings) << text;
    }
}

TEST(StringLists, SplitWhatPeopleType) {
    Rows<char const*, char, std::vector<String>> const cases = {{"", ',', {}},
                                                                {"a", ',', {"a"}},
                                                                {"a,b", ',', {"a", "b"}},
                                                                {"a,", ',', {"a"}},
                                                                {",", ',', {""}},
                                                                {",a", ',', {"", "a"}},
                                                                {"a\\,b", ',', {"a,b"}},
                                                                {"a\\\\,b", ',', {"a\\", "b"}},
                                                                {"C:\\temp\\x", ',', {"C:\\temp\\x"}},
                                                                {"a\\", ',', {"a\\"}},
                                                                {"\\!no yes", ' ', {"\\!no", "yes"}}};
    for (auto const& [text, separator, expected] : cases)
        EXPECT_EQ(StringToStrings(text, separator, '\\'), expected) << text;
}

TEST(IPPeer, ReadsAndWritesAddresses) {
    Rows<char const*, char const*, unsigned short, char const*> const cases = {
        {"render1:7466", "render1", 7466, "render1:7466"},
        {" 10.0.0.1:1 ", "10.0.0.1", 1, "10.0.0.1:1"},
        {"render1", "render1", 99, "render1:99"},
        {"[fe80::1]:80", "fe80::1", 80, "[fe80::1]:80"},
        {"[::1]", "::1", 99, "[::1]:99"},
        {"fe80::1", "fe80::1", 99, "[fe80::1]:99"},
        {"host:65535", "host", 65535, "host:65535"},
    };
    for (auto const& [text, host, port, written] : cases) {
        IPPeer peer;
        EXPECT_TRUE(IPPeer::FromString(text, peer, 99)) << text;
        EXPECT_EQ(peer, IPPeer(host, port)) << text;
        EXPECT_EQ(peer.ToString(), written);
    }
    for (char const* bad :
         {"", ":80", "host:", "host:65536", "host:12x", "host:-1", "two hosts:80", "[::1", "[::1]80", "[::1]:"}) {
        IPPeer peer("untouched", 5);
        EXPECT_FALSE(IPPeer::FromString(bad, peer, 99)) << bad;
        EXPECT_EQ(peer, IPPeer("untouched", 5)) << bad;
    }
    EXPECT_EQ(IPPeer().ToString(), "");
}

} // namespace vorlan::test_optionstext
