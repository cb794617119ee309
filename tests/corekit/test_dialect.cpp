// One dialect in all sources: what clang-format cannot hold.

#include "sources.h"

namespace test_dialect {

using house::Code;
using house::Token;
using std::string;
using Tokens = std::vector<Token>;

// A line and what is wrong there.
using Faults = std::vector<std::pair<size_t, string>>;

string const& At(Tokens const& tokens, size_t at) {
    static string const nothing;
    return at < tokens.size() ? tokens[at].text : nothing;
}

// The bracket that closes the one at `open`; the number of tokens when none does.
size_t Closing(Tokens const& tokens, size_t open) {
    static std::map<string, string> const pairs = {{"(", ")"}, {"{", "}"}, {"[", "]"}, {"<", ">"}};
    string const& opens = tokens[open].text;
    string const& closes = pairs.at(opens);
    size_t depth = 0;
    for (size_t at = open; at < tokens.size(); ++at) {
        depth += tokens[at].text == opens;
        depth -= tokens[at].text == closes;
        if (depth == 0)
            return at;
    }
    return tokens.size();
}

bool IsControl(string const& word) {
    static std::set<string> const words = {"if", "for", "while", "switch", "do", "try", "else"};
    return words.contains(word);
}

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
    static std::set<string> const containers = {"vector",   "map",           "set",           "list",  "deque",
                                                "multimap", "unordered_map", "unordered_set", "array", "pair"};
    Faults faults;
    Tokens const& tokens = code.tokens;
    for (size_t at = 0; at < tokens.size(); ++at) {
        if (At(tokens, at) == "corekit" && At(tokens, at + 1) == "::" && containers.contains(At(tokens, at + 2)))
            faults.push_back({tokens[at].line, "std::" + At(tokens, at + 2)});
        bool const isSize = (At(tokens, at) == "size" || At(tokens, at) == "length") && At(tokens, at + 1) == "(" &&
                            At(tokens, at + 2) == ")";
        if (!isSize || at == 0 || (At(tokens, at - 1) != "." && At(tokens, at - 1) != ">"))
            continue;
        string const compare = At(tokens, at + 3) + At(tokens, at + 4);
        bool const isZero = (compare == "==" || compare == "!=") && At(tokens, at + 5) == "0";
        bool const isAbove = At(tokens, at + 3) == ">" && At(tokens, at + 4) == "0";
        size_t first = at;
        while (first > 0 &&
               (tokens[first - 1].IsName() || At(tokens, first - 1) == "." || At(tokens, first - 1) == "-" ||
                At(tokens, first - 1) == ">" || At(tokens, first - 1) == "::"))
            --first;
        if (isZero || isAbove || (first > 0 && At(tokens, first - 1) == "!"))
            faults.push_back({tokens[at].line, "ask empty()"});
    }
    return faults;
}

// One body of a control statement, to its last token.
struct Branch {
    size_t body;
    size_t end;
    bool isPlainInBraces = false;
    bool isControl = false;
};

// Whether the braces at `open` hold one plain statement of one line and nothing else.
// Macros may hide more than one statement.
bool HoldsPlainStatement(Code const& code, size_t open, size_t close) {
    Tokens const& tokens = code.tokens;
    if (close <= open + 1 || IsControl(At(tokens, open + 1)) || At(tokens, close - 1) != ";")
        return false;
    size_t const first = tokens[open + 1].line;
    if (tokens[close - 1].line != first)
        return false;
    for (size_t at = open + 1; at + 1 < close; ++at) {
        if (At(tokens, at) == ";")
            return false;
    }
    for (Token const& comment : code.comments) {
        if (comment.line >= tokens[open].line && comment.line <= tokens[close].line)
            return false;
    }
    string const& word = At(tokens, open + 1);
    return std::any_of(word.begin(), word.end(),
                       [](char c) { return (c >= 'a' && c <= 'z') || c == '+' || c == '-' || c == '*' || c == '('; });
}

