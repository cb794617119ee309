#include "test.h"

#include <corekit/optionmap.h>
#include <vorlan/jobtemplate.h>

namespace vorlan::test_jobtemplate {

OptionMap const k_Values = {{"Name", "Shot 12"},   {"File", "/a/b/Scene.x.pov"},
                            {"Empty", ""},         {"Yes", "Yes"},
                            {"Off", "off"},        {"Zero", "0"},
                            {"Frame", "-7"},       {"Last", "1200"},
                            {"Ref", "$(Name) x"},  {"Loop", "$(Loop:expand)"},
                            {"Evil", "'; rm"},     {"Quote", "a\"b$c"},
                            {"Bracket", "a]b|c)"}, {"Two", "a b"}};

class Values : public TemplateValues {
public:
    explicit Values(OptionMap values = k_Values) : m_values(std::move(values)) {}
    bool Find(std::string_view name, String& value) const override {
        auto const found = m_values.find(name);
        if (found != m_values.end())
            value = found->second;
        return found != m_values.end();
    }

private:
    OptionMap const m_values;
};

String Expand(String const& text) {
    return ExpandTemplate(text, [](std::string_view name, String& value) { return Values().Find(name, value); });
}

TEST(JobTemplate, Expands) {
    Rows<char const*, char const*> const cases = {
        {"<$(Name)>", "<Shot 12>"},
        {"$(name)", "Shot 12"},
        {"<$(Unknown)>", "<>"},
        {"$(Ref)", "$(Name) x"}, // values are not looked into ...
        {"$(Ref:expand)", "Shot 12 x"},
        {"a[ of $(Name) frames]b", "a of Shot 12 framesb"},
        {"a[ of $(Unknown) frames]b", "ab"},
        {"a[ of $(Empty) frames]b", "ab"},
        {"[x $(Name)[ y $(Unknown)] z]", "x Shot 12 z"}, // the inner piece drops out alone
        {"[x[ y $(Name)] $(Unknown)]", ""},
        {"file[0-9].png", "file[0-9].png"}, // no reference: text
        {"[a[b]$(Name)]", "a[b]Shot 12"},
        {"$(Yes?on|off)", "on"},
        {"$(Off?on|off)", "off"},
        {"$(Empty?on|off)", "off"},
        {"$(Unknown?on)", ""},
        {"$(Name?|no)", ""},
        {"$(Yes=YES?same|other)", "same"},
        {"$(Yes!=no?same|other)", "same"},
        {"$(Unknown=?none|some)", "none"},
        {"$(Off?a|$(Yes?$(Name)|c))", "Shot 12"},
        {"[-t $(Off?$(Unknown)|4)]", "-t 4"}, // the branch not taken does not count
        {"[-t $(Yes?$(Unknown)|4)]", ""},
        {"[x$(Bracket)y]", "xa]b|c)y"}, // values never close anything
        {"$$ $[ $] $| $)", "$ [ ] | )"},
        {"$(Yes?f($)$|g|h)", "f()|g"},
        {"$$(Name)", "$(Name)"},
        {"$(File:leaf) $(File:stem) $(File:folder) $(File:ext)", "Scene.x.pov Scene.x /a/b pov"},
        {"$(File:stem:upper)", "SCENE.X"},
        {"$(Frame:pad=4) $(Zero:pad=3) $(Zero:pad=Last) $(Last:pad=2)", "-0007 000 0000 1200"},
        {"$(Name", "$(Name"}, // malformed: as it stands
        {"[x $(Name)", "[x Shot 12"},
        {"x] $(Name)", "x] Shot 12"},
        {"$()", "$()"},
        {"$(Name:nothing)", "$(Name:nothing)"},
        {"$(Name=a)", "$(Name=a)"},
        {"cost: 5$", "cost: 5$"},
    };
    for (auto const& [text, expected] : cases)
        EXPECT_EQ(Expand(text), expected) << text;
}

TEST(JobTemplate, HasLimits) {
    String deep;
    for (int i = 0; i < 40; ++i)
        deep = "$(Yes?" + deep + ")";
    EXPECT_THROW(Expand(deep), ArgumentException);
    EXPECT_THROW(Expand("$(Loop:expand)"), ArgumentException);
    String many;
    for (size_t i = 0; i <= k_TemplateReferenceLimit; ++i)
        many += "$(Zero)";
    EXPECT_THROW(Expand(many), ArgumentException);
    EXPECT_THROW(Expand(String(k_TemplateLengthLimit + 1, 'x')), ArgumentException);
}

// Open brackets that are never closed must not be tried again and again.
TEST(JobTemplate, UnclosedBracketsStayCheap) {
    String text;
    for (int i = 0; i < 100000; ++i)
        text += "[$(";
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(Expand(text), text);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(JobTemplate, SplitsCommandLines) {
    Rows<char const*, std::vector<String>> const cases = {
        {"", {}},
        {"  a   b\tc\n", {"a", "b", "c"}},
        {R"(a "b c" 'd "e')", {"a", "b c", "d \"e"}},
        {R"(a"b c"d)", {"ab cd"}},
        {R"("" '')", {"", ""}},
        {R"(a\ b \"c \\d)", {"a b", "\"c", "\\d"}},
        {R"(C:\dir\file)", {R"(C:\dir\file)"}}, // a path of another system keeps its backslashes
        {R"('a\b')", {R"(a\b)"}},
        {R"("open)", {"open"}},
    };
    for (auto const& [text, words] : cases)
        EXPECT_EQ(SplitCommandLine(text), words) << text;
    // Values never part words, make quotes or vanish inside them.
    auto const words =
        SplitCommandLine(ExpandPieces("run -n $(Two) \"$(Quote)\" x$(Evil) $(Empty) [-t $(Unknown)]", Values()).pieces);
    EXPECT_EQ(words, (std::vector<String>{"run", "-n", "a b", "a\"b$c", "x'; rm"}));
}

TEST(JobTemplate, QuotedWordsReadBack) {
    std::mt19937 random(7);
    char const characters[] = "ab \\\"'\t$";
    for (int i = 0; i < 5000; ++i) {
        String word;
        for (unsigned n = random() % 8; n > 0; --n)
            word += characters[random() % 8];
        ASSERT_EQ(SplitCommandLine("x " + QuoteWord(word) + " y"), (std::vector<String>{"x", word, "y"})) << word;
    }
}

// What /bin/sh makes of a template with this value: what it prints.
String PrintedBy(char const* text, String const& value) {
    ShellScript const script = MakeShellScript(ExpandPieces(text, Values({{"V", value}})).pieces);
    std::deque<EnvironmentValue> variables;
    for (auto const& [name, held] : script.variables)
        variables.emplace_back(name.c_str(), held.c_str());
    FILE* const pipe = popen(script.text.c_str(), "r");
    char buffer[4000] = {};
    size_t const length = fread(buffer, 1, sizeof buffer, pipe);
    EXPECT_EQ(pclose(pipe), 0) << script.text;
    return String(buffer, length);
}

// Whatever a value holds, and wherever it stands, it comes out as it is: the shell never parses it.
TEST(JobTemplate, NoValueIsEverParsedByTheShell) {
    char const* const places[] = {
        "printf '<%s>' $(V)",
        "printf '<%s>' \"it's $(V)\"",
        "printf '<%s>' x$(V)y*",
        "A=$(V); printf '<%s>' \"$$A\"",
        "printf '<%s>' \\$(V) \"\\$(V)\"",
        "printf '<%s>' \"$$(printf '%s.' $(V))\" $$(printf .)",
        "printf '<%s>' \"`printf '%s.' $(V)`\" \"`printf '%s.' \"$(V)\"`\"",
        "printf '<%s>' \"$${none:-$(V)}\" $${none:-$(V)} $${none:-'$$('}",
        "printf '<%s>' \"$$(case x in x) printf '%s.' $(V);; (y) ;; esac)\"",
        "cat <<EOF # it's $(V)\nit's `printf '\"'` $(V)\nEOF\nprintf '<%s>' $(V)",
        "printf '<%s>' \"$$(cat <<-A; cat <<\\B; printf .\n\t$(V)\n\tA\n'\n`\nB\n)\" $(V)",
        "# `it's $$( $(V)\nprintf '<%s>' $(V)",
        "if true; then case $(V) in $(V)) printf '<%s>' $(V);; esac; fi",
    };
    // What each prints for a plain value tells what it prints for any.
    String const plain = "PLAIN";
    std::map<String, String> printed;
    for (char const* const place : places)
        printed[place] = PrintedBy(place, plain);
    EXPECT_EQ(printed[places[4]], "<\\PLAIN><\\PLAIN>");
    EXPECT_EQ(printed[places[9]], "it's \" PLAIN\n<PLAIN>");

    char const* const parts[] = {"'",          "\"",  "`",    "$(echo BAD >&2)",
                                 "`echo BAD`", "\\",  "\n",   "\nEOF\n",
                                 "\n\tA\nB\n", "$",   ";",    "&",
                                 "|",          "#",   "*",    "?",
                                 " ",          "\t",  "!x",   "~",
                                 "-n",         "%s",  "\r",   "\x01",
                                 ")",          "}",   "<<X",  ">x",
                                 "(",          "{",   "esac", "${HOME}",
                                 "a",          "\xff"};
    std::mt19937 random(3);
    for (size_t i = 0; i < 600; ++i) {
        String value = i < std::size(parts) ? parts[i] : "";
        for (unsigned n = value.Empty() ? 1 + random() % 5 : 0; n > 0; --n)
            value += parts[random() % std::size(parts)];
        char const* const place = places[i % std::size(places)];
        String expected = printed[place];
        expected.Replace(plain, value);
        EXPECT_EQ(PrintedBy(place, value), expected) << place;
    }
}

TEST(JobTemplate, AValueThatTheShellCouldNotTakeAsItIsIsRefusedWithItsPlace) {
    Rows<char const*, char const*> const cases = {
        {"echo '$(V)'", "single quotes"},
        {"echo \"$$(echo '$(V)')\"", "single quotes"},
        {"true\ncat <<'E'\nit is $(V)\nE\n", "line 3 of the script, behind \"it is \""},
        {"cat <<\\E\n$(V)\nE\n", "end word"},
        {"cat <<E$(V)\n", "in the end word"},
        {"echo $$$(V)", "right behind a $"},
        {"echo $${$(V)}", "name of a variable"},
        {"echo $$((1 + $(V)))", "no whole number"},
        {"echo `echo \\$(V)`", "right behind a backslash"},
    };
    for (auto const& [text, reason] : cases) {
        try {
            PrintedBy(text, "a");
            ADD_FAILURE() << text;
        } catch (ArgumentException const& error) {
            EXPECT_TRUE(error.Message().Contains(reason) && error.Message().StartsWith("$(V) stands "))
                << error.Message();
        }
    }
    EXPECT_EQ(PrintedBy("echo $$(( ($(V) + 1) * 2 )) $(V)", "-4"), "-6 -4\n");
}

} // namespace vorlan::test_jobtemplate
