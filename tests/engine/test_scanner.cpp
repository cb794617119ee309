#include "test.h"

#include "engine/report/outputscanner.h"

namespace vorlan::test_scanner {

OutputRules SampleRules() {
    OutputRules rules;
    rules.rules = {
        {OutputRule::Kind::Percent, R"((\d+)% done)"},
        {OutputRule::Kind::Warning, R"(^Warning: (.*))", 1, 2, "$1"},
        {OutputRule::Kind::Error, R"(^Error: (.*))", 1, 2, "$1"},
    };
    return rules;
}

struct Seen {
    double percent = 0;
    String warning;
    String error;
    String lastLine;
    bool operator==(Seen const&) const = default;
};

void PrintTo(Seen const& seen, std::ostream* out) {
    *out << seen.percent << " w:" << seen.warning << " e:" << seen.error << " l:" << seen.lastLine;
}

Seen Scan(std::string_view output, size_t pieceSize) {
    OutputScanner scanner(SampleRules(), "1-4");
    Seen seen;
    auto const take = [&](OutputScanner::Found const& found) {
        if (!found.warning.Empty())
            seen.warning = found.warning;
    };
    for (size_t from = 0; from < output.size(); from += pieceSize)
        take(scanner.Feed(output.substr(from, pieceSize)));
    take(scanner.Finish());
    seen.percent = scanner.Percent();
    seen.error = scanner.FirstError();
    seen.lastLine = scanner.LastLine();
    return seen;
}

TEST(OutputScanner, ReadsTheSameWhateverThePiecesAre) {
    std::string const longLine = "50% done " + std::string(OutputMatcher::k_LineLimit, 'x') + "Error: too far right";
    struct Case {
        char const* name;
        std::string output;
        Seen seen;
    };
    Case const cases[] = {
        {"nothing", "", {}},
        {"lines", "10% done\n20% done\n", {20, "", "", "20% done"}},
        {"a line that is drawn anew", "10% done\r35% done\r", {35, "", "", "35% done"}},
        {"line ends of two characters", "10% done\r\nbye\r\n", {10, "", "", "bye"}},
        {"no line feed at the end", "10% done\n90% done", {90, "", "", "90% done"}},
        {"never back", "60% done\n20% done\n", {60, "", "", "20% done"}},
        {"warnings and errors",
         "Warning: a\nError: first\nError: second\nWarning: b\n",
         {0, "b", "first", "Warning: b"}},
        {"blank lines are no last line", "\n  trouble \n\n   \n", {0, "", "", "trouble"}},
        {"bytes that are no text",
         std::string("\0\xff\xfe 5% done\n", 12),
         {5, "", "", String(std::string("\0\xff\xfe 5% done", 11))}},
        {"an endless line is cut", longLine + "\n70% done\n", {70, "", "", "70% done"}},
        {"an endless line at the end", longLine, {50, "", "", String(longLine.substr(0, 300))}},
    };
    for (Case const& one : cases) {
        SCOPED_TRACE(one.name);
        for (size_t const pieceSize : {size_t{1}, size_t{2}, size_t{7}, size_t{4096}, one.output.size() + 1})
            EXPECT_EQ(Scan(one.output, pieceSize), one.seen) << "in pieces of " << pieceSize;
    }
}

TEST(OutputScanner, ABadPatternCostsThePatternsOnly) {
    OutputRules rules;
    rules.rules = {{OutputRule::Kind::Percent, "(unclosed"}};
    OutputScanner scanner(rules, "1");
    scanner.Feed("one\ntwo\n");
    EXPECT_TRUE(scanner.RuleError().Contains("(unclosed"));
    EXPECT_EQ(scanner.LastLine(), "two");
    EXPECT_EQ(scanner.Percent(), 0);
}

} // namespace vorlan::test_scanner