// The branch whose head begins at `head` and whose body at `body`. Braces below a head
// of several lines may stay: they set the body apart from it.
Branch ReadBranch(Code const& code, size_t head, size_t body) {
    Tokens const& tokens = code.tokens;
    Branch branch{body, body};
    if (At(tokens, body) == "{") {
        branch.end = Closing(tokens, body);
        branch.isPlainInBraces = tokens[head].line == tokens[body].line && HoldsPlainStatement(code, body, branch.end);
        return branch;
    }
    branch.isControl = IsControl(At(tokens, body));
    while (branch.end < tokens.size() && At(tokens, branch.end) != ";") {
        bool const opens = At(tokens, branch.end) == "(" || At(tokens, branch.end) == "{";
        branch.end = opens ? Closing(tokens, branch.end) + 1 : branch.end + 1;
    }
    return branch;
}

// A body of one plain statement has no braces; one that is itself a control statement has.
Faults BraceFaults(Code const& code) {
    Faults faults;
    Tokens const& tokens = code.tokens;
    for (size_t at = 0; at < tokens.size(); ++at) {
        string const& word = At(tokens, at);
        if ((word != "if" && word != "for" && word != "while") || (at > 0 && At(tokens, at - 1) == "else"))
            continue;
        // All branches of one chain have braces or none has.
        bool isPlain = true;
        for (size_t head = at; head < tokens.size();) {
            bool const isElse = At(tokens, head) == "else" && At(tokens, head + 1) != "if";
            size_t body = head + 1;
            if (!isElse) {
                while (body < tokens.size() && At(tokens, body) != "(")
                    ++body;
                body = body < tokens.size() ? Closing(tokens, body) + 1 : body;
            }
            Branch const branch = ReadBranch(code, head, body);
            if (branch.isControl)
                faults.push_back({tokens[head].line, "a control statement as a body has braces"});
            isPlain = isPlain && branch.isPlainInBraces;
            if (branch.isControl || At(tokens, branch.end + 1) != "else")
                break;
            head = branch.end + 1;
        }
        if (isPlain)
            faults.push_back({tokens[at].line, "a body of one plain statement has no braces"});
    }
    return faults;
}

Faults DialectFaults(Code const& code) {
    Faults all;
    for (auto const& check : {CommentFaults, ConstFaults, ContainerFaults, BraceFaults}) {
        for (auto const& fault : check(code))
            all.push_back(fault);
    }
    return all;
}

TEST(House, SpeaksOneDialect) {
    size_t count = 0;
    for (auto const& path : house::Sources({"include", "src", "tests", "benchmarks", "fuzz", "cmake"})) {
        string const text = house::ReadText(path);
        for (auto const& [line, fault] : DialectFaults(house::ReadCode(text)))
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
        EXPECT_EQ(1u, DialectFaults(house::ReadCode(text)).size()) << text;
    }
    for (char const* text :
         {"// a /* b", "char const* a = \"/* const b */\";", "std::string const a;", "int F() const override;",
          "auto a = R\"x(const b \" /* )x\";", "bool a = !b.empty() && b.size() > 1;", "#define A(b) /// c",
          "if (a) {\n    EXPECT_EQ(1, b);\n}", "if (a) {\n    b();\n    c();\n}", "if (a) {\n    // b\n    c();\n}",
          "if (a) {\n    if (b)\n        c();\n}", "if (a) {\n    b();\n} else {\n    c();\n    d();\n}",
          "int a = 1'000;", "do\n    b();\nwhile (a);", "struct {\n} const a[] = {};",
          "if (a &&\n    b) {\n    c();\n}", "if (a)\n    b();\nelse if (c)\n    d();",
          "char a = '\"'; // ' const b"}) {
        EXPECT_EQ(Faults(), DialectFaults(house::ReadCode(text))) << text;
    }
}

} // namespace test_dialect
