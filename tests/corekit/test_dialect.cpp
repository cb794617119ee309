// One dialect in all sources: what clang-format cannot hold.

#include "sources.h"

#include <regex>

namespace test_dialect {

using house::At;
using house::Code;
using house::Token;
using house::Tokens;
using std::string;

// A line and what is wrong there.
using Faults = std::vector<std::pair<size_t, string>>;

// Comments and the first line of a header.
Faults CommentFaults(Code const& code) {
    Faults faults;
    for (Token const& comment : code.comments) {
        if (comment.text.starts_with("///") || comment.text.starts_with("/*"))
            faults.push_back({comment.line, "a comment begins with two strokes"});
    }
    return faults;
}

// `const` before its type, also where clang-format does not turn it.
Faults ConstFaults(Code const& code) {
    static std::set<string> const before = {"static",   "inline",  "extern",   "constexpr", "mutable",   "thread_local",
                                            "typename", "virtual", "explicit", "friend",    "constinit", "return",
                                            "case",     "new",     "volatile", "register",  "const"};
    static std::set<string> const after = {"override", "noexcept", "final", "volatile", "requires", "operator"};
    static std::set<string> const behindType = {">", ")", "*", "&", "]", "}"};
    Faults faults;
    for (size_t at = 0; at < code.tokens.size(); ++at) {
        if (code.tokens[at].text != "const" || at + 1 == code.tokens.size())
            continue;
        Token const& next = code.tokens[at + 1];
        if ((!next.IsName() && next.text != "::") || after.contains(next.text))
            continue;
        bool const hasType = at > 0 && (behindType.contains(At(code.tokens, at - 1)) ||
                                        (code.tokens[at - 1].IsName() && !before.contains(At(code.tokens, at - 1))));
        if (!hasType)
            faults.push_back({next.line, "const stands behind its type: " + next.text + " const"});
    }
    return faults;
}

// What is asked for being empty by its size, and containers by the name of a former home.
Faults ContainerFaults(Code const& code) {
    static std::regex const container(
        "corekit::(vector|map|set|list|deque|multimap|unordered_map|unordered_set|array|pair)\\b");
    static std::regex const size(
        R"((\.|>)(size|length)\(\)(==|!=|>)0(?![\w.'])|!(\w|::|\.|->)+(\.|->)(size|length)\(\))");
    std::map<size_t, string> lines;
    for (Token const& token : code.tokens)
        lines[token.line] += token.text;
    Faults faults;
    for (auto const& [number, line] : lines) {
        if (std::regex_search(line, container))
            faults.push_back({number, "a container of the standard library"});
        if (std::regex_search(line, size))
            faults.push_back({number, "ask empty()"});
    }
    return faults;
}

// A body of one plain statement has no braces; one that is itself a control statement has.
// Of code as clang-format leaves it, a line for each statement. Braces below a head of
// several lines may stay, since they set the body apart from it; macros may hide more than
// one statement.
Faults BraceFaults(string const& text) {
    static std::regex const head(R"( *(if|for|while) \(.*\) \{)"), next(R"( *\} else (if \(.*\) )?\{)"), end(R"( *\})"),
        bare(R"( *(\} )?(else )?(if|for|while) \(.*\)|.*\belse)"), control(R"( *(if|for|while|switch|do|try)\b.*)"),
        plain(R"( +(?! |(if|for|while|switch|do|try|else)\b|[A-Z0-9_]+\(|//)((?!//).)*;)");
    Faults faults;
    std::vector<string> lines;
    std::istringstream stream(text);
    for (string line; std::getline(stream, line);)
        lines.push_back(line);
    auto const is = [&lines](size_t at, std::regex const& kind) {
        return at < lines.size() && std::regex_match(lines[at], kind);
    };
    for (size_t at = 0; at < lines.size(); ++at) {
        if ((lines[at].ends_with(")") || lines[at].ends_with("else")) && is(at, bare) && is(at + 1, control))
            faults.push_back({at + 1, "a control statement as a body has braces"});
        if (!lines[at].ends_with("{") || !is(at, head))
            continue;
        // All branches of one chain have braces or none has.
        size_t last = at;
        while (is(last + 1, plain) && is(last + 2, next))
            last += 2;
        if (is(last + 1, plain) && is(last + 2, end))
            faults.push_back({at + 1, "a body of one plain statement has no braces"});
    }
    return faults;
}

Faults DialectFaults(string const& text) {
    Code const code = house::ReadCode(text);
    Faults all = BraceFaults(text);
    for (auto const& check : {CommentFaults, ConstFaults, ContainerFaults}) {
        for (auto const& fault : check(code))
            all.push_back(fault);
    }
    return all;
}

TEST(House, SpeaksOneDialect) {
    size_t count = 0;
    for (auto const& path : house::Sources({"include", "src", "tests", "benchmarks", "fuzz", "cmake"})) {
        string const text = house::ReadText(path);
        for (auto const& [line, fault] : DialectFaults(text))
            ADD_FAILURE() << house::Relative(path) << ":" << line << ": " << fault;
        EXPECT_TRUE(path.extension() != ".h" || text.starts_with("#pragma once\n")) << house::Relative(path);
        ++count;
    }
    EXPECT_GT(count, 500u) << "few sources were found under " << house::Root();
}

// It does see what it looks for, and no more.
TEST(House, HearsAnotherDialect) {
    for (char const* text :
         {"/// a", "int a; /* b */", "const std::string a;", "void F(const ::A& a);", "static const auto a = 1;",
          "bool a = b.size() == 0;", "if (!a->b.size())\n    return;", "return a.length() != 0;",
          "corekit::vector<int> a;", "if (a) {\n    b();\n}", "for (;;) {\n    ++a;\n}",
          "if (a) {\n    b();\n} else {\n    c();\n}", "if (a)\n    for (;;)\n        b();",
          "while (a)\n    if (b)\n        c();", "if (a)\n    b();\nelse\n    while (c)\n        d();"}) {
        EXPECT_EQ(1u, DialectFaults(text).size()) << text;
    }
    for (char const* text :
         {"// a /* b", "char const* a = \"/* const b */\";", "std::string const a;", "int F() const override;",
          "auto a = R\"x(const b \" /* )x\";", "bool a = !b.empty() && b.size() > 1;", "#define A(b) /// c",
          "if (a) {\n    EXPECT_EQ(1, b);\n}", "if (a) {\n    b();\n    c();\n}", "if (a) {\n    // b\n    c();\n}",
          "if (a) {\n    if (b)\n        c();\n}", "if (a) {\n    b();\n} else {\n    c();\n    d();\n}",
          "int a = 1'000;", "do\n    b();\nwhile (a);", "struct {\n} const a[] = {};",
          "if (a &&\n    b) {\n    c();\n}", "if (a)\n    b();\nelse if (c)\n    d();",
          "char a = '\"'; // ' const b"}) {
        EXPECT_EQ(Faults(), DialectFaults(text)) << text;
    }
}

} // namespace test_dialect
